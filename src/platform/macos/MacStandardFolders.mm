#include "platform/StandardFolders.h"
#import "platform/macos/MacSupport.h"

namespace quillet {

std::optional<std::filesystem::path> homeDirectory() {
    const QString home = fromNSString(NSHomeDirectory());
    if (home.isEmpty()) return std::nullopt;
    return std::filesystem::path(home.toStdString());
}

/// Inside the program's container when it runs in a sandbox.
std::optional<std::filesystem::path> applicationSupportDirectory() {
    NSArray<NSURL*>* const folders = [NSFileManager.defaultManager URLsForDirectory:NSApplicationSupportDirectory
                                                                          inDomains:NSUserDomainMask];
    const std::filesystem::path first = toPath(folders.firstObject);
    if (first.empty()) return std::nullopt;
    return first;
}

std::filesystem::path standardSettingsFile() {
    return homeDirectory().value_or("/nonexistent") / "Library" / "Preferences" /
           (fromNSString(settingsDomain()).toStdString() + ".plist");
}

} // namespace quillet
