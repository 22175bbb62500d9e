#include "platform/DurableFolder.h"
#include "platform/posix/PosixFile.h"
#include "platform/posix/SystemCalls.h"

#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <optional>

namespace quillet {
namespace {

constexpr int kMaxNames = 10'000; ///< so many notes of one title: something is wrong
constexpr mode_t kFileMode = 0600;
constexpr mode_t kFolderMode = 0700;
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

/// Says that the volume has no such service, not that the service failed.
bool isUnsupported(int error) {
    return error == EOPNOTSUPP || error == ENOSYS || error == EINVAL || error == EPERM || error == EISDIR;
}

AddedFile described(int fd, std::string name) {
    AddedFile file{.name = std::move(name)};
    struct stat status {};
    if (fstat(fd, &status) == 0) {
        file.device = status.st_dev;
        file.inode = status.st_ino;
    }
    return file;
}

Result<void> writeAll(int fd, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t put = ::write(fd, bytes, count);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return failure(put < 0 ? errno : ENOSPC);
        bytes += put;
        count -= static_cast<std::size_t>(put);
    }
    return {};
}

/// Copies from the source's present position to its end.
Result<void> copyRest(int from, int to) {
    constexpr std::size_t kBufferBytes = std::size_t{256} * 1024;
    // In the kernel where it can, which shares blocks on some file systems; what it cannot is between some pairs only.
    const int error = SystemCalls::copyToEnd(from, to);
    if (error == 0) return {};
    if (error != EXDEV && error != EBADF && !isUnsupported(error)) return failure(error);
    ssize_t got = 0;
    std::vector<char> buffer(kBufferBytes);
    while ((got = ::read(from, buffer.data(), buffer.size())) != 0) {
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return failure(errno);
        if (auto written = writeAll(to, buffer.data(), static_cast<std::size_t>(got)); !written) return written;
    }
    return {};
}

Result<void> sync(int fd) {
    while (fsync(fd) != 0) {
        if (errno != EINTR) return failure(errno);
    }
    return {};
}

/// A folder's names; some network file systems cannot be asked for that.
Result<void> syncFolder(int fd) {
    auto synced = sync(fd);
    if (!synced && isUnsupported(synced.error().code)) return {};
    return synced;
}

class PosixDurableFolder final : public DurableFolder {
public:
    explicit PosixDurableFolder(UniqueFd fd) : m_fd(std::move(fd)) {}

    Result<std::unique_ptr<DurableFolder>> folderBelow(const std::vector<std::string>& names,
                                                       IfMissing ifMissing) override {
        UniqueFd folder(openat(m_fd.get(), ".", kOpenFolder));
        for (const std::string& name : names) {
            if (!folder) break;
            if (name.empty() || name == "." || name == ".." || name.find_first_of({"/\0", 2}) != std::string::npos)
                return failure(EINVAL);
            if (ifMissing != IfMissing::Fail && mkdirat(folder.get(), name.c_str(), kFolderMode) == 0) {
                if (auto synced = syncFolder(folder.get()); !synced) return Failure{synced.error()};
            } else if (ifMissing != IfMissing::Fail && errno != EEXIST) {
                return failure(errno);
            }
            folder = UniqueFd(openat(folder.get(), name.c_str(), kOpenFolder | O_NOFOLLOW));
        }
        if (!folder) return failure(errno == ELOOP ? ENOTDIR : errno);
        return std::unique_ptr<DurableFolder>(std::make_unique<PosixDurableFolder>(std::move(folder)));
    }

