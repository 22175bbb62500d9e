#include "platform/posix/PosixFile.h"

#include "platform/posix/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/resource.h>

namespace quillet {
namespace {

constexpr std::int64_t kRecentlyChangedSeconds = 120;

/// Says that a service is missing here, not that it failed.
bool isUnsupported(int error) {
    return error == EOPNOTSUPP || error == ENOSYS || error == EINVAL || error == ENODEV || error == EPERM;
}

/// Whether this process may make a file of that size, as far as it is told. A file system's own limit shows when space
/// is asked for beyond it.
bool isAllowedSize(std::int64_t size) {
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) != 0 || static_cast<rlim_t>(size) <= limit.rlim_cur;
}

// Systems older than these locks judge by the time of the last change alone.
#ifdef F_OFD_SETLK
struct flock lockOf(LockByte byte) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(byte);
    lock.l_len = 1;
    return lock;
}
#endif

} // namespace

int renameNoReplace(int folder, const std::string& from, const std::string& to) {
    const int error = SystemCalls::renameNoReplace(folder, from, to);
    if (error != EINVAL && error != ENOSYS && error != EOPNOTSUPP) return error;
    // A hard link never replaces either.
    if (linkat(folder, from.c_str(), folder, to.c_str(), 0) == 0) {
        unlinkat(folder, from.c_str(), 0);
        return 0;
    }
    if (errno == EEXIST || errno == ENOENT) return errno;
    return EOPNOTSUPP;
}

Result<std::int64_t> PosixFile::size() {
    struct stat status {};
    if (fstat(m_fd.get(), &status) != 0) return failure(errno);
    return std::int64_t{status.st_size};
}

Result<std::size_t> PosixFile::readAt(std::int64_t offset, std::span<std::byte> into) {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t got =
            pread(m_fd.get(), into.data() + done, into.size() - done, offset + static_cast<off_t>(done));
        if (got == 0) break;
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            return failure(errno);
        }
    }
    return done;
}

Result<void> PosixFile::writeAt(std::int64_t offset, std::span<const std::byte> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put =
            pwrite(m_fd.get(), bytes.data() + done, bytes.size() - done, offset + static_cast<off_t>(done));
        if (put > 0) {
            done += static_cast<std::size_t>(put);
        } else if (put == 0) {
            return failure(ENOSPC); // no error and no progress: nothing that trying again would change
        } else if (errno != EINTR) {
            return failure(errno);
        }
    }
    return {};
}

Result<bool> PosixFile::reserve(std::int64_t upTo) {
    if (upTo <= m_reservedUpTo) return true;
    if (!isAllowedSize(upTo)) return failure(EFBIG);
    const auto have = size();
    if (!have) return Failure{have.error()};
    const std::int64_t from = std::max(m_reservedUpTo, *have);
    if (upTo <= from) return true;
    const int error = SystemCalls::reserveSpace(m_fd.get(), from, upTo);
    if (isUnsupported(error)) return false;
    if (error != 0) return failure(error);
    m_reservedUpTo = upTo;
    return true;
}

Result<void> PosixFile::truncate(std::int64_t size) {
    while (ftruncate(m_fd.get(), size) != 0) {
        if (errno != EINTR) return failure(errno);
    }
    constexpr std::int64_t kPage = 4096;
    const std::int64_t holeStart = (size + kPage - 1) / kPage * kPage;
    if (m_reservedUpTo > holeStart) SystemCalls::giveBackSpace(m_fd.get(), holeStart, m_reservedUpTo);
    m_reservedUpTo = 0;
    return {};
}

Result<void> PosixFile::sync() {
    int error = 0;
    while ((error = SystemCalls::syncData(m_fd.get())) != 0) {
        if (error != EINTR) return failure(error);
    }
    // The name of a new file is data of its folder. Done here rather than at creation, which must not wait for a disk.
    if (!m_folderSynced && m_folder) fsync(m_folder.get());
    m_folderSynced = true;
    return {};
}

void PosixFile::remove() {
    struct stat mine {};
    struct stat named {};
    if (!m_folder || fstat(m_fd.get(), &mine) != 0) return;
    if (fstatat(m_folder.get(), m_name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0) return;
    if (mine.st_dev == named.st_dev && mine.st_ino == named.st_ino) unlinkat(m_folder.get(), m_name.c_str(), 0);
}

LockAnswer takeLock(int fd, LockByte byte) {
#ifdef F_OFD_SETLK
    struct flock lock = lockOf(byte);
    if (fcntl(fd, F_OFD_SETLK, &lock) == 0) return LockAnswer::Taken;
    if (errno == EAGAIN || errno == EACCES) return LockAnswer::Held;
#else
    static_cast<void>(fd);
    static_cast<void>(byte);
#endif
    return LockAnswer::Unknown;
}

bool isBeingWritten(int fd) {
#ifdef F_OFD_GETLK
    struct flock lock = lockOf(LockByte::BeingWritten);
    if (fcntl(fd, F_OFD_GETLK, &lock) == 0) return lock.l_type != F_UNLCK;
#endif
    struct stat status {};
    if (fstat(fd, &status) != 0) return true;
    return std::time(nullptr) - SystemCalls::modificationTime(status).tv_sec < kRecentlyChangedSeconds;
}

} // namespace quillet
