#pragma once

#include "platform/RecordingFiles.h"

#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quillet {

/// Owns a file descriptor.
class UniqueFd {
public:
    explicit UniqueFd(int fd = -1) : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~UniqueFd() {
        if (m_fd >= 0) ::close(m_fd);
    }
    [[nodiscard]] int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }

private:
    int m_fd;
};

[[nodiscard]] inline Failure<PlatformError> failure(int error) { return Failure{PlatformError::fromErrno(error)}; }

/// Renames inside a folder without ever replacing: 0, or the error number, which is EOPNOTSUPP where the volume has
/// neither such a renaming nor hard links.
[[nodiscard]] int renameNoReplace(int folder, const std::string& from, const std::string& to);

/// Reads and writes an open descriptor. Serves both recordings being written and recordings under repair.
class PosixFile : public RecordingFile {
public:
    PosixFile(UniqueFd fd, UniqueFd folder, std::string name)
        : m_fd(std::move(fd)), m_folder(std::move(folder)), m_name(std::move(name)) {}

    Result<std::int64_t> size() override;
    Result<std::size_t> readAt(std::int64_t offset, std::span<std::byte> into) override;
    Result<void> writeAt(std::int64_t offset, std::span<const std::byte> bytes) override;
    Result<bool> reserve(std::int64_t upTo) override;
    Result<void> truncate(std::int64_t size) override;
    Result<void> sync() override;
    void remove() override;

protected:
    [[nodiscard]] int fd() const { return m_fd.get(); }

private:
    const UniqueFd m_fd;
    const UniqueFd m_folder; ///< may be closed: then the folder is not synchronised and remove() does nothing
    const std::string m_name;
    std::int64_t m_reservedUpTo = 0;
    bool m_folderSynced = false;
};

/// The bytes of a recording that carry the marks, as open file description locks: unlike the older process-wide kind
/// they also hold between two descriptors of one process, and closing an unrelated descriptor does not drop them.
enum class LockByte : std::int64_t { BeingWritten = 0, BeingRepaired = 1 };

enum class LockAnswer {
    Taken,  ///< by this call
    Held,   ///< by somebody else
    Unknown ///< the file system has no such locks
};
[[nodiscard]] LockAnswer takeLock(int fd, LockByte byte);
/// Held or not, without taking anything. Where the file system has no locks, a file changed in the last two minutes
/// counts as held: a writer adds to its file every second.
[[nodiscard]] bool isBeingWritten(int fd);

} // namespace quillet
