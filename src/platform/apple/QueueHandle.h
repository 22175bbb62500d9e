#pragma once

#include "support/SerialQueue.h"

#include <functional>
#include <mutex>
#include <utility>

namespace quillet::apple {

/// A way onto a serial queue for answers that may come when the queue is gone: whoever owns the queue's user calls
/// detach() before that. Any thread.
class QueueHandle {
public:
    explicit QueueHandle(SerialQueue& queue) : m_queue(&queue) {}

    /// Dropped after detach().
    void async(std::function<void()> work) {
        const std::lock_guard lock(m_mutex);
        if (m_queue) m_queue->async(std::move(work));
    }
    void detach() {
        const std::lock_guard lock(m_mutex);
        m_queue = nullptr;
    }

private:
    std::mutex m_mutex;
    SerialQueue* m_queue;
};

} // namespace quillet::apple
