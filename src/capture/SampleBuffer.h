#pragma once

#include "capture/MediaTime.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace quillet {

inline constexpr std::uint32_t kFormatLinearPCM = 0x6C70636D; ///< 'lpcm'
inline constexpr std::uint32_t kFormatFlagFloat = 1U << 0;
inline constexpr std::uint32_t kFormatFlagPacked = 1U << 3;

/// How the bytes of a sample buffer are to be read; the fields are those of Core Audio's AudioStreamBasicDescription,
/// so that a buffer of that platform passes through unchanged.
struct AudioStreamDescription {
    double sampleRate = kSampleRateHz;
    std::uint32_t formatID = kFormatLinearPCM;
    std::uint32_t formatFlags = kFormatFlagFloat | kFormatFlagPacked;
    std::uint32_t bytesPerPacket = 8;
    std::uint32_t framesPerPacket = 1;
    std::uint32_t bytesPerFrame = 8;
    std::uint32_t channelsPerFrame = 2;
    std::uint32_t bitsPerChannel = 32;
    std::uint32_t reserved = 0;
};

inline constexpr AudioStreamDescription kInterleavedStereoFloat{};
inline constexpr AudioStreamDescription kMonoFloat{.bytesPerPacket = 4, .bytesPerFrame = 4, .channelsPerFrame = 1};

/// A look at timestamped audio that somebody else owns: valid during the call that hands it over, no longer.
struct SampleBuffer {
    std::span<const std::byte> data;
    const AudioStreamDescription* description = nullptr; ///< null: unreadable, ignored by everyone
    MediaTime presentationTime;
    std::int64_t sampleCount = 0;
};

/// Takes the buffers of one source. Called on the capture queue only.
using SampleHandler = std::function<void(const SampleBuffer&)>;

} // namespace quillet
