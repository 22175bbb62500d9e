#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <utility>

namespace quillet {

/// Owns a Core Foundation or Core Media object, which automatic reference counting leaves alone. Most of them come as
/// out-parameters of "Create" functions, where nothing else would notice one that is never released.
template <typename Ref>
class Owned {
public:
    Owned() = default;
    /// Takes over a reference that is ours already.
    explicit Owned(Ref object) : m_object(object) {}
    Owned(Owned&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    Owned& operator=(Owned&& other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Owned() { reset(); }

    [[nodiscard]] Ref get() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

    /// For an out-parameter. What was owned before is released.
    [[nodiscard]] Ref* out() {
        reset();
        return &m_object;
    }

private:
    void reset() {
        if (m_object) CFRelease(std::exchange(m_object, nullptr));
    }

    Ref m_object = nullptr;
};

} // namespace quillet
