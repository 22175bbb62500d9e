#include "support/StopToken.h"

#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

namespace quillet {

struct StopToken::State {
    std::mutex mutex;
    std::condition_variable returned;
    bool requested = false;
    std::set<StopCallback*> callbacks; ///< those not called yet
    StopCallback* running = nullptr;
    std::thread::id requester;
};

bool StopToken::stopRequested() const {
    if (!m_state) return false;
    const std::lock_guard lock(m_state->mutex);
    return m_state->requested;
}

StopSource::StopSource() : m_state(std::make_shared<StopToken::State>()) {}

void StopSource::requestStop() {
    StopToken::State& state = *m_state;
    std::unique_lock lock(state.mutex);
    if (state.requested) return;
    state.requested = true;
    state.requester = std::this_thread::get_id();
    while (!state.callbacks.empty()) {
        StopCallback* const next = *state.callbacks.begin();
        state.callbacks.erase(state.callbacks.begin());
        state.running = next;
        const std::function<void()> call = next->m_callback; // may destroy the object that holds it
        lock.unlock();
        call();
        lock.lock();
        state.running = nullptr;
        state.returned.notify_all();
    }
}

StopCallback::StopCallback(const StopToken& token, std::function<void()> callback)
    : m_state(token.m_state), m_callback(std::move(callback)) {
    if (!m_state) return;
    {
        const std::lock_guard lock(m_state->mutex);
        if (!m_state->requested) {
            m_state->callbacks.insert(this);
            return;
        }
    }
    m_callback();
}

StopCallback::~StopCallback() {
    if (!m_state) return;
    std::unique_lock lock(m_state->mutex);
    m_state->callbacks.erase(this);
    if (m_state->requester == std::this_thread::get_id()) return; // destroyed by what it called
    m_state->returned.wait(lock, [this] { return m_state->running != this; });
}

} // namespace quillet
