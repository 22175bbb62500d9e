#include "support/SerialQueue.h"

#include "platform/ThreadName.h"
#include "support/Require.h"

#include <memory>
#include <semaphore>
#include <utility>

namespace quillet {
namespace {

class ClosureItem final : public SerialQueue::Item {
public:
    explicit ClosureItem(std::function<void()> work) : m_work(std::move(work)) {}
    void run() override {
        const std::unique_ptr<ClosureItem> self(this);
        m_work();
    }

private:
    std::function<void()> m_work;
};

} // namespace

SerialQueue::SerialQueue(std::string label)
    : m_state(std::make_shared<State>()),
      m_thread([state = m_state, name = std::move(label)] { loop(*state, name); }) {}

SerialQueue::~SerialQueue() {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->closing = true;
    }
    m_state->wake.notify_one();
    if (isCurrent()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

void SerialQueue::post(Item& item) {
    std::shared_ptr<State> toWake; // held, for the item may be what ends the queue
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->append(item);
        if (!std::exchange(m_state->hurried, true)) toWake = m_state;
    }
    if (toWake) toWake->wake.notify_one(); // under the mutex the thread would wake only to wait for that
}

void SerialQueue::postUnhurried(Item& item) {
    const std::lock_guard lock(m_state->mutex);
    m_state->append(item);
}

void SerialQueue::State::append(Item& item) {
    item.m_next = nullptr;
    (head ? tail->m_next : head) = &item;
    tail = &item;
}

void SerialQueue::async(std::function<void()> work) { post(*new ClosureItem(std::move(work))); }

void SerialQueue::sync(const std::function<void()>& work) {
    require(!isCurrent(), "waiting on a serial queue from its own thread never ends");
    std::binary_semaphore done(0);
    async([&] {
        work();
        done.release();
    });
    done.acquire();
}

void SerialQueue::loop(State& state, const std::string& label) {
    nameThisThread(label);
    while (true) {
        Item* item = nullptr;
        {
            std::unique_lock lock(state.mutex);
            // What has come while the thread was awake costs no wake-up.
            if (!state.head) state.wake.wait(lock, [&state] { return state.hurried || state.closing; });
            if (!state.head) return;
            state.hurried = false;
            item = std::exchange(state.head, nullptr);
            state.tail = nullptr;
        }
        while (item) {
            Item* const next = item->m_next; // run() may post the item again or free it
            item->run();
            item = next;
        }
    }
}

} // namespace quillet
