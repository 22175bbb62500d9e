#pragma once

#include "platform/FileServices.h"

#import <Foundation/Foundation.h>
#include <map>
#include <mutex>

namespace quillet {

/// A bookmark is the platform's own, with the access that the user gave by choosing the folder. That access hangs on
/// the very URL object that a bookmark was resolved to, so these are kept by path.
class MacFileServices final : public FileServices {
public:
    [[nodiscard]] std::optional<std::filesystem::path> applicationSupportDirectory() const override;
    [[nodiscard]] std::optional<std::filesystem::path> homeDirectory() const override;
    Result<void> createDirectories(const std::filesystem::path& folder) override;
    Result<std::optional<std::int64_t>> freeBytes(const std::filesystem::path& path) override;
    Result<QByteArray> makeBookmark(const std::filesystem::path& folder) override;
    Result<ResolvedBookmark> resolveBookmark(const QByteArray& bookmark) override;
    bool startAccess(const std::filesystem::path& folder) override;
    void stopAccess(const std::filesystem::path& folder) override;
    void openInFileManager(const std::filesystem::path& folder) override;
    void revealInFileManager(const std::filesystem::path& file) override;

private:
    struct Resolved {
        NSURL* url = nil;
        bool isStale = false;
    };
    /// Keeps the URL for the access to come.
    Result<Resolved> resolve(NSData* bookmark, const std::optional<std::filesystem::path>& underPath);
    NSURL* urlFor(const std::filesystem::path& folder);

    std::mutex m_mutex;
    std::map<std::filesystem::path, NSURL*> m_scopedURLs; ///< under the mutex
};

} // namespace quillet
