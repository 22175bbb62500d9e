#pragma once

#include "platform/FileServices.h"

namespace quillet {

/// A bookmark is the folder's path: access on Linux is a matter of permissions, not of grants, so starting it succeeds.
class LinuxFileServices : public FileServices {
public:
    [[nodiscard]] std::optional<std::filesystem::path> applicationSupportDirectory() const override;
    [[nodiscard]] std::optional<std::filesystem::path> homeDirectory() const override;
    Result<void> createDirectories(const std::filesystem::path& folder) override;
    Result<std::optional<std::int64_t>> freeBytes(const std::filesystem::path& path) override;
    Result<QByteArray> makeBookmark(const std::filesystem::path& folder) override;
    Result<ResolvedBookmark> resolveBookmark(const QByteArray& bookmark) override;
    bool startAccess(const std::filesystem::path&) override { return true; }
    void stopAccess(const std::filesystem::path&) override {}
    void openInFileManager(const std::filesystem::path& folder) override;
    void revealInFileManager(const std::filesystem::path& file) override;
};

} // namespace quillet
