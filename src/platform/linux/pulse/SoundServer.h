#pragma once

#include "support/Result.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

struct pa_context;
struct pa_mainloop_api;
struct pa_threaded_mainloop;
struct pa_time_event;

namespace quillet {

using Deadline = std::chrono::steady_clock::time_point;

/// A connection to the sound server, PulseAudio or PipeWire, with the thread on which everything that the server says
/// is heard. A source owns one and shares it with its stream. While somebody listens, a lost connection is taken up
/// again, for as long as it takes; with nobody listening it is dropped. Any thread may use it under its lock, which the
/// server's thread holds while it works, so listeners are always called with the lock held and must not wait for
/// another thread.
class SoundServer {
public:
    /// What a recording stream hears. Server's thread.
    class Listener {
    public:
        virtual ~Listener() = default;
        virtual void serverReady() = 0;
        virtual void serverLost() = 0;
        /// A device has come or gone, or the defaults have changed.
        virtual void devicesChanged() = 0;
    };

    /// Holds the server's thread still for as long as it lives.
    class Lock {
    public:
        explicit Lock(SoundServer& server);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* m_mainloop;
    };

    SoundServer();
    ~SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    // All of the following with the lock held.

    /// Connects unless connected. The error's code is the server library's, PA_ERR_TIMEOUT when nothing was answered.
    Result<void> connect(Deadline deadline);
    [[nodiscard]] bool ready() const { return m_ready; }
    [[nodiscard]] pa_context* context() const { return m_context; }
    [[nodiscard]] pa_threaded_mainloop* mainloop() const { return m_mainloop; }

    /// Begins anew with another connection, as after a loss.
    void reconnect();

    void add(Listener& listener);
    void remove(Listener& listener);

    /// Lets the server's thread work until the condition holds; false when the deadline came first. Whoever changes a
    /// condition calls wakeWaiting().
    bool waitUntil(const std::function<bool()>& condition, Deadline deadline);
    /// The same for an answer of the server: fails also when the connection is lost first.
    Result<void> waitForAnswer(const std::function<bool()>& answered, Deadline deadline);
    void wakeWaiting();

private:
    class Callbacks;

    /// After an answer that did not come in time: a fresh connection is more likely to get one. Kept while recording.
    void dropIfUnused();
    void openContext();
    void closeContext();
    void contextLost(int error);

    pa_threaded_mainloop* const m_mainloop;
    std::unique_ptr<class MainloopTimer> m_reconnect;
    pa_context* m_context = nullptr;
    bool m_ready = false;
    int m_error = 0; ///< why the last context failed
    std::vector<Listener*> m_listeners;
};

/// Calls back once, on the server's thread, when its time has come. To be made, used and destroyed under the lock.
class MainloopTimer {
public:
    MainloopTimer(pa_threaded_mainloop* mainloop, std::function<void()> due);
    ~MainloopTimer();
    MainloopTimer(const MainloopTimer&) = delete;
    MainloopTimer& operator=(const MainloopTimer&) = delete;

    /// Replaces an earlier time.
    void startIn(std::chrono::microseconds delay);
    void stop();

private:
    pa_mainloop_api* const m_api;
    pa_time_event* m_event = nullptr;
    const std::function<void()> m_due;
};

/// The clause for the user that goes with one of the server library's error numbers.
[[nodiscard]] PlatformError soundServerError(int pulseError);

} // namespace quillet
