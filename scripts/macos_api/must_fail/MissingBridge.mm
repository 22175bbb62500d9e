// Must be rejected: requires a bridged cast
#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>

CMFormatDescriptionRef formatIn(NSArray* descriptions) { return (CMFormatDescriptionRef)descriptions.firstObject; }
