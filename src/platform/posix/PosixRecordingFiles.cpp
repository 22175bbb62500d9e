#include "platform/RecordingFiles.h"
#include "platform/posix/PosixFile.h"
#include "platform/posix/SystemCalls.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <string>

namespace quillet {
namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr int kAttempts = 16;                 ///< against others who take the same name at the same moment
constexpr int kMostEarlierFiles = 10'000;     ///< of one name, before giving up
constexpr std::size_t kLongestNameKept = 200; ///< of a file name in a temporary one; the limit for both is 255 bytes

bool sameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Moves away what has a recording's name, and tells where to. 0, EBUSY when it is still being written, or another
/// error number.
int setAside(int folder, const std::string& name, const std::function<void(const std::string&)>& tell) {
    struct stat before {};
    if (fstatat(folder, name.c_str(), &before, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT ? 0 : errno;
    if (S_ISREG(before.st_mode)) {
        const UniqueFd existing(openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (!existing) return errno == ENOENT ? 0 : errno;
        if (isBeingWritten(existing.get())) return EBUSY;
    }
    const std::filesystem::path old(name);
    for (int number = 1; number <= kMostEarlierFiles; ++number) {
        const std::string aside = old.stem().string() +
                                  (number == 1 ? " (earlier)" : " (earlier " + std::to_string(number) + ")") +
                                  old.extension().string();
        int error = renameNoReplace(folder, name, aside);
        if (error == EOPNOTSUPP) {
            // Neither way exists here. A look before a plain rename is the best that is left.
            struct stat taken {};
            const bool free = fstatat(folder, aside.c_str(), &taken, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT;
            error = !free ? EEXIST : renameat(folder, name.c_str(), folder, aside.c_str()) == 0 ? 0 : errno;
        }
        if (error == EEXIST) continue;
        if (error != 0) return error == ENOENT ? 0 : error;
        // Somebody may have set the old file aside and begun to record under its name since it was looked at.
        struct stat moved {};
        const bool known = fstatat(folder, aside.c_str(), &moved, AT_SYMLINK_NOFOLLOW) == 0;
        if (known && !sameFile(before, moved)) return renameNoReplace(folder, aside, name) == 0 ? EBUSY : 0;
        tell(aside);
        return 0;
    }
    return EEXIST;
}

FileVersion versionOf(const struct stat& status) {
    const timespec changed = SystemCalls::modificationTime(status);
    return {status.st_size, std::int64_t{changed.tv_sec} * 1'000'000'000 + changed.tv_nsec};
}

std::string temporaryName(const std::string& name) {
    const std::uint64_t random = SystemCalls::randomBits();
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(random));
    return "." + name.substr(0, kLongestNameKept) + "." + digits.data();
}

/// Creates the file under this name and marks it as being written. Null with errno set.
UniqueFd createMarked(int folder, const std::string& name) {
    UniqueFd fd(openat(folder, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly));
    if (fd && takeLock(fd.get(), LockByte::BeingWritten) == LockAnswer::Held) {
        errno = EBUSY; // only right after a creation without a temporary name: somebody took it for a leftover
        return UniqueFd();
    }
    return fd;
}

UniqueFd openFolderOf(const std::filesystem::path& path) {
    const std::filesystem::path parent = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
    return UniqueFd(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// Tells the whole path.
std::function<void(const std::string&)> besides(const std::filesystem::path& path, const TellSetAside& tell) {
    return [&path, &tell](const std::string& name) {
        if (tell) tell(path.parent_path() / name);
    };
}

Failure<PlatformError> cannotSetAside(int error) {
    if (error == EBUSY)
        return Failure{PlatformError{EBUSY, QStringLiteral("a recording of that name is still being written")}};
    return failure(error);
}

} // namespace

Result<std::unique_ptr<RecordingFile>> createRecordingFile(const std::filesystem::path& path,
                                                           const TellSetAside& tell) {
    const std::string name = path.filename().string();
    if (name.empty()) return failure(EISDIR);
    UniqueFd folder = openFolderOf(path);
    if (!folder) return failure(errno);

    // The name appears only with the mark already set, so that nobody takes the empty file for a leftover.
    const std::string temporary = temporaryName(name);
    UniqueFd fd = createMarked(folder.get(), temporary);
    if (!fd) return failure(errno);
    int error = EEXIST;
    for (int attempt = 0; attempt < kAttempts && error == EEXIST; ++attempt) {
        error = renameNoReplace(folder.get(), temporary, name);
        if (error != EEXIST) break;
        if (const int busy = setAside(folder.get(), name, besides(path, tell)); busy != 0) {
            unlinkat(folder.get(), temporary.c_str(), 0);
            return cannotSetAside(busy);
        }
    }
    if (error != 0) unlinkat(folder.get(), temporary.c_str(), 0);
    if (error == EOPNOTSUPP) {
        if (const int busy = setAside(folder.get(), name, besides(path, tell)); busy != 0) return cannotSetAside(busy);
        fd = createMarked(folder.get(), name);
        error = fd ? 0 : errno;
    }
    if (error != 0) return failure(error);
    return std::unique_ptr<RecordingFile>(std::make_unique<PosixFile>(std::move(fd), std::move(folder), name));
}

Result<void> setAsideEarlierRecording(const std::filesystem::path& path, const TellSetAside& tell) {
    const std::string name = path.filename().string();
    if (name.empty()) return failure(EISDIR);
    const UniqueFd folder = openFolderOf(path);
    if (!folder) return failure(errno);
    if (const int error = setAside(folder.get(), name, besides(path, tell)); error != 0) return cannotSetAside(error);
    return {};
}

Result<std::unique_ptr<RecordingFile>> markAsBeingWritten(const std::filesystem::path& path) {
    UniqueFd folder = openFolderOf(path);
    if (!folder) return failure(errno);
    const std::string name = path.filename().string();
    UniqueFd fd(openat(folder.get(), name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!fd) return failure(errno);
    if (takeLock(fd.get(), LockByte::BeingWritten) == LockAnswer::Held) return cannotSetAside(EBUSY);
    fchmod(fd.get(), kOwnerOnly);
    return std::unique_ptr<RecordingFile>(std::make_unique<PosixFile>(std::move(fd), std::move(folder), name));
}

Result<RecordingGlance> glanceAtRecording(const std::filesystem::path& path, std::size_t headBytes) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) return failure(errno);
    if (!S_ISREG(status.st_mode)) return RecordingGlance{RecordingGlance::Kind::NotAFile, {}, {}};
    UniqueFd fd(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!fd) return failure(errno);
    // Before reading: some network file systems forbid everybody else to read a locked byte.
    if (isBeingWritten(fd.get())) return RecordingGlance{RecordingGlance::Kind::BeingWritten, {}, {}};
    if (fstat(fd.get(), &status) != 0) return failure(errno); // a network's idea of it may be old until it is opened

    PosixFile file(std::move(fd), UniqueFd(), {});
    RecordingGlance glance{RecordingGlance::Kind::Readable, std::vector<std::byte>(headBytes), versionOf(status)};
    const auto got = file.readAt(0, glance.head);
    if (!got) return Failure{got.error()};
    glance.head.resize(*got);
    return glance;
}

namespace {

/// Gives the file its old modification time back at the end: people sort their recordings by it.
class FileUnderRepair final : public PosixFile {
public:
    FileUnderRepair(UniqueFd fd, const struct stat& before)
        : PosixFile(std::move(fd), UniqueFd(), {}), m_before(before) {}
    ~FileUnderRepair() override {
        struct stat now {};
        if (fstat(fd(), &now) != 0) return;
        const timespec before = SystemCalls::modificationTime(m_before);
        const timespec changed = SystemCalls::modificationTime(now);
        if (changed.tv_sec == before.tv_sec && changed.tv_nsec == before.tv_nsec) return;
        const timespec times[2] = {{0, UTIME_OMIT}, before};
        futimens(fd(), times);
    }

private:
    const struct stat m_before;
};

} // namespace

Result<RecordingForRepair> openRecordingForRepair(const std::filesystem::path& path) {
    UniqueFd fd(open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!fd) return failure(errno);
    struct stat before {};
    if (fstat(fd.get(), &before) != 0) return failure(errno);
    if (!S_ISREG(before.st_mode)) return failure(EINVAL);
    if (isBeingWritten(fd.get())) return RecordingForRepair{RecordingForRepair::Kind::BeingWritten, nullptr, {}};
    if (takeLock(fd.get(), LockByte::BeingRepaired) == LockAnswer::Held)
        return RecordingForRepair{RecordingForRepair::Kind::BeingRepaired, nullptr, {}};
    return RecordingForRepair{RecordingForRepair::Kind::Ready, std::make_unique<FileUnderRepair>(std::move(fd), before),
                              versionOf(before)};
}

} // namespace quillet
