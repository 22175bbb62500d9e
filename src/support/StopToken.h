#pragma once

#include <functional>
#include <memory>

namespace quillet {

/// Asks work under way to stop: whoever waits for it keeps the StopSource, the work looks at the StopToken now and then
/// or has a StopCallback called. As in the standard's header of that name, which not every library here has yet. Any
/// thread; a request cannot be taken back.
class StopToken {
public:
    /// Of a request that never comes.
    StopToken() = default;
    [[nodiscard]] bool stopRequested() const;

private:
    friend class StopSource;
    friend class StopCallback;
    struct State;
    explicit StopToken(std::shared_ptr<State> state) : m_state(std::move(state)) {}
    std::shared_ptr<State> m_state;
};

class StopSource {
public:
    StopSource();
    /// Runs the callbacks that there are, here and now.
    void requestStop();
    [[nodiscard]] StopToken token() const { return StopToken(m_state); }

private:
    std::shared_ptr<StopToken::State> m_state;
};

/// Calls the function once: when the request comes, on the requesting thread, or at once when it has come before. Not
/// any more after destruction, which waits for a call under way on another thread.
class StopCallback {
public:
    StopCallback(const StopToken& token, std::function<void()> callback);
    ~StopCallback();
    StopCallback(const StopCallback&) = delete;
    StopCallback& operator=(const StopCallback&) = delete;

private:
    friend class StopSource;
    std::shared_ptr<StopToken::State> m_state;
    std::function<void()> m_callback;
};

} // namespace quillet
