#include "platform/apple/StampedSource.h"

#include "platform/apple/DriftConverter.h"

#include <utility>

namespace quillet::apple {

StampedSource::StampedSource(SerialQueue& queue, SampleHandler handler, int channels,
                             DeliveryPool::FirstStamp firstStamp, HostTime started)
    : m_channels(channels),
      m_pool(queue, std::move(handler), channels, firstStamp),
      m_timeLine(
          channels, makeDriftConverter(channels),
          [this](HostFramePos position, std::span<const float> interleaved) {
              return m_pool.deliver(position, interleaved);
          },
          started),
      m_tickDue(started + kTickInterval) {}

void StampedSource::deliver(const NativeAudio& audio, const NativeTime& time, HostTime now) {
    if (m_ended || !readInterleaved(audio, m_channels, m_samples) || m_samples.empty()) return;
    const auto frames = static_cast<std::int64_t>(m_samples.size()) / m_channels;
    // The moment at which the last of the frames had sounded: what a source without stamps would call its arrival.
    HostTime end = now;
    if (const auto begin = hostTime(time))
        end = *begin + std::chrono::duration_cast<HostTime::duration>(FrameCount(frames));
    m_timeLine.append(end, m_samples);
    m_timeLine.arrived(end);
}

void StampedSource::tick(HostTime now) {
    const HostTime due = std::exchange(m_tickDue, now + kTickInterval);
    if (!m_ended) m_timeLine.tick(due, now);
}

void StampedSource::end(HostTime now) {
    if (!std::exchange(m_ended, true)) m_timeLine.finish(now);
}

} // namespace quillet::apple
