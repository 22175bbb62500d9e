#pragma once

#include "capture/DeliveryPool.h"
#include "capture/LiveTimeLine.h"
#include "platform/apple/AudioReading.h"

#include <cstddef>
#include <span>
#include <vector>

namespace quillet::apple {

/// How often tick() is due.
inline constexpr std::chrono::milliseconds kTickInterval{100};

/// Between a capture service of the platform and the capture queue: reads what the service delivers, places it by its
/// own stamps as one unbroken run of frames, and hands it on. Owned by a source; close() is called on the capture
/// queue, all else on the service's queue. What cannot be read counts as not delivered, and is replaced by silence like
/// everything that is missing.
class StampedSource {
public:
    StampedSource(SerialQueue& queue, SampleHandler handler, int channels, DeliveryPool::FirstStamp firstStamp,
                  HostTime started);

    /// The time is that of the first frame, on the clock of hostNow(); now stands in where the platform gave none.
    void deliver(const NativeAudio& audio, const NativeTime& time, HostTime now);
    /// Another device from here on.
    void interrupted() { m_timeLine.interrupted(); }
    /// Every kTickInterval, so that a silent source does not hold up the other one.
    void tick(HostTime now);
    /// Nothing is captured any more; what has been goes to the capture queue, and nothing once this has returned.
    void end(HostTime now);
    /// Capture queue: nothing reaches the handler any more behind what is on that queue by now.
    void close() { m_pool.closeBehindDeliveries(); }

private:
    const int m_channels;
    DeliveryPool m_pool;
    LiveTimeLine m_timeLine;
    std::vector<float> m_samples;
    HostTime m_tickDue;
    bool m_ended = false;
};

} // namespace quillet::apple
