#include "platform/linux/LinuxFileServices.h"

#include "platform/Process.h"
#include "platform/StandardFolders.h"

#include <QString>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace quillet {
namespace {

/// Says where, because nothing else does in the sentence that the user sees.
Failure<PlatformError> failureAt(const std::filesystem::path& place, int code) {
    PlatformError error = PlatformError::fromErrno(code);
    error.description.prepend(QString::fromStdString(place.string()) + QStringLiteral(": "));
    return Failure{error};
}

} // namespace

FileServices& FileServices::standard() {
    static LinuxFileServices services;
    return services;
}

std::optional<std::filesystem::path> LinuxFileServices::applicationSupportDirectory() const {
    return quillet::applicationSupportDirectory();
}

std::optional<std::filesystem::path> LinuxFileServices::homeDirectory() const { return quillet::homeDirectory(); }

Result<void> LinuxFileServices::createDirectories(const std::filesystem::path& folder) {
    std::filesystem::path made;
    for (const auto& component : folder) {
        made /= component;
        if (mkdir(made.c_str(), 0700) == 0 || errno == EEXIST) continue;
        const int error = errno;
        struct stat existing {};
        if (stat(made.c_str(), &existing) != 0) return failureAt(folder, error);
    }
    struct stat result {};
    if (stat(folder.c_str(), &result) != 0) return failureAt(folder, errno);
    if (!S_ISDIR(result.st_mode)) return failureAt(folder, ENOTDIR);
    return {};
}

Result<std::optional<std::int64_t>> LinuxFileServices::freeBytes(const std::filesystem::path& path) {
    struct statvfs volume {};
    if (statvfs(path.c_str(), &volume) != 0) return failureAt(path, errno);
    if (volume.f_blocks == 0) return std::optional<std::int64_t>(); // some network and virtual volumes count nothing
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::uint64_t unit = std::max<std::uint64_t>(volume.f_frsize, 1);
    const std::uint64_t units = std::min<std::uint64_t>(volume.f_bavail, most / unit);
    return std::optional(static_cast<std::int64_t>(units * unit));
}

Result<QByteArray> LinuxFileServices::makeBookmark(const std::filesystem::path& folder) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(folder, error);
    if (error) return Failure{PlatformError::fromErrno(error.value())};
    return QByteArray::fromStdString(absolute.string());
}

Result<FileServices::ResolvedBookmark> LinuxFileServices::resolveBookmark(const QByteArray& bookmark) {
    if (!bookmark.startsWith('/') || bookmark.contains('\0')) return Failure{PlatformError::fromErrno(EINVAL)};
    return ResolvedBookmark{.url = bookmark.toStdString()};
}

void LinuxFileServices::openInFileManager(const std::filesystem::path& folder) {
    startProgram(QStringLiteral("xdg-open"), {QString::fromStdString(folder.string())});
}

void LinuxFileServices::revealInFileManager(const std::filesystem::path& file) {
    openInFileManager(file.parent_path());
}

} // namespace quillet
