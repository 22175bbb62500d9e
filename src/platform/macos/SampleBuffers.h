#pragma once

#include "platform/apple/AudioReading.h"
#include "platform/macos/Owned.h"

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>
#include <functional>
#include <span>

NS_ASSUME_NONNULL_BEGIN

namespace quillet {

/// Hands over the sound in a sample buffer as long as the call lasts, if it holds any.
void withSamples(CMSampleBufferRef buffer, const std::function<void(const apple::NativeAudio&)>& use);

/// On the host clock. The time is the buffer's own, of this clock; null: of the host clock already.
[[nodiscard]] apple::NativeTime presentationTime(CMSampleBufferRef buffer, CMClockRef _Nullable clock);

/// The stream description of mixed blocks.
[[nodiscard]] Owned<CMAudioFormatDescriptionRef> makeBlockFormat();

/// One mixed block as a sample buffer that begins at the frame; empty when any call reports an error.
[[nodiscard]] Owned<CMSampleBufferRef> makePCMSampleBuffer(std::span<const float> interleaved, std::int64_t ptsFrame,
                                                           CMAudioFormatDescriptionRef format);

} // namespace quillet

NS_ASSUME_NONNULL_END
