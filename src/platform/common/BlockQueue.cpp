#include "platform/common/BlockQueue.h"

#include "support/Require.h"

#include <algorithm>

namespace quillet {

BlockQueue::BlockQueue(std::size_t capacity, std::size_t batch)
    : m_batch(batch), m_slots(std::make_unique_for_overwrite<StereoBlock[]>(capacity)), m_entries(capacity) {
    m_freeSlots.reserve(capacity);
    for (std::size_t slot = capacity; slot-- > 0;) m_freeSlots.push_back(static_cast<std::uint32_t>(slot));
}

std::size_t BlockQueue::freeBlocks() const {
    const std::lock_guard lock(m_mutex);
    return m_closed ? 0 : m_freeSlots.size();
}

bool BlockQueue::append(std::int64_t firstFrame, std::span<const float, kBlockSamples> interleaved) {
    std::uint32_t slot = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (m_closed || m_freeSlots.empty()) return false;
        slot = m_freeSlots.back();
        m_freeSlots.pop_back();
    }
    separateChannels(interleaved, m_slots[slot]);
    bool batchFilled = false;
    {
        const std::lock_guard lock(m_mutex);
        m_entries[(m_first + m_count) % m_entries.size()] = {firstFrame, slot};
        ++m_count;
        batchFilled = m_count == m_batch;
    }
    if (batchFilled) m_batchReady.notify_one();
    return true;
}

bool BlockQueue::request(std::size_t mostBlocks, const std::function<void()>& whenSo) {
    require(mostBlocks + 1 >= m_batch, "giver and taker of blocks wait for each other");
    const std::lock_guard lock(m_mutex);
    if (m_closed) return false;
    if (m_count <= mostBlocks) return true;
    m_request = {mostBlocks, whenSo};
    return false;
}

void BlockQueue::close() {
    std::function<void()> withdrawn; // destroyed outside the lock
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        withdrawn.swap(m_request.whenSo);
    }
    m_batchReady.notify_one();
}

std::size_t BlockQueue::waitForBatch() {
    std::unique_lock lock(m_mutex);
    m_batchReady.wait(lock, [this] { return m_count >= m_batch || m_closed; });
    return std::min(m_count, m_batch);
}

bool BlockQueue::holdsBatch() const {
    const std::lock_guard lock(m_mutex);
    return m_count >= m_batch;
}

BlockQueue::Front BlockQueue::front() const {
    const std::lock_guard lock(m_mutex);
    const Entry& entry = m_entries[m_first];
    return {entry.firstFrame, m_slots[entry.slot]};
}

void BlockQueue::pop() {
    std::function<void()> whenSo;
    {
        const std::lock_guard lock(m_mutex);
        m_freeSlots.push_back(m_entries[m_first].slot);
        m_first = (m_first + 1) % m_entries.size();
        --m_count;
        if (m_request.whenSo && m_count <= m_request.mostBlocks) whenSo.swap(m_request.whenSo);
    }
    if (whenSo) whenSo();
}

} // namespace quillet
