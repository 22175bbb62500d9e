#pragma once

#include "support/Result.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace quillet {

/// A file that is read and written at given places and whose bytes can be forced onto the disk. Its owner is the only
/// one who changes it, from one thread at a time. Every call may block on the disk and may fail; an interrupted or
/// partial transfer is continued inside, so that a call has either done all that was asked or reports why not.
class DurableFile {
public:
    virtual ~DurableFile() = default;

    [[nodiscard]] virtual Result<std::int64_t> size() = 0;
    /// How many bytes were read: fewer than asked for only at the end of the file.
    [[nodiscard]] virtual Result<std::size_t> readAt(std::int64_t offset, std::span<std::byte> into) = 0;
    /// After a failure any part of the bytes may have arrived.
    [[nodiscard]] virtual Result<void> writeAt(std::int64_t offset, std::span<const std::byte> bytes) = 0;
    /// Makes sure that writing up to this offset will not run out of space, without changing the size. False where the
    /// file system has no such service. EFBIG when the file may not become that long.
    [[nodiscard]] virtual Result<bool> reserve(std::int64_t upTo) = 0;
    /// Sets the size and gives back whatever is reserved beyond it.
    [[nodiscard]] virtual Result<void> truncate(std::int64_t size) = 0;
    /// Returns when all that was written is on the disk. After a failure the bytes count as unwritten.
    [[nodiscard]] virtual Result<void> sync() = 0;
};

} // namespace quillet
