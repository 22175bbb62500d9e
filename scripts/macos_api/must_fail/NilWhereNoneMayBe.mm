// Must be rejected: null
#import <Foundation/Foundation.h>

NSURL* addressOf(NSString* text) {
    NSURL* const url = [NSURL URLWithString:text];
    if (url != nil) return url;
    return [NSURL URLWithString:nil];
}
