#pragma once

#import <Foundation/Foundation.h>
#include <chrono>
#include <functional>

NS_ASSUME_NONNULL_BEGIN

namespace quillet {

/// Calls something on a dispatch queue again and again, from start() to the end of its life; the queue is not waited
/// for. start() at most once.
class DispatchTicker {
public:
    DispatchTicker() = default;
    ~DispatchTicker() {
        if (m_source) dispatch_source_cancel(m_source);
    }
    DispatchTicker(const DispatchTicker&) = delete;
    DispatchTicker& operator=(const DispatchTicker&) = delete;

    void start(dispatch_queue_t queue, std::chrono::milliseconds interval, std::function<void()> tick) {
        const dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue);
        const std::chrono::nanoseconds nanoseconds = interval;
        const auto period = static_cast<uint64_t>(nanoseconds.count());
        // A tick that comes later than 10 ms is taken for one of a program that was held up.
        constexpr uint64_t kLeeway = 5 * NSEC_PER_MSEC;
        dispatch_source_set_timer(source, dispatch_time(DISPATCH_TIME_NOW, 0), period, kLeeway);
        dispatch_source_set_event_handler(source, ^{
          tick();
        });
        dispatch_resume(source);
        m_source = source;
    }

private:
    dispatch_source_t _Nullable m_source = nil;
};

/// How long an answer of a service is waited for before the user is told that none came: less than the three seconds
/// after which the callers give up.
inline dispatch_time_t serviceDeadline() { return dispatch_time(DISPATCH_TIME_NOW, 2800 * NSEC_PER_MSEC); }

} // namespace quillet

NS_ASSUME_NONNULL_END
