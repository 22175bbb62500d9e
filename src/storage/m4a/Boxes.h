#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace quillet::m4a {

using Bytes = std::span<const std::byte>;

constexpr std::uint32_t fourCc(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

constexpr std::uint32_t kBoxHeaderBytes = 8;

/// Reads big-endian numbers off the front of some bytes. Past the end it delivers zeros and says so by ok(), so that a
/// whole structure can be read before one look at the outcome.
class ByteReader {
public:
    explicit ByteReader(Bytes bytes) : m_rest(bytes) {}

    std::uint32_t u16() { return static_cast<std::uint32_t>(number(2)); }
    std::uint32_t u24() { return static_cast<std::uint32_t>(number(3)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }
    std::uint32_t u8() { return static_cast<std::uint32_t>(number(1)); }
    Bytes take(std::size_t count);
    void skip(std::size_t count) { take(count); }

    [[nodiscard]] bool ok() const { return m_ok; }
    [[nodiscard]] Bytes rest() const { return m_rest; }

private:
    std::uint64_t number(std::size_t bytes);

    Bytes m_rest;
    bool m_ok = true;
};

struct Box {
    std::uint32_t type = 0;
    Bytes payload;
};

/// Takes the next whole box off the front; nothing when none is left or what is left is no whole box. Boxes of 4 GiB
/// and of open end do not occur inside others.
[[nodiscard]] std::optional<Box> takeBox(Bytes& rest);
/// The payload of the first box of the type.
[[nodiscard]] std::optional<Bytes> findBox(Bytes boxes, std::uint32_t type);
/// The same along a path of nested boxes.
[[nodiscard]] std::optional<Bytes> findBox(Bytes boxes, std::initializer_list<std::uint32_t> path);

/// Collects boxes in memory.
class BoxWriter {
public:
    void u8(std::uint32_t value) { number(value, 1); }
    void u16(std::uint32_t value) { number(value, 2); }
    void u24(std::uint32_t value) { number(value, 3); }
    void u32(std::uint32_t value) { number(value, 4); }
    void u64(std::uint64_t value) { number(value, 8); }
    void zeros(std::size_t count) { m_bytes.resize(m_bytes.size() + count); }
    void bytes(Bytes bytes) { m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end()); }

    /// Makes room in the boxes around for bytes that somebody else will put here.
    void leaveOut(std::size_t bytes) { m_leftOut += bytes; }

    /// A box whose payload is what the function writes.
    template <typename Payload>
    void box(std::uint32_t type, Payload&& payload) {
        const std::size_t start = m_bytes.size();
        const std::size_t leftOutBefore = m_leftOut;
        u32(0);
        u32(type);
        payload();
        patchSize(start, m_bytes.size() - start + m_leftOut - leftOutBefore);
    }
    /// The same with a version and flags in front.
    template <typename Payload>
    void fullBox(std::uint32_t type, std::uint32_t version, std::uint32_t flags, Payload&& payload) {
        box(type, [&] {
            u8(version);
            u24(flags);
            payload();
        });
    }
    void copiedBox(std::uint32_t type, Bytes payload) {
        box(type, [&] { bytes(payload); });
    }

    [[nodiscard]] Bytes view() const { return m_bytes; }
    [[nodiscard]] std::vector<std::byte> take() { return std::move(m_bytes); }

private:
    void number(std::uint64_t value, int bytes);
    void patchSize(std::size_t start, std::size_t size);

    std::vector<std::byte> m_bytes;
    std::size_t m_leftOut = 0;
};

} // namespace quillet::m4a
