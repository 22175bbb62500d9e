#pragma once

// What the compiler and the run-time library agree on.

#include <cstddef>
#include <cstdint>

#ifdef __LP64__
typedef long NSInteger;
typedef unsigned long NSUInteger;
#endif
typedef signed char BOOL;
#define YES ((BOOL)1)
#define NO ((BOOL)0)
#define nil nullptr
typedef struct objc_selector* SEL;

#define QUILLET_API extern "C"
#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#define NS_ENUM(type, name)                                                                                            \
    enum name : type name;                                                                                             \
    enum name : type
#define CF_RETURNS_RETAINED __attribute__((cf_returns_retained))

@protocol NSObject
- (BOOL)isKindOfClass:(nonnull Class)aClass;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (nonnull instancetype)alloc;
+ (nonnull instancetype)new;
- (nonnull instancetype)init;
+ (nonnull Class)class;
@end

@protocol NSCopying
@end

@interface NSObject (Copying)
- (nonnull id)copy;
@end
