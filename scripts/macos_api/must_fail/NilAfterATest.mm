// Must be rejected: Nullable pointer is passed to a callee that requires a non-null
#import <AppKit/AppKit.h>

void openPage(NSString* _Nonnull text) {
    NSURL* _Nullable const url = [NSURL URLWithString:text];
    [NSWorkspace.sharedWorkspace openURL:url];
}
