#include "platform/SystemNotes.h"
#include "platform/macos/AppleScriptHost.h"

#import <AppKit/AppKit.h>

namespace quillet {

std::optional<SystemNotes> systemNotes() {
    const auto isInstalled = [] {
        NSURL* const notes = [NSWorkspace.sharedWorkspace URLForApplicationWithBundleIdentifier:@"com.apple.Notes"];
        return notes != nil;
    };
    return SystemNotes{std::make_shared<AppleScriptHost>(), isInstalled};
}

} // namespace quillet
