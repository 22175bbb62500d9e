#include "platform/apple/AudioReading.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace quillet::apple {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

/// One channel's samples: where they begin and how far each is from the next.
struct Channel {
    const std::byte* first = nullptr;
    std::size_t stride = 0;
};

template <typename Sample>
void copy(const Channel& from, std::size_t frames, float scale, std::span<float> into, std::size_t slot,
          std::size_t slots) {
    for (std::size_t i = 0; i < frames; ++i) {
        Sample sample;
        std::memcpy(&sample, from.first + i * from.stride, sizeof sample); // may lie at any address
        into[i * slots + slot] = static_cast<float>(sample) * scale;
    }
}

enum class SampleKind { Unreadable, Float32, Int16, Int32 };

SampleKind kindOf(const AudioStreamDescription& description) {
    const std::uint32_t flags = description.formatFlags;
    if (description.formatID != kFormatLinearPCM || (flags & kFormatFlagBigEndian) != 0) return SampleKind::Unreadable;
    if (description.sampleRate != double{kSampleRateHz} || description.channelsPerFrame == 0)
        return SampleKind::Unreadable;
    if ((flags & kFormatFlagFloat) != 0)
        return description.bitsPerChannel == 32 ? SampleKind::Float32 : SampleKind::Unreadable;
    if ((flags & kFormatFlagSignedInteger) == 0) return SampleKind::Unreadable;
    if (description.bitsPerChannel == 16) return SampleKind::Int16;
    return description.bitsPerChannel == 32 ? SampleKind::Int32 : SampleKind::Unreadable;
}

} // namespace

bool readInterleaved(const NativeAudio& audio, int channels, std::vector<float>& into) {
    const AudioStreamDescription& description = audio.description;
    const SampleKind kind = kindOf(description);
    const bool planar = (description.formatFlags & kFormatFlagNonInterleaved) != 0;
    const std::size_t sampleBytes = kind == SampleKind::Int16 ? 2 : 4;
    const std::size_t channelsInPlane = planar ? 1 : description.channelsPerFrame;
    const std::size_t stride = description.bytesPerFrame;
    if (kind == SampleKind::Unreadable || audio.planes.empty() || stride < sampleBytes * channelsInPlane) return false;
    if (planar && audio.planes.size() < description.channelsPerFrame) return false;

    const auto slots = static_cast<std::size_t>(channels);
    const auto channel = [&](std::size_t slot) -> Channel {
        const std::size_t wanted = std::min<std::size_t>(slot, description.channelsPerFrame - 1);
        if (planar) return {audio.planes[wanted].data(), stride};
        return {audio.planes.front().data() + wanted * sampleBytes, stride};
    };
    auto frames = static_cast<std::size_t>(std::max<std::int64_t>(audio.frames, 0));
    for (std::size_t plane = 0; plane < (planar ? description.channelsPerFrame : 1); ++plane)
        frames = std::min(frames, audio.planes[plane].size() / stride);

    into.resize(frames * slots);
    for (std::size_t slot = 0; slot < slots; ++slot) {
        switch (kind) {
        case SampleKind::Float32:
            copy<float>(channel(slot), frames, 1.0F, into, slot, slots);
            break;
        case SampleKind::Int16:
            copy<std::int16_t>(channel(slot), frames, 1.0F / 32768.0F, into, slot, slots);
            break;
        case SampleKind::Int32:
            copy<std::int32_t>(channel(slot), frames, 1.0F / 2147483648.0F, into, slot, slots);
            break;
        case SampleKind::Unreadable:
            break;
        }
    }
    return true;
}

std::optional<HostTime> hostTime(const NativeTime& time) {
    if (!time.isNumeric || time.timescale <= 0) return std::nullopt;
    const std::int64_t seconds = time.value / time.timescale;
    if (seconds < 0 || seconds > std::numeric_limits<std::int64_t>::max() / kNanosecondsPerSecond - 1)
        return std::nullopt;
    const std::int64_t rest = time.value % time.timescale * kNanosecondsPerSecond / time.timescale;
    if (rest < 0) return std::nullopt;
    return HostTime(std::chrono::nanoseconds(seconds * kNanosecondsPerSecond + rest));
}

} // namespace quillet::apple
