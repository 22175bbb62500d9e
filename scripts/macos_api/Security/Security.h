#pragma once

#include <CoreFoundation/CoreFoundation.h>

typedef const struct __attribute__((objc_bridge(NSString))) __CFString* CFStringRef;

extern "C" const CFStringRef _Nonnull kSecClass;
extern "C" const CFStringRef _Nonnull kSecClassGenericPassword;
extern "C" const CFStringRef _Nonnull kSecAttrService;
extern "C" const CFStringRef _Nonnull kSecAttrAccount;
extern "C" const CFStringRef _Nonnull kSecReturnData;
extern "C" const CFStringRef _Nonnull kSecMatchLimit;
extern "C" const CFStringRef _Nonnull kSecMatchLimitOne;
enum : OSStatus { errSecSuccess = 0 };

QUILLET_API OSStatus SecItemCopyMatching(CFDictionaryRef _Nonnull query,
                                         CFTypeRef _Nullable* _Nullable __attribute__((cf_returns_retained)) result);
