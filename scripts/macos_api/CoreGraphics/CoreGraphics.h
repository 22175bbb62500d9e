#pragma once

#include <CoreFoundation/CoreFoundation.h>

typedef uint32_t CGDirectDisplayID;
typedef int32_t CGError;
enum : CGError { kCGErrorSuccess = 0 };
typedef double CGFloat;
struct CGPoint {
    CGFloat x;
    CGFloat y;
};
struct CGSize {
    CGFloat width;
    CGFloat height;
};
struct CGRect {
    CGPoint origin;
    CGSize size;
};

QUILLET_API bool CGPreflightScreenCaptureAccess(void);
QUILLET_API bool CGRequestScreenCaptureAccess(void);
QUILLET_API CGDirectDisplayID CGMainDisplayID(void);
QUILLET_API CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* _Nullable activeDisplays,
                                           uint32_t* _Nullable displayCount);
