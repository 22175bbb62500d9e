#pragma once

#include "capture/ArrivalClock.h"
#include "capture/SampleBuffer.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace quillet::apple {

inline constexpr std::uint32_t kFormatFlagBigEndian = 1U << 1;
inline constexpr std::uint32_t kFormatFlagSignedInteger = 1U << 2;
inline constexpr std::uint32_t kFormatFlagNonInterleaved = 1U << 5;

/// Sound as the platform hands it over: one piece of memory with the channels in turn, or one piece for each channel.
/// Valid during the call that hands it over, no longer.
struct NativeAudio {
    AudioStreamDescription description;
    std::span<const std::span<const std::byte>> planes;
    std::int64_t frames = 0;
};

/// Makes interleaved floats of it, one channel (the first) or two (the first two, or the only one twice), and returns
/// whether it could: linear samples at 48 kHz, floats of 32 bits or integers of 16 or 32 bits in this machine's order.
/// Frames that the memory does not reach are left out. The vector keeps its memory from call to call.
[[nodiscard]] bool readInterleaved(const NativeAudio& audio, int channels, std::vector<float>& into);

/// A media time as the platform keeps it, with the two of its flags that matter.
struct NativeTime {
    std::int64_t value = 0;
    std::int32_t timescale = 0;
    bool isNumeric = false; ///< valid, and neither infinite nor indefinite
};

/// To the nanosecond; absent for a time that is none.
[[nodiscard]] std::optional<HostTime> hostTime(const NativeTime& time);

} // namespace quillet::apple
