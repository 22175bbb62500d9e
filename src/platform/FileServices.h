#pragma once

#include "support/Result.h"

#include <QByteArray>

#include <cstdint>
#include <filesystem>
#include <optional>

namespace quillet {

/// What the recordings folder needs of the operating system: folders, free space, lasting references to a folder that
/// the user chose, and the desktop's file manager. Any thread.
class FileServices {
public:
    struct ResolvedBookmark {
        std::filesystem::path url;
        bool isStale = false; ///< works, but should be made anew
    };

    virtual ~FileServices() = default;

    [[nodiscard]] virtual std::optional<std::filesystem::path> applicationSupportDirectory() const = 0;
    [[nodiscard]] virtual std::optional<std::filesystem::path> homeDirectory() const = 0;

    /// With the folders above it; what is made is its owner's only.
    virtual Result<void> createDirectories(const std::filesystem::path& folder) = 0;
    /// What an ordinary user may still write to the volume, in bytes; absent when the volume does not say.
    virtual Result<std::optional<std::int64_t>> freeBytes(const std::filesystem::path& path) = 0;

    /// A reference that finds the folder again in a later run, with the access that the user gave.
    virtual Result<QByteArray> makeBookmark(const std::filesystem::path& folder) = 0;
    virtual Result<ResolvedBookmark> resolveBookmark(const QByteArray& bookmark) = 0;
    virtual bool startAccess(const std::filesystem::path& folder) = 0;
    virtual void stopAccess(const std::filesystem::path& folder) = 0;

    /// Main thread. Failures are the desktop's to show.
    virtual void openInFileManager(const std::filesystem::path& folder) = 0;
    virtual void revealInFileManager(const std::filesystem::path& file) = 0;

    static FileServices& standard();
};

} // namespace quillet
