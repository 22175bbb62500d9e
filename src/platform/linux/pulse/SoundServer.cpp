#include "platform/linux/pulse/SoundServer.h"

#include "platform/linux/pulse/PulseHandles.h"
#include "support/Require.h"

#include <QCoreApplication>

#include <pulse/pulseaudio.h>

#include <algorithm>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr auto kReconnectInterval = 500ms;

} // namespace

SoundServer::Lock::Lock(SoundServer& server) : m_mainloop(server.m_mainloop) { pa_threaded_mainloop_lock(m_mainloop); }

SoundServer::Lock::~Lock() { pa_threaded_mainloop_unlock(m_mainloop); }

/// The library's callbacks, with their user data turned back into objects.
class SoundServer::Callbacks {
public:
    static void stateChanged(pa_context* context, void* data) {
        auto& server = *static_cast<SoundServer*>(data);
        switch (pa_context_get_state(context)) {
        case PA_CONTEXT_READY: {
            server.m_ready = true;
            const auto mask = PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE;
            if (auto* operation =
                    pa_context_subscribe(context, static_cast<pa_subscription_mask_t>(mask), nullptr, nullptr))
                pa_operation_unref(operation);
            for (Listener* listener : server.m_listeners) listener->serverReady();
            server.wakeWaiting();
            break;
        }
        case PA_CONTEXT_FAILED:
        case PA_CONTEXT_TERMINATED:
            server.contextLost(pa_context_errno(context));
            break;
        default:
            break;
        }
    }

    static void subscribed(pa_context*, pa_subscription_event_type_t type, std::uint32_t, void* data) {
        // Opening a stream of our own changes its device; only the comings and goings of devices count, and changes of
        // the server, which holds the defaults.
        const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
        const bool changed = (type & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE;
        if (changed && facility != PA_SUBSCRIPTION_EVENT_SERVER) return;
        for (Listener* listener : static_cast<SoundServer*>(data)->m_listeners) listener->devicesChanged();
    }
};

SoundServer::SoundServer() : m_mainloop(pa_threaded_mainloop_new()) {
    require(m_mainloop != nullptr, "no main loop for the sound server");
    pa_threaded_mainloop_set_name(m_mainloop, "sound-server");
    m_reconnect = std::make_unique<MainloopTimer>(m_mainloop, [this] {
        closeContext();
        openContext();
    });
    require(pa_threaded_mainloop_start(m_mainloop) == 0, "no thread for the sound server");
}

SoundServer::~SoundServer() {
    {
        const Lock lock(*this);
        require(m_listeners.empty(), "a recording stream outlives its sound server");
        closeContext();
        m_reconnect.reset();
    }
    pa_threaded_mainloop_stop(m_mainloop);
    pa_threaded_mainloop_free(m_mainloop);
}

Result<void> SoundServer::connect(Deadline deadline) {
    if (m_ready) return {};
    // With listeners a context is on its way already; what it meets next is the answer, unless it is resting.
    const bool resting = m_context == nullptr || !PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context));
    if (resting) {
        m_reconnect->stop();
        closeContext();
        openContext();
    }
    const bool answered = waitUntil([this] { return m_ready || m_error != 0; }, deadline);
    if (m_ready) return {};
    const int error = answered ? m_error : PA_ERR_TIMEOUT;
    dropIfUnused();
    return Failure{soundServerError(error)};
}

void SoundServer::openContext() {
    m_error = 0;
    const PropertyList properties = makeProperties({{PA_PROP_APPLICATION_NAME, "Quillet"},
                                                    {PA_PROP_APPLICATION_ID, kApplicationId},
                                                    {PA_PROP_APPLICATION_VERSION, QUILLET_VERSION}});
    m_context = pa_context_new_with_proplist(pa_threaded_mainloop_get_api(m_mainloop), "Quillet", properties.get());
    require(m_context != nullptr, "no memory for a sound server context");
    pa_context_set_state_callback(m_context, Callbacks::stateChanged, this);
    pa_context_set_subscribe_callback(m_context, Callbacks::subscribed, this);
    // A server that is to be started by its clients would be waited for without a deadline; desktops start theirs.
    if (pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 && m_error == 0)
        contextLost(pa_context_errno(m_context));
}

