#include "capture/DeliveryPool.h"

#include "capture/FourSamples.h"
#include "support/Require.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>

namespace quillet {

namespace {

float sanitized(float sample) {
    const float finite = std::abs(sample) <= std::numeric_limits<float>::max() ? sample : 0.0F; // NaN compares false
    return std::clamp(finite, -kLargestSample, kLargestSample);
}

/// Whether all are numbers within the limits.
bool areAllSane(std::span<const float> samples) {
    auto sane = allFour(0) <= allFour(kLargestSample); // a mask of all four
    std::size_t i = 0;
    for (; i + 4 <= samples.size(); i += 4) sane &= magnitude(loadFour(samples.data() + i)) <= allFour(kLargestSample);
    bool all = sane[0] && sane[1] && sane[2] && sane[3];
    for (; i < samples.size(); ++i) all = all && std::abs(samples[i]) <= kLargestSample;
    return all;
}

} // namespace

void copySanitized(std::span<const float> from, std::span<float> to) {
    if (from.data() != to.data()) std::ranges::copy(from, to.begin());
    const std::span<float> copied = to.first(from.size());
    // Next to never is there anything to mend, and finding that out takes less than half of mending everything.
    if (!areAllSane(copied)) std::ranges::transform(copied, copied.begin(), [](float s) { return sanitized(s); });
}

class DeliveryPool::Buffer final : public SerialQueue::Item {
public:
    void run() override;

    std::span<float> samples; ///< its place in the pool's memory
    std::size_t frames = 0;
    MediaTime presentationTime;
    std::atomic<bool> underWay = false;
    std::shared_ptr<State> owner; ///< set while under way
};

struct DeliveryPool::State {
    State(SerialQueue& captureQueue, SampleHandler sampleHandler, int channelCount, FirstStamp stamp)
        : queue(captureQueue),
          handler(std::move(sampleHandler)),
          channels(static_cast<std::size_t>(channelCount)),
          nextStamp(stamp),
          memory(std::make_unique_for_overwrite<float[]>(kBuffers * kFramesPerBuffer * channels)) {
        const std::size_t each = kFramesPerBuffer * channels;
        for (std::size_t i = 0; i < kBuffers; ++i) buffers[i].samples = {memory.get() + i * each, each};
    }

    SerialQueue& queue;
    SampleHandler handler; ///< capture queue
    bool closed = false;   ///< capture queue
    const std::size_t channels;
    FirstStamp nextStamp;                  ///< source's thread
    const std::unique_ptr<float[]> memory; ///< apart from the buffers, so that what is not used is not touched
    std::vector<Buffer> buffers = std::vector<Buffer>(kBuffers);
};

void DeliveryPool::Buffer::run() {
    const std::shared_ptr<State> state = std::move(owner);
    if (!state->closed) {
        const auto bytes = std::as_bytes(samples.first(frames * state->channels));
        state->handler({.data = bytes,
                        .description = state->channels == 1 ? &kMonoFloat : &kInterleavedStereoFloat,
                        .presentationTime = presentationTime,
                        .sampleCount = static_cast<std::int64_t>(frames)});
    }
    underWay.store(false, std::memory_order_release);
}

DeliveryPool::DeliveryPool(SerialQueue& queue, SampleHandler handler, int channels, FirstStamp firstStamp)
    : m_state(std::make_shared<State>(queue, std::move(handler), channels, firstStamp)) {
    require(channels == 1 || channels == 2, "a source delivers one or two channels");
}

DeliveryPool::~DeliveryPool() = default;

std::size_t DeliveryPool::deliver(HostFramePos position, std::span<const float> interleaved) {
    State& state = *m_state;
    std::size_t taken = 0;
    const std::size_t total = interleaved.size() / state.channels;
    while (taken < total) {
        // The first that is free, not the next in turn: usually a few are enough, and they stay in the cache.
        const auto isFree = [](const Buffer& any) { return !any.underWay.load(std::memory_order_acquire); };
        const auto found = std::find_if(state.buffers.begin(), state.buffers.end(), isFree);
        if (found == state.buffers.end()) break;
        Buffer& buffer = *found;
        buffer.frames = std::min(total - taken, kFramesPerBuffer);
        copySanitized(interleaved.subspan(taken * state.channels, buffer.frames * state.channels), buffer.samples);
        const HostFramePos at = position + FrameCount(static_cast<std::int64_t>(taken));
        buffer.presentationTime =
            state.nextStamp == FirstStamp::AtFrame ? MediaTime::atFrame(at) : MediaTime::insideFrame(at);
        state.nextStamp = FirstStamp::InsideFrame;
        buffer.owner = m_state;
        buffer.underWay.store(true, std::memory_order_relaxed);
        // All before the first free one are waiting; what lies behind it as well is being taken at this moment.
        const std::size_t gathered =
            std::accumulate(state.buffers.begin(), found, buffer.frames,
                            [](std::size_t frames, const Buffer& waiting) { return frames + waiting.frames; });
        // Many small pieces are no reason to run out of buffers.
        const bool halfAreWaiting = static_cast<std::size_t>(found - state.buffers.begin()) >= kBuffers / 2;
        if (gathered > kFramesThatWait || halfAreWaiting) {
            state.queue.post(buffer);
        } else {
            state.queue.postUnhurried(buffer);
        }
        taken += buffer.frames;
    }
    return taken;
}

void DeliveryPool::close() {
    require(m_state->queue.isCurrent(), "deliveries are closed on the capture queue");
    m_state->closed = true; // the handler may be what is calling, so it stays until the last buffer is back
}

void DeliveryPool::closeBehindDeliveries() {
    m_state->queue.async([state = m_state] { state->closed = true; });
}

} // namespace quillet
