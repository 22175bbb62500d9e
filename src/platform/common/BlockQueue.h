#pragma once

#include "platform/common/StereoBlock.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace quillet {

/// Blocks of sound on their way from the capture queue, which must not wait, to a writer's thread, which waits for the
/// encoder and the disk. All memory is set aside at creation. The taker is woken for whole batches only: encoding
/// block by block as they come would cost twice the processor time.
class BlockQueue {
public:
    BlockQueue(std::size_t capacity, std::size_t batch);

    // The giver's side.
    [[nodiscard]] std::size_t freeBlocks() const; ///< 0 once closed
    /// False, and nothing happens, when the queue is full or closed.
    bool append(std::int64_t firstFrame, std::span<const float, kBlockSamples> interleaved);
    /// Whether at most that many blocks, at least a batch less one, are inside and the queue is open. If not, whenSo is
    /// called once, as soon as it is so, on the taker's thread. A new request replaces the last; closing withdraws it.
    bool request(std::size_t mostBlocks, const std::function<void()>& whenSo);

    /// No more blocks come; those inside can still be taken. Any thread.
    void close();

    // The taker's side.
    /// Waits until there is a batch to take, or the queue is closed. How many blocks to take now: at most a batch;
    /// fewer only at the end; 0 when closed and empty.
    [[nodiscard]] std::size_t waitForBatch();
    /// Whether there is a batch to take without waiting.
    [[nodiscard]] bool holdsBatch() const;
    struct Front {
        std::int64_t firstFrame;
        const StereoBlock& block;
    };
    /// The oldest block, which stays in the queue, and counts, until pop().
    [[nodiscard]] Front front() const;
    void pop();

private:
    struct Entry {
        std::int64_t firstFrame;
        std::uint32_t slot;
    };

    const std::size_t m_batch;
    const std::unique_ptr<StereoBlock[]> m_slots;
    mutable std::mutex m_mutex; ///< never held while samples are copied
    std::condition_variable m_batchReady;
    std::vector<Entry> m_entries; ///< a ring
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    /// Last freed, first reused: in ordinary operation the same few slots go round and the rest never takes memory.
    std::vector<std::uint32_t> m_freeSlots;
    bool m_closed = false;

    struct Request {
        std::size_t mostBlocks = 0;
        std::function<void()> whenSo; ///< empty: nobody waits
    };
    Request m_request;
};

} // namespace quillet
