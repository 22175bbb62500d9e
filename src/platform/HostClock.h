#pragma once

#include <chrono>
#include <ctime>

namespace quillet {

/// The clock that live sources stamp by, as a moment of steady_clock, whose own now() may count on while the machine
/// sleeps.
[[nodiscard]] inline std::chrono::steady_clock::time_point hostNow() {
#ifdef __APPLE__
    return std::chrono::steady_clock::time_point(std::chrono::nanoseconds(clock_gettime_nsec_np(CLOCK_UPTIME_RAW)));
#else
    return std::chrono::steady_clock::now();
#endif
}

} // namespace quillet