    Result<std::vector<std::string>> subfolders() override {
        // Through a descriptor of its own: reading moves the position, which a duplicate would share.
        const int fd = openat(m_fd.get(), ".", kOpenFolder);
        DIR* const list = fd < 0 ? nullptr : fdopendir(fd);
        if (!list) return failure(errno);
        std::vector<std::string> names;
        while (const dirent* entry = readdir(list)) {
            const std::string name = entry->d_name;
            struct stat status {};
            if (name == "." || name == ".." || fstatat(fd, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
            if (S_ISDIR(status.st_mode)) names.push_back(name);
        }
        closedir(list);
        return names;
    }

    Result<QByteArray> contents(const std::string& name, std::size_t maxBytes) override {
        const UniqueFd fd(openat(m_fd.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat status {};
        if (!fd || fstat(fd.get(), &status) != 0) return failure(errno);
        if (!S_ISREG(status.st_mode)) return failure(EINVAL);
        QByteArray bytes(static_cast<qsizetype>(maxBytes + 1), Qt::Uninitialized);
        qsizetype have = 0;
        while (have < bytes.size()) {
            const ssize_t got = ::read(fd.get(), bytes.data() + have, static_cast<std::size_t>(bytes.size() - have));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) return failure(errno);
            if (got == 0) break;
            have += got;
        }
        if (have == bytes.size()) return failure(EFBIG);
        bytes.truncate(have);
        return bytes;
    }

    Result<void> checkWritable() override {
        if (faccessat(m_fd.get(), ".", W_OK | X_OK, AT_EACCESS) != 0) return failure(errno);
        return {};
    }

    Result<AddedFile> addFile(const FileNames& names, const QByteArray& bytes) override {
        return add(names,
                   [&bytes](int fd) { return writeAll(fd, bytes.data(), static_cast<std::size_t>(bytes.size())); });
    }

    Result<AddedFile> addCopy(const FileNames& names, const QFile& source) override {
        const int from = source.handle();
        struct stat status {};
        if (fstat(from, &status) != 0) return failure(errno);
        if (!S_ISREG(status.st_mode)) return failure(EINVAL);
        if (!isBeingWritten(from)) {
            if (auto synced = sync(from); !synced) return Failure{synced.error()};
            auto linked = publish(names, from, Publishing::OfItself);
            if (linked || linked.error().code == EEXIST) return linked;
            auto cloned = clone(names, from);
            if (cloned || cloned.error().code == EEXIST) return cloned;
        }
        return add(names, [from](int fd) {
            lseek(from, 0, SEEK_SET);
            return copyRest(from, fd);
        });
    }

    void remove(const AddedFile& file) override {
        if (!file.isNew || !isAt(file)) return;
        unlinkat(m_fd.get(), file.name.c_str(), 0);
        fsync(m_fd.get());
    }

private:
    using Fill = std::function<Result<void>(int fd)>;
    enum class Publishing {
        OfNew,    ///< a nameless file that was just made
        OfItself, ///< a file of the user's, which may be here already
    };

    [[nodiscard]] bool isAt(const AddedFile& file) const {
        struct stat status {};
        return fstatat(m_fd.get(), file.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
               status.st_dev == file.device && status.st_ino == file.inode;
    }

    /// Runs the step for one name after another until one is free; the step sets errno, EEXIST for a name that is
    /// taken.
    template <typename Step>
    Result<std::string> firstFree(const FileNames& names, const Step& step) {
        for (int attempt = 1; attempt <= kMaxNames; ++attempt) {
            std::string name = names(attempt);
            if (step(name.c_str())) return name;
            if (errno != EEXIST) return failure(errno);
        }
        return failure(EEXIST);
    }

    /// Gives an open file a name here.
    Result<AddedFile> publish(const FileNames& names, int fd, Publishing publishing) {
        AddedFile file = described(fd, {});
        const auto name = firstFree(names, [&](const char* free) {
            errno = SystemCalls::linkDescriptor(fd, m_fd.get(), free);
            if (errno == 0) return true;
            if (errno != EEXIST || publishing == Publishing::OfNew) return false;
            file.name = free;
            file.isNew = !isAt(file);
            errno = EEXIST;
            return !file.isNew;
        });
        if (!name) return Failure{name.error()};
        file.name = *name;
        if (auto synced = syncFolder(m_fd.get()); !synced) {
            remove(file);
            return Failure{synced.error()};
        }
        return file;
    }

    /// A file of its own that costs no more than a link.
    Result<AddedFile> clone(const FileNames& names, int from) {
        const auto name = firstFree(names, [&](const char* free) {
            errno = SystemCalls::cloneDescriptor(from, m_fd.get(), free);
            return errno == 0;
        });
        if (!name) return Failure{name.error()};
        const UniqueFd fd(openat(m_fd.get(), name->c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (!fd) return failure(errno);
        fchmod(fd.get(), kFileMode);
        const AddedFile file = described(fd.get(), *name);
        if (auto synced = syncFolder(m_fd.get()); !synced) {
            remove(file);
            return Failure{synced.error()};
        }
        return file;
    }

    Result<AddedFile> add(const FileNames& names, const Fill& fill) {
        const UniqueFd fd(SystemCalls::openNameless(m_fd.get(), kFileMode));
        if (!fd && (isUnsupported(errno) || errno == ENOENT)) return addThroughHiddenFile(names, fill);
        if (!fd) return failure(errno);
        if (auto filled = fill(fd.get()); !filled) return Failure{filled.error()};
        if (auto synced = sync(fd.get()); !synced) return Failure{synced.error()};
        auto published = publish(names, fd.get(), Publishing::OfNew);
        // A volume that has nameless files but cannot name them (some network file systems).
        if (!published && (isUnsupported(published.error().code) || published.error().code == ENOENT))
            return addThroughHiddenFile(names, fill);
        return published;
    }

    Result<AddedFile> addThroughHiddenFile(const FileNames& names, const Fill& fill) {
        const std::string hidden = ".quillet-" + std::to_string(QRandomGenerator::global()->generate64()) + ".tmp";
        const UniqueFd fd(
            openat(m_fd.get(), hidden.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
        if (!fd) return failure(errno);
        auto added = [&]() -> Result<AddedFile> {
            if (auto filled = fill(fd.get()); !filled) return Failure{filled.error()};
            if (auto synced = sync(fd.get()); !synced) return Failure{synced.error()};
            auto renamed = firstFree(names, [&](const char* free) {
                errno = renameNoReplace(m_fd.get(), hidden, free);
                return errno == 0;
            });
            if (!renamed && isUnsupported(renamed.error().code)) return addInPlace(names, fd.get());
            if (!renamed) return Failure{renamed.error()};
            // Looked at under its new name: some network file systems number files by their paths.
            const UniqueFd file(openat(m_fd.get(), renamed->c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
            return described(file.get(), *renamed);
        }();
        unlinkat(m_fd.get(), hidden.c_str(), 0);
        if (auto synced = syncFolder(m_fd.get()); added && !synced) {
            remove(*added);
            return Failure{synced.error()};
        }
        return added;
    }

    /// The last resort: a new file under its final name, seen while it grows.
    Result<AddedFile> addInPlace(const FileNames& names, int from) {
        UniqueFd fd;
        const auto name = firstFree(names, [&](const char* free) {
            fd = UniqueFd(openat(m_fd.get(), free, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
            return static_cast<bool>(fd);
        });
        if (!name) return Failure{name.error()};
        const AddedFile file = described(fd.get(), *name);
        lseek(from, 0, SEEK_SET);
        auto written = copyRest(from, fd.get());
        if (written) written = sync(fd.get());
        if (written) return file;
        remove(file);
        return Failure{written.error()};
    }

    const UniqueFd m_fd;
};

} // namespace

Result<std::unique_ptr<DurableFolder>> openDurableFolder(const std::filesystem::path& path, IfMissing ifMissing) {
    UniqueFd fd(::open(path.c_str(), kOpenFolder));
    if (!fd && errno == ENOENT && ifMissing != IfMissing::Fail) {
        const std::filesystem::path parent = path.parent_path();
        if (parent == path) return failure(ENOENT);
        const IfMissing above = ifMissing == IfMissing::MakeWithParents ? ifMissing : IfMissing::Fail;
        auto folder = openDurableFolder(parent, above);
        if (!folder) return folder;
        return (*folder)->folderBelow({path.filename().string()}, IfMissing::Make);
    }
    if (!fd) return failure(errno);
    return std::unique_ptr<DurableFolder>(std::make_unique<PosixDurableFolder>(std::move(fd)));
}

} // namespace quillet
