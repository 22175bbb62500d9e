#pragma once

#include <objc/api.h>

#define QUILLET_CF_TYPE(name) typedef struct __attribute__((objc_bridge(id))) name* name##Ref

typedef const void* CFTypeRef;
typedef unsigned long CFTypeID;
typedef unsigned char Boolean;
typedef int32_t OSStatus;
typedef uint32_t FourCharCode;
enum { noErr = 0 };

typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __attribute__((objc_bridge(NSNumber))) __CFNumber* CFNumberRef;
typedef const struct __attribute__((objc_bridge(NSDictionary))) __CFDictionary* CFDictionaryRef;
extern "C" const CFAllocatorRef _Nonnull kCFAllocatorDefault;

QUILLET_API void CFRelease(CFTypeRef _Nonnull object __attribute__((cf_consumed)));
QUILLET_API CFTypeID CFGetTypeID(CFTypeRef _Nonnull object);
QUILLET_API CFTypeID CFBooleanGetTypeID(void);
QUILLET_API Boolean CFNumberIsFloatType(CFNumberRef _Nonnull number);

typedef const struct __attribute__((objc_bridge(NSString))) __CFString* CFStringRef;
typedef CFStringRef CFRunLoopMode;
typedef double CFTimeInterval;
typedef int32_t CFRunLoopRunResult;
extern "C" const CFRunLoopMode _Nonnull kCFRunLoopDefaultMode;
QUILLET_API CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode _Null_unspecified mode, CFTimeInterval seconds,
                                                  Boolean returnAfterSourceHandled);
