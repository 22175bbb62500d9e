#pragma once

#include "platform/RecordingFiles.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <random>
#include <vector>

namespace quillet::test {

using ByteVector = std::vector<std::byte>;
constexpr std::int64_t kSectorBytes = 512;

/// What a MemoryFile is stored on. It outlives the file, and fails as it is told to. Any thread, under the mutex.
struct MemoryDisk {
    static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

    std::mutex mutex;
    std::condition_variable changed;
    ByteVector bytes;   ///< what everybody sees
    ByteVector durable; ///< what a power cut leaves for certain
    bool removed = false;
    bool closed = false;

    std::int64_t capacity = kNever; ///< ENOSPC beyond
    bool canReserve = true;
    bool canRead = true;
    std::int64_t bytesUntilFault = kNever; ///< the write that crosses this arrives in part and fails with EIO
    bool diesAtFault = false;              ///< nothing at all works after the fault: the process was killed
    bool dead = false;
    int syncsToFail = 0;     ///< with EIO
    bool holdsSyncs = false; ///< they wait until this is false
    int syncsWaiting = 0;
    int syncs = 0; ///< begun

    /// What may be on the disk after a power cut: each piece written since the last sync has arrived or has not.
    [[nodiscard]] ByteVector afterPowerCut(unsigned seed, std::size_t piece = kSectorBytes) const {
        std::mt19937 random(seed);
        ByteVector image = durable;
        image.resize(random() % 2 ? bytes.size() : durable.size());
        for (std::size_t at = 0; at < std::min(image.size(), bytes.size()); at += piece) {
            const std::size_t length = std::min({piece, image.size() - at, bytes.size() - at});
            if (random() % 2) std::memcpy(image.data() + at, bytes.data() + at, length);
        }
        return image;
    }
};

/// A recording's file in memory.
class MemoryFile final : public RecordingFile {
public:
    explicit MemoryFile(std::shared_ptr<MemoryDisk> disk) : m_disk(std::move(disk)) {}
    explicit MemoryFile(const ByteVector& bytes) : m_disk(std::make_shared<MemoryDisk>()) {
        m_disk->bytes = m_disk->durable = bytes;
    }
    ~MemoryFile() override {
        const std::lock_guard lock(m_disk->mutex);
        m_disk->closed = true;
    }
    [[nodiscard]] MemoryDisk& disk() { return *m_disk; }

    Result<std::int64_t> size() override {
        const std::lock_guard lock(m_disk->mutex);
        return static_cast<std::int64_t>(m_disk->bytes.size());
    }
    Result<std::size_t> readAt(std::int64_t offset, std::span<std::byte> into) override {
        const std::lock_guard lock(m_disk->mutex);
        if (m_disk->dead || !m_disk->canRead) return fault(EIO);
        const auto from = std::min(static_cast<std::size_t>(offset), m_disk->bytes.size());
        const std::size_t count = std::min(into.size(), m_disk->bytes.size() - from);
        std::copy_n(m_disk->bytes.begin() + static_cast<std::ptrdiff_t>(from), count, into.begin());
        return count;
    }
    Result<void> writeAt(std::int64_t offset, std::span<const std::byte> data) override {
        const std::lock_guard lock(m_disk->mutex);
        MemoryDisk& disk = *m_disk;
        if (disk.dead) return fault(EIO);
        const auto wanted = static_cast<std::int64_t>(data.size());
        std::int64_t count =
            std::min({wanted, std::max<std::int64_t>(0, disk.capacity - offset), disk.bytesUntilFault});
        if (count < wanted && offset / kSectorBytes == (offset + wanted - 1) / kSectorBytes)
            count = 0; // a write within a sector happens or does not
        const auto end = static_cast<std::size_t>(offset + count);
        if (disk.bytes.size() < end) disk.bytes.resize(end);
        std::copy_n(data.begin(), count, disk.bytes.begin() + offset);
        if (disk.bytesUntilFault != MemoryDisk::kNever)
            disk.bytesUntilFault -= count == wanted ? count : disk.bytesUntilFault;
        if (count == wanted) return {};
        if (offset + wanted > disk.capacity) return fault(ENOSPC);
        disk.dead = disk.diesAtFault;
        return fault(EIO);
    }
    Result<bool> reserve(std::int64_t upTo) override {
        const std::lock_guard lock(m_disk->mutex);
        if (m_disk->dead) return fault(EIO);
        if (!m_disk->canReserve) return false;
        return upTo > m_disk->capacity ? fault(ENOSPC) : Result<bool>(true);
    }
    Result<void> truncate(std::int64_t size) override {
        const std::lock_guard lock(m_disk->mutex);
        if (m_disk->dead) return fault(EIO);
        m_disk->bytes.resize(static_cast<std::size_t>(size));
        return {};
    }
    Result<void> sync() override {
        std::unique_lock lock(m_disk->mutex);
        ++m_disk->syncs;
        ++m_disk->syncsWaiting;
        m_disk->changed.notify_all();
        m_disk->changed.wait(lock, [this] { return !m_disk->holdsSyncs; });
        --m_disk->syncsWaiting;
        if (m_disk->dead) return fault(EIO);
        if (m_disk->syncsToFail > 0 && m_disk->syncsToFail-- > 0) return fault(EIO);
        m_disk->durable = m_disk->bytes;
        return {};
    }
    void remove() override {
        const std::lock_guard lock(m_disk->mutex);
        m_disk->removed = true;
    }

private:
    static Failure<PlatformError> fault(int code) { return Failure{PlatformError::fromErrno(code)}; }

    const std::shared_ptr<MemoryDisk> m_disk;
};

} // namespace quillet::test
