#include "storage/m4a/Boxes.h"

namespace quillet::m4a {

std::uint64_t ByteReader::number(std::size_t bytes) {
    std::uint64_t value = 0;
    for (const std::byte byte : take(bytes)) value = value << 8 | std::to_integer<std::uint64_t>(byte);
    return value;
}

Bytes ByteReader::take(std::size_t count) {
    if (count > m_rest.size()) {
        m_ok = false;
        m_rest = {};
        return {};
    }
    const Bytes taken = m_rest.first(count);
    m_rest = m_rest.subspan(count);
    return taken;
}

std::optional<Box> takeBox(Bytes& rest) {
    ByteReader header(rest);
    const std::uint32_t size = header.u32();
    const std::uint32_t type = header.u32();
    if (!header.ok() || size < kBoxHeaderBytes || size > rest.size()) return std::nullopt;
    const Box box{type, rest.subspan(kBoxHeaderBytes, size - kBoxHeaderBytes)};
    rest = rest.subspan(size);
    return box;
}

std::optional<Bytes> findBox(Bytes boxes, std::uint32_t type) {
    while (const auto box = takeBox(boxes)) {
        if (box->type == type) return box->payload;
    }
    return std::nullopt;
}

std::optional<Bytes> findBox(Bytes boxes, std::initializer_list<std::uint32_t> path) {
    std::optional<Bytes> found = boxes;
    for (const std::uint32_t type : path) {
        if (found) found = findBox(*found, type);
    }
    return found;
}

void BoxWriter::number(std::uint64_t value, int bytes) {
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) m_bytes.push_back(static_cast<std::byte>(value >> shift));
}

void BoxWriter::patchSize(std::size_t start, std::size_t size) {
    for (std::size_t i = 0; i < 4; ++i) m_bytes[start + i] = static_cast<std::byte>(size >> (24 - 8 * i));
}

} // namespace quillet::m4a
