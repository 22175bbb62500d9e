#pragma once

#include "capture/MediaTime.h"
#include "capture/SampleBuffer.h"
#include "support/SerialQueue.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace quillet {

/// Largest magnitude that a sample keeps on its way in, +60 dB over full scale: no converter gets there, and the square
/// of a larger one could run the level meters to infinity, from where they never return.
inline constexpr float kLargestSample = 1000.0F;

/// Copies samples, with 0 for what is not a number or infinite, and magnitudes limited to kLargestSample.
void copySanitized(std::span<const float> from, std::span<float> to);

/// Carries a source's buffers from the source's own thread to the capture queue without allocating: a fixed number of
/// buffers goes round. The source's thread calls deliver(), or at its end the capture queue in its place; the capture
/// queue closes; the pool may be destroyed on either once nothing is delivered any more.
class DeliveryPool {
public:
    /// How the first buffer is stamped. The first system-audio buffer sets frame 0, at the frame's beginning;
    /// everything else lies half a frame inside its frame (see MediaTime::insideFrame).
    enum class FirstStamp { AtFrame, InsideFrame };

    /// Buffers of two of the sound server's usual 1,024 frames, for a capture queue that is held up for ten seconds, as
    /// by a disk that has to wake before the file can be made; memory that is not used is not touched.
    static constexpr std::size_t kBuffers = 512;
    static constexpr std::size_t kFramesPerBuffer = 2048;
    /// So much waits on the queue for more to come, or for whatever else the queue is woken for: one fragment of the
    /// sound server's, in however many pieces it arrives and however drift has lengthened it. Two fragments share a
    /// wake-up, and the first is 20 ms later.
    static constexpr std::size_t kFramesThatWait = 1536;

    DeliveryPool(SerialQueue& queue, SampleHandler handler, int channels, FirstStamp firstStamp);
    ~DeliveryPool();
    DeliveryPool(const DeliveryPool&) = delete;
    DeliveryPool& operator=(const DeliveryPool&) = delete;

    /// Hands over interleaved frames that begin at the position, sanitized, in as many buffers as they need. Returns
    /// how many frames were taken: fewer when all buffers are under way. The caller owes the rest, as silence if need
    /// be: the next delivery must begin where this one ended.
    std::size_t deliver(HostFramePos position, std::span<const float> interleaved);

    /// Capture queue: the handler is not called any more once this has returned.
    void close();
    /// Capture queue: what has been delivered still reaches the handler, by way of the queue, and nothing after it.
    void closeBehindDeliveries();

private:
    class Buffer;
    struct State;
    std::shared_ptr<State> m_state; ///< each buffer under way holds it as well
};

} // namespace quillet