void SoundServer::closeContext() {
    m_ready = false;
    m_reconnect->stop();
    if (m_context == nullptr) return;
    pa_context_set_state_callback(m_context, nullptr, nullptr);
    pa_context_set_subscribe_callback(m_context, nullptr, nullptr);
    pa_context_disconnect(m_context);
    pa_context_unref(m_context);
    m_context = nullptr;
}

/// The context itself is let go of by the next attempt: this may be its own callback.
void SoundServer::contextLost(int error) {
    m_ready = false;
    m_error = error != 0 ? error : PA_ERR_CONNECTIONTERMINATED;
    for (Listener* listener : m_listeners) listener->serverLost();
    if (!m_listeners.empty()) m_reconnect->startIn(kReconnectInterval);
    wakeWaiting();
}

void SoundServer::reconnect() {
    for (Listener* listener : m_listeners) listener->serverLost();
    closeContext();
    openContext();
}

void SoundServer::add(Listener& listener) { m_listeners.push_back(&listener); }

void SoundServer::remove(Listener& listener) {
    std::erase(m_listeners, &listener);
    dropIfUnused();
}

void SoundServer::dropIfUnused() {
    if (m_listeners.empty()) closeContext();
}

bool SoundServer::waitUntil(const std::function<bool()>& condition, Deadline deadline) {
    MainloopTimer alarm(m_mainloop, [this] { wakeWaiting(); });
    while (!condition()) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= 0s) return false;
        alarm.startIn(std::chrono::duration_cast<std::chrono::microseconds>(left) + 1us);
        pa_threaded_mainloop_wait(m_mainloop);
    }
    return true;
}

Result<void> SoundServer::waitForAnswer(const std::function<bool()>& answered, Deadline deadline) {
    if (!waitUntil([&] { return answered() || !m_ready; }, deadline)) {
        dropIfUnused();
        return Failure{soundServerError(PA_ERR_TIMEOUT)};
    }
    if (!answered()) return Failure{soundServerError(PA_ERR_CONNECTIONTERMINATED)};
    return {};
}

void SoundServer::wakeWaiting() { pa_threaded_mainloop_signal(m_mainloop, 0); }

MainloopTimer::MainloopTimer(pa_threaded_mainloop* mainloop, std::function<void()> due)
    : m_api(pa_threaded_mainloop_get_api(mainloop)), m_due(std::move(due)) {}

MainloopTimer::~MainloopTimer() {
    if (m_event != nullptr) m_api->time_free(m_event);
}

void MainloopTimer::startIn(std::chrono::microseconds delay) {
    // The loop turns wall-clock time into its own clock's at once, so a wall clock that is set later does no harm.
    timeval when{};
    pa_timeval_add(pa_gettimeofday(&when), static_cast<pa_usec_t>(std::max<std::int64_t>(delay.count(), 0)));
    if (m_event != nullptr) return m_api->time_restart(m_event, &when);
    m_event = m_api->time_new(
        m_api, &when,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
            static_cast<MainloopTimer*>(data)->m_due();
        },
        this);
}

void MainloopTimer::stop() {
    if (m_event != nullptr) m_api->time_restart(m_event, nullptr);
}

PlatformError soundServerError(int pulseError) {
    const QString text = QString::fromUtf8(pa_strerror(pulseError));
    switch (pulseError) {
    case PA_ERR_TIMEOUT:
        return {pulseError, QStringLiteral("the sound server does not answer")};
    case PA_ERR_ACCESS:
    case PA_ERR_AUTHKEY:
        return {pulseError, QStringLiteral("the sound server denies access (%1)").arg(text)};
    case PA_ERR_CONNECTIONREFUSED:
    case PA_ERR_CONNECTIONTERMINATED:
    case PA_ERR_INVALIDSERVER:
        return {pulseError, QStringLiteral("the sound server cannot be reached (%1)").arg(text)};
    default:
        return {pulseError, QStringLiteral("the sound server reports \"%1\"").arg(text)};
    }
}

} // namespace quillet
