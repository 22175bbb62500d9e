#pragma once

#include <objc/api.h>

NS_ASSUME_NONNULL_BEGIN

// Queues, sources and semaphores are objects to Objective-C, and reference-counted as such.
@protocol OS_dispatch_queue <NSObject>
@end
@protocol OS_dispatch_source <NSObject>
@end
@protocol OS_dispatch_semaphore <NSObject>
@end
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
typedef NSObject<OS_dispatch_source>* dispatch_source_t;
typedef NSObject<OS_dispatch_semaphore>* dispatch_semaphore_t;
typedef struct quillet_dispatch_queue_attr* dispatch_queue_attr_t;
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
typedef void (^dispatch_block_t)(void);
typedef uint64_t dispatch_time_t;

#define NSEC_PER_SEC 1000000000ull
#define NSEC_PER_MSEC 1000000ull
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)
#define DISPATCH_QUEUE_SERIAL ((dispatch_queue_attr_t _Nullable) nullptr)
extern "C" const struct dispatch_source_type_s _dispatch_source_type_timer;
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)
enum { QOS_CLASS_DEFAULT = 0x15, QOS_CLASS_UTILITY = 0x11 };

QUILLET_API dispatch_queue_t dispatch_queue_create(const char* _Nullable label, dispatch_queue_attr_t _Nullable attr)
    __attribute__((ns_returns_retained));
QUILLET_API dispatch_queue_t dispatch_get_main_queue(void);
QUILLET_API dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags);
QUILLET_API void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
QUILLET_API void dispatch_sync(dispatch_queue_t queue, __attribute__((noescape)) dispatch_block_t block);
QUILLET_API void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
QUILLET_API dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);

QUILLET_API dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t mask,
                                                     dispatch_queue_t _Nullable queue)
    __attribute__((ns_returns_retained));
QUILLET_API void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                                           uint64_t leeway);
QUILLET_API void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t _Nullable handler);
QUILLET_API void dispatch_source_cancel(dispatch_source_t source);
QUILLET_API void dispatch_resume(dispatch_source_t source);

QUILLET_API dispatch_semaphore_t dispatch_semaphore_create(intptr_t value) __attribute__((ns_returns_retained));
QUILLET_API intptr_t dispatch_semaphore_wait(dispatch_semaphore_t semaphore, dispatch_time_t timeout);
QUILLET_API intptr_t dispatch_semaphore_signal(dispatch_semaphore_t semaphore);

NS_ASSUME_NONNULL_END
