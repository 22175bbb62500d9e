#include "platform/macos/MacPermissionServices.h"

#include "platform/apple/ErrorTexts.h"
#import "platform/macos/MacSupport.h"

#import <AVFoundation/AVFoundation.h>
#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>

namespace quillet {

bool MacPermissionServices::preflightScreenCaptureAccess() { return CGPreflightScreenCaptureAccess(); }

void MacPermissionServices::requestScreenCaptureAccess() { CGRequestScreenCaptureAccess(); }

AuthorizationStatus MacPermissionServices::microphoneAuthorizationStatus() {
    return apple::authorizationStatus([AVCaptureDevice authorizationStatusForMediaType:AVMediaTypeAudio]);
}

void MacPermissionServices::requestMicrophoneAccess(std::function<void(bool granted)> completion) {
    [AVCaptureDevice requestAccessForMediaType:AVMediaTypeAudio
                             completionHandler:^(BOOL granted) {
                               if (completion) completion(granted == YES);
                             }];
}

void MacPermissionServices::openSettings(SettingsPlace place) {
    NSURL* const address = [NSURL URLWithString:toNSString(apple::settingsAddress(place))];
    if (address) [NSWorkspace.sharedWorkspace openURL:address];
}

} // namespace quillet
