#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>

namespace quillet {

inline constexpr std::int32_t kSampleRateHz = 48000;
inline constexpr std::int64_t kBlockFrames = 1024; ///< one mixed block, and one AAC access unit

/// A number of frames at 48 kHz. As chrono types, two positions cannot be added and frames, nanoseconds and seconds
/// do not mix by accident.
using FrameCount = std::chrono::duration<std::int64_t, std::ratio<1, kSampleRateHz>>;

/// A time line counted in frames, as the chrono library wants clocks described.
template <typename Line>
struct FrameClock {
    using rep = FrameCount::rep;
    using period = FrameCount::period;
    using duration = FrameCount;
    using time_point = std::chrono::time_point<Line, FrameCount>;
    static constexpr bool is_steady = true;
};

/// The machine's monotonic clock from its zero on: what both sources stamp by.
struct HostFrameClock : FrameClock<HostFrameClock> {};
using HostFramePos = HostFrameClock::time_point;

/// A recording's own time line, whose frame 0 is the first system-audio buffer.
struct RecordingClock : FrameClock<RecordingClock> {};
using FramePos = RecordingClock::time_point;

/// A rational media time: value / timescale seconds.
struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = kSampleRateHz;

    [[nodiscard]] constexpr double seconds() const {
        return static_cast<double>(value) / static_cast<double>(timescale);
    }

    /// The beginning of the frame.
    static constexpr MediaTime atFrame(HostFramePos frame) { return {frame.time_since_epoch().count(), kSampleRateHz}; }

    /// Half a frame inside the frame. The mixer subtracts two times as doubles and truncates; a time on the very edge
    /// of a frame would land one frame early as often as not, one in the middle cannot.
    static constexpr MediaTime insideFrame(HostFramePos frame) {
        return {frame.time_since_epoch().count() * 2 + 1, kSampleRateHz * 2};
    }
};

} // namespace quillet
