#import "platform/macos/SampleBuffers.h"

#import <CoreFoundation/CoreFoundation.h>
#include <array>
#include <cstddef>

namespace quillet {
namespace {

constexpr std::size_t kMostPlanes = 16;

/// The platform's list ends in an array of one; this has room for more behind it.
struct PlaneList {
    AudioBufferList list;
    std::array<AudioBuffer, kMostPlanes - 1> more;
};

AudioStreamDescription toDescription(const AudioStreamBasicDescription& native) {
    return {.sampleRate = native.mSampleRate,
            .formatID = native.mFormatID,
            .formatFlags = native.mFormatFlags,
            .bytesPerPacket = native.mBytesPerPacket,
            .framesPerPacket = native.mFramesPerPacket,
            .bytesPerFrame = native.mBytesPerFrame,
            .channelsPerFrame = native.mChannelsPerFrame,
            .bitsPerChannel = native.mBitsPerChannel,
            .reserved = native.mReserved};
}

} // namespace

void withSamples(CMSampleBufferRef buffer, const std::function<void(const apple::NativeAudio&)>& use) {
    if (!CMSampleBufferDataIsReady(buffer)) return;
    const CMFormatDescriptionRef format = CMSampleBufferGetFormatDescription(buffer);
    const AudioStreamBasicDescription* const description =
        format ? CMAudioFormatDescriptionGetStreamBasicDescription(format) : nullptr;
    if (!description) return;

    PlaneList planes{};
    Owned<CMBlockBufferRef> memory;
    const OSStatus status = CMSampleBufferGetAudioBufferListWithRetainedBlockBuffer(
        buffer, nullptr, &planes.list, sizeof planes, kCFAllocatorDefault, kCFAllocatorDefault,
        kCMSampleBufferFlag_AudioBufferList_Assure16ByteAlignment, memory.out());
    if (status != noErr) return;

    std::array<std::span<const std::byte>, kMostPlanes> spans;
    const std::size_t count = std::min<std::size_t>(planes.list.mNumberBuffers, kMostPlanes);
    const AudioBuffer* const first = planes.list.mBuffers;
    for (std::size_t i = 0; i < count; ++i)
        spans[i] = {static_cast<const std::byte*>(first[i].mData), first[i].mData ? first[i].mDataByteSize : 0};
    use({toDescription(*description), std::span(spans).first(count), CMSampleBufferGetNumSamples(buffer)});
}

apple::NativeTime presentationTime(CMSampleBufferRef buffer, CMClockRef _Nullable clock) {
    CMTime time = CMSampleBufferGetPresentationTimeStamp(buffer);
    if (clock) time = CMSyncConvertTime(time, clock, CMClockGetHostTimeClock());
    return {time.value, time.timescale, CMTIME_IS_NUMERIC(time) != 0};
}

Owned<CMAudioFormatDescriptionRef> makeBlockFormat() {
    const AudioStreamDescription& block = kInterleavedStereoFloat;
    const AudioStreamBasicDescription description{.mSampleRate = block.sampleRate,
                                                  .mFormatID = block.formatID,
                                                  .mFormatFlags = block.formatFlags,
                                                  .mBytesPerPacket = block.bytesPerPacket,
                                                  .mFramesPerPacket = block.framesPerPacket,
                                                  .mBytesPerFrame = block.bytesPerFrame,
                                                  .mChannelsPerFrame = block.channelsPerFrame,
                                                  .mBitsPerChannel = block.bitsPerChannel,
                                                  .mReserved = block.reserved};
    Owned<CMAudioFormatDescriptionRef> format;
    const OSStatus status = CMAudioFormatDescriptionCreate(kCFAllocatorDefault, &description, 0, nullptr, 0, nullptr,
                                                           nullptr, format.out());
    return status == noErr ? std::move(format) : Owned<CMAudioFormatDescriptionRef>();
}

Owned<CMSampleBufferRef> makePCMSampleBuffer(std::span<const float> interleaved, std::int64_t ptsFrame,
                                             CMAudioFormatDescriptionRef format) {
    const std::size_t bytes = interleaved.size_bytes();
    Owned<CMBlockBufferRef> memory;
    if (CMBlockBufferCreateWithMemoryBlock(kCFAllocatorDefault, nullptr, bytes, kCFAllocatorDefault, nullptr, 0, bytes,
                                           kCMBlockBufferAssureMemoryNowFlag, memory.out()) != noErr)
        return {};
    if (CMBlockBufferReplaceDataBytes(interleaved.data(), memory.get(), 0, bytes) != noErr) return {};

    const CMSampleTimingInfo timing{.duration = CMTimeMake(1, kSampleRateHz),
                                    .presentationTimeStamp = CMTimeMake(ptsFrame, kSampleRateHz),
                                    .decodeTimeStamp = kCMTimeInvalid};
    const std::size_t bytesPerFrame = kInterleavedStereoFloat.bytesPerFrame; // one size stands for all of them
    Owned<CMSampleBufferRef> buffer;
    const auto frames = static_cast<CMItemCount>(interleaved.size() / 2);
    const OSStatus status = CMSampleBufferCreate(kCFAllocatorDefault, memory.get(), true, nullptr, nullptr, format,
                                                 frames, 1, &timing, 1, &bytesPerFrame, buffer.out());
    return status == noErr ? std::move(buffer) : Owned<CMSampleBufferRef>();
}

} // namespace quillet
