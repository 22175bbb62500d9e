#import "platform/macos/MacFileServices.h"

#include "platform/StandardFolders.h"
#import "platform/macos/MacSupport.h"

#import <AppKit/AppKit.h>

namespace quillet {

FileServices& FileServices::standard() {
    static MacFileServices services;
    return services;
}

std::optional<std::filesystem::path> MacFileServices::applicationSupportDirectory() const {
    return quillet::applicationSupportDirectory();
}

std::optional<std::filesystem::path> MacFileServices::homeDirectory() const { return quillet::homeDirectory(); }

Result<void> MacFileServices::createDirectories(const std::filesystem::path& folder) {
    NSError* error = nil;
    NSURL* const url = [NSURL fileURLWithFileSystemRepresentation:folder.c_str() isDirectory:YES relativeToURL:nil];
    if (![NSFileManager.defaultManager createDirectoryAtURL:url
                                withIntermediateDirectories:YES
                                                 attributes:nil
                                                      error:&error])
        return Failure{toPlatformError(error)};
    return {};
}

Result<std::optional<std::int64_t>> MacFileServices::freeBytes(const std::filesystem::path& path) {
    NSError* error = nil;
    NSDictionary<NSFileAttributeKey, id>* const attributes =
        [NSFileManager.defaultManager attributesOfFileSystemForPath:toFileURL(path).path error:&error];
    if (!attributes) return Failure{toPlatformError(error)};
    const id free = attributes[NSFileSystemFreeSize];
    if (![free isKindOfClass:[NSNumber class]]) return std::optional<std::int64_t>();
    return std::optional(static_cast<std::int64_t>(static_cast<NSNumber*>(free).longLongValue));
}

Result<QByteArray> MacFileServices::makeBookmark(const std::filesystem::path& folder) {
    NSError* error = nil;
    NSData* const bookmark = [urlFor(folder) bookmarkDataWithOptions:NSURLBookmarkCreationWithSecurityScope
                                      includingResourceValuesForKeys:nil
                                                       relativeToURL:nil
                                                               error:&error];
    if (!bookmark) return Failure{toPlatformError(error)};
    // A folder that was only just chosen is open to us, but its path alone carries nothing that could be started and
    // stopped; what the bookmark resolves to does.
    static_cast<void>(resolve(bookmark, folder));
    return toVariant(bookmark).toByteArray();
}

Result<FileServices::ResolvedBookmark> MacFileServices::resolveBookmark(const QByteArray& bookmark) {
    NSData* const data = [NSData dataWithBytes:bookmark.constData() length:static_cast<NSUInteger>(bookmark.size())];
    const auto resolved = resolve(data, std::nullopt);
    if (!resolved) return Failure{resolved.error()};
    return ResolvedBookmark{.url = toPath(resolved->url), .isStale = resolved->isStale};
}

Result<MacFileServices::Resolved> MacFileServices::resolve(NSData* bookmark,
                                                           const std::optional<std::filesystem::path>& underPath) {
    NSError* error = nil;
    BOOL isStale = NO;
    NSURL* const url = [NSURL URLByResolvingBookmarkData:bookmark
                                                 options:NSURLBookmarkResolutionWithSecurityScope
                                           relativeToURL:nil
                                     bookmarkDataIsStale:&isStale
                                                   error:&error];
    if (!url) return Failure{toPlatformError(error)};
    const std::lock_guard lock(m_mutex);
    m_scopedURLs[underPath.value_or(toPath(url))] = url;
    return Resolved{url, isStale == YES};
}

NSURL* MacFileServices::urlFor(const std::filesystem::path& folder) {
    const std::lock_guard lock(m_mutex);
    const auto known = m_scopedURLs.find(folder);
    return known != m_scopedURLs.end() ? known->second : toFileURL(folder);
}

bool MacFileServices::startAccess(const std::filesystem::path& folder) {
    return [urlFor(folder) startAccessingSecurityScopedResource] == YES;
}

void MacFileServices::stopAccess(const std::filesystem::path& folder) {
    [urlFor(folder) stopAccessingSecurityScopedResource];
}

void MacFileServices::openInFileManager(const std::filesystem::path& folder) {
    [NSWorkspace.sharedWorkspace openURL:toFileURL(folder)];
}

void MacFileServices::revealInFileManager(const std::filesystem::path& file) {
    [NSWorkspace.sharedWorkspace activateFileViewerSelectingURLs:@[ toFileURL(file) ]];
}

} // namespace quillet
