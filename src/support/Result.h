#pragma once

#include <QString>

#include <optional>
#include <utility>
#include <variant>

namespace quillet {

/// A failure reported by the operating system or a library, with the sentence to show for it.
struct PlatformError {
    int code = 0;        ///< errno or the library's own number; 0 where there is none
    QString description; ///< a full sentence or clause for the user, without secrets

    static PlatformError fromErrno(int errnoValue);
};

/// Marks the failing side of a Result: `return Failure{error};`.
template <typename E>
struct Failure {
    E error;
};
template <typename E>
Failure(E) -> Failure<E>;

/// The value of a fallible call, or why there is none. Nothing throws across a module.
template <typename T, typename E = PlatformError>
class [[nodiscard]] Result {
public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    template <typename F>
    Result(Failure<F> failure) : m_state(std::in_place_index<1>, E(std::move(failure.error))) {}

    [[nodiscard]] bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    /// Only when ok().
    [[nodiscard]] T& value() { return std::get<0>(m_state); }
    [[nodiscard]] const T& value() const { return std::get<0>(m_state); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() { return value(); }
    const T& operator*() const { return value(); }

    /// Only when not ok().
    [[nodiscard]] const E& error() const { return std::get<1>(m_state); }

private:
    std::variant<T, E> m_state;
};

/// A fallible call without a value: success is `return {};`.
template <typename E>
class [[nodiscard]] Result<void, E> {
public:
    Result() = default;
    template <typename F>
    Result(Failure<F> failure) : m_error(E(std::move(failure.error))) {}

    [[nodiscard]] bool ok() const { return !m_error.has_value(); }
    explicit operator bool() const { return ok(); }
    [[nodiscard]] const E& error() const { return *m_error; }

private:
    std::optional<E> m_error;
};

} // namespace quillet
