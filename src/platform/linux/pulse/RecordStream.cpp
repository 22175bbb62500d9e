#include "platform/linux/pulse/RecordStream.h"

#include "platform/linux/ffmpeg/DriftResampler.h"
#include "platform/linux/pulse/PulseHandles.h"

#include <QString>

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

namespace quillet {
namespace {

using namespace std::chrono_literals;

// Stereo for the microphone too: a server's own down-mix of two channels adds 3 dB, its up-mix of one adds nothing.
constexpr pa_sample_spec kSpec{.format = PA_SAMPLE_FLOAT32NE, .rate = kSampleRateHz, .channels = 2};
constexpr std::size_t kFrameBytes = 2 * sizeof(float);
// PipeWire runs its whole graph at the largest power of two that the shortest wish allows: for 20 ms every program and
// device would be woken at 512 frames instead of the usual 1,024. Twice as long ones halve the wake-ups, but the first
// half second then places a device up to 5 ms wrong, which is made good at 250 ppm: a tone is out of tune for many
// seconds after each reopening.
constexpr std::uint32_t kFragmentFrames = 1024;

constexpr auto kSettling = 50ms;    ///< a device that comes or goes announces itself several times
constexpr auto kFirstRetry = 250ms; ///< doubled with each attempt up to
constexpr auto kLongestRetry = 4s;  ///< this, so that no device can keep a stream reopening
constexpr auto kLivedForAWhile = 5s;

constexpr auto kPatienceWithChosen = 3s; ///< a headset that changes its profile is gone for a moment only

constexpr auto kSilenceBeforeDoubt = 3s;
constexpr auto kNothingArrives = 1s; ///< not even silence
constexpr auto kDoubtInterval = 10s; ///< while the silence lasts

} // namespace

class RecordStream::Callbacks {
public:
    static RecordStream& of(void* data) { return *static_cast<RecordStream*>(data); }

    static void stateChanged(pa_stream* stream, void* data) {
        switch (pa_stream_get_state(stream)) {
        case PA_STREAM_READY:
            of(data).opened();
            break;
        case PA_STREAM_FAILED:
        case PA_STREAM_TERMINATED:
            of(data).failed(soundServerError(pa_context_errno(pa_stream_get_context(stream))));
            break;
        default:
            break;
        }
    }
    static void readable(pa_stream*, std::size_t, void* data) { of(data).read(); }
    static void moved(pa_stream* stream, void* data) {
        // Not asked for and not allowed, yet a session manager may do it; whatever is recorded now is the wrong device.
        if (of(data).m_source != pa_stream_get_device_name(stream)) of(data).failed(soundServerError(PA_ERR_NOENTITY));
    }
    static void interrupted(pa_stream*, void* data) {
        RecordStream& stream = of(data);
        if (!stream.m_line) return;
        stream.m_line->interrupted();
        stream.scheduleTick(std::chrono::steady_clock::now());
    }
};

RecordStream::RecordStream(std::shared_ptr<SoundServer> server, DeviceChoice choice, std::unique_ptr<DeliveryPool> pool,
                           TellStandIn tellStandIn)
    : m_server(std::move(server)),
      m_choice(std::move(choice)),
      m_pool(std::move(pool)),
      m_channels(m_choice.kind == DeviceChoice::Kind::Microphone ? 1 : 2),
      m_tellStandIn(std::move(tellStandIn)) {}

RecordStream::~RecordStream() {
    if (shut()) m_pool->close();
}

Result<void, RecordStream::StartFailure> RecordStream::start(Deadline deadline) {
    const SoundServer::Lock lock(*m_server);
    if (auto connected = m_server->connect(deadline); !connected)
        return Failure{StartFailure{StartFailure::Reason::Server, connected.error()}};

    m_refreshTimer = std::make_unique<MainloopTimer>(m_server->mainloop(), [this] { refresh(); });
    m_tickTimer = std::make_unique<MainloopTimer>(m_server->mainloop(), [this] { tick(); });
    m_server->add(*this);
    m_phase = Phase::Starting;
    refresh();
    const bool decided = m_server->waitUntil([this] { return m_phase == Phase::Running || m_startFailure; }, deadline);
    if (m_phase == Phase::Running) return {};
    const StartFailure failure =
        decided ? *m_startFailure : StartFailure{StartFailure::Reason::Server, soundServerError(PA_ERR_TIMEOUT)};
    return Failure{failure};
}

void RecordStream::stop() {
    if (!shut()) return;
    if (m_line) m_line->finish(std::chrono::steady_clock::now());
    m_pool->closeBehindDeliveries();
}

bool RecordStream::shut() {
    const SoundServer::Lock lock(*m_server);
    if (m_phase == Phase::Idle || m_phase == Phase::Stopped) return false;
    m_phase = Phase::Stopped;
    close();
    m_lookup.reset();
    m_opinion.reset();
    m_refreshTimer.reset();
    m_tickTimer.reset();
    m_server->remove(*this);
    return true;
}

void RecordStream::serverReady() { refreshIn(0s); }

void RecordStream::devicesChanged() { refreshIn(kSettling); }

void RecordStream::serverLost() {
    m_lookup.reset();
    failed(soundServerError(PA_ERR_CONNECTIONTERMINATED));
}

void RecordStream::refreshIn(HostTime::duration delay) {
    const HostTime now = std::chrono::steady_clock::now();
    if (m_refreshDue <= now + delay) return; // put off by every event, it might never come
    m_refreshDue = now + delay;
    m_refreshTimer->startIn(std::chrono::duration_cast<std::chrono::microseconds>(delay));
}

void RecordStream::refresh() {
    m_refreshDue = HostTime::max();
    if (!m_server->ready()) return; // serverReady() comes back to it
    lookUp(m_choice, m_choice.name.empty() ? &RecordStream::deviceMissing : &RecordStream::chosenMissing);
}

void RecordStream::lookUp(const DeviceChoice& choice, void (RecordStream::*ifMissing)()) {
    m_lookup.reset();
    m_lookup =
        std::make_unique<DeviceLookup>(m_server->context(), choice, [this, ifMissing, name = choice.name](auto found) {
            if (!found) return failed(found.error());
            if (!found.value()) return (this->*ifMissing)();
            record(found.value()->source, name == m_choice.name ? Role::Chosen : Role::StandIn);
        });
}

void RecordStream::record(const std::string& source, Role role) {
    if (m_stream != nullptr && source == m_source) return;

    const HostTime now = std::chrono::steady_clock::now();
    if (now < m_notBefore) return refreshIn(m_notBefore - now);
    open(source, role);
}

/// A meeting in which somebody pulls the headset out goes on with the default device; when the chosen one returns, that
/// is recorded again.
void RecordStream::chosenMissing() {
    if (m_phase == Phase::Starting) return deviceMissing();
    const HostTime now = std::chrono::steady_clock::now();
    if (!m_chosenMissingSince) m_chosenMissingSince = now;
    const HostTime patientUntil = *m_chosenMissingSince + kPatienceWithChosen;
    if (now < patientUntil) {
        close();
        return refreshIn(patientUntil - now);
    }
    lookUp({m_choice.kind, {}}, &RecordStream::deviceMissing);
}

void RecordStream::deviceMissing() {
    close();
    if (m_phase != Phase::Starting) return; // its return will be announced
    m_startFailure = StartFailure{StartFailure::Reason::NoDevice, soundServerError(PA_ERR_NOENTITY)};
    m_server->wakeWaiting();
}

void RecordStream::open(const std::string& source, Role role) {
    close();
    m_role = role;
    const HostTime now = std::chrono::steady_clock::now();
    m_attempts = now - m_openedAt > kLivedForAWhile ? 0 : m_attempts + 1;
    m_openedAt = now;
    m_notBefore = now + std::min<HostTime::duration>(kFirstRetry * (1 << std::min(m_attempts, 8)), kLongestRetry);
    m_source = source;

    // Ids of their own keep a session manager from restoring one stream's device or volume to the other.
    const bool microphone = m_choice.kind == DeviceChoice::Kind::Microphone;
    const PropertyList properties =
        makeProperties({{PA_PROP_APPLICATION_ID, microphone ? "quillet.microphone" : "quillet.system-audio"},
                        {"module-stream-restore.id", microphone ? "quillet-microphone" : "quillet-system-audio"}});
    m_stream = pa_stream_new_with_proplist(m_server->context(), microphone ? "Microphone" : "System audio", &kSpec,
                                           nullptr, properties.get());
    if (m_stream == nullptr) return failed(soundServerError(pa_context_errno(m_server->context())));
    pa_stream_set_state_callback(m_stream, Callbacks::stateChanged, this);
    pa_stream_set_read_callback(m_stream, Callbacks::readable, this);
    pa_stream_set_moved_callback(m_stream, Callbacks::moved, this);
    pa_stream_set_overflow_callback(m_stream, Callbacks::interrupted, this);
    pa_stream_set_suspended_callback(m_stream, Callbacks::interrupted, this);

    constexpr auto kServerChooses = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr buffer{.maxlength = kServerChooses,
                                .tlength = kServerChooses,
                                .prebuf = kServerChooses,
                                .minreq = kServerChooses,
                                .fragsize = kFragmentFrames * std::uint32_t{kFrameBytes}};
    // Without the first flag PulseAudio moves a stream whose device goes to another, be it the microphone; without the
    // second, some devices deliver two seconds at a time.
    const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_DONT_MOVE | PA_STREAM_ADJUST_LATENCY);
    if (pa_stream_connect_record(m_stream, source.c_str(), &buffer, flags) < 0)
        failed(soundServerError(pa_context_errno(m_server->context())));
}

void RecordStream::opened() {
    const char* device = pa_stream_get_device_name(m_stream);
    if (device == nullptr || m_source != device) return failed(soundServerError(PA_ERR_NOENTITY));

    const HostTime now = std::chrono::steady_clock::now();
    if (m_line) {
        m_line->interrupted();
    } else {
        m_line = std::make_unique<LiveTimeLine>(
            static_cast<int>(m_channels), makeDriftResampler(static_cast<int>(m_channels)),
            [this](HostFramePos position, std::span<const float> frames) { return m_pool->deliver(position, frames); },
            now);
    }
    if (m_role == Role::Chosen) {
        m_chosenMissingSince.reset();
    } else if (m_tellStandIn) {
        std::exchange(m_tellStandIn, nullptr)();
    }
    m_lastRead = now;
    m_doubtDue = now + kSilenceBeforeDoubt;
    scheduleTick(now);
    m_phase = Phase::Running;
    m_server->wakeWaiting();
}

void RecordStream::failed(const PlatformError& error) {
    close();
    if (m_phase == Phase::Starting) {
        m_startFailure = StartFailure{StartFailure::Reason::Server, error};
        m_server->wakeWaiting();
        return;
    }
    refreshIn(std::max<HostTime::duration>(kFirstRetry, m_notBefore - std::chrono::steady_clock::now()));
}

void RecordStream::close() {
    if (m_stream == nullptr) return;
    pa_stream_set_state_callback(m_stream, nullptr, nullptr);
    pa_stream_set_read_callback(m_stream, nullptr, nullptr);
    pa_stream_set_moved_callback(m_stream, nullptr, nullptr);
    pa_stream_set_overflow_callback(m_stream, nullptr, nullptr);
    pa_stream_set_suspended_callback(m_stream, nullptr, nullptr);
    pa_stream_disconnect(m_stream);
    pa_stream_unref(m_stream);
    m_stream = nullptr;
}

void RecordStream::read() {
    if (!m_line) return; // not known yet to be the right device; what waits is read then
    const HostTime now = std::chrono::steady_clock::now();
    const void* data = nullptr;
    std::size_t bytes = 0;
    while (pa_stream_readable_size(m_stream) > 0) {
        if (pa_stream_peek(m_stream, &data, &bytes) < 0 || bytes == 0) break;
        const std::size_t frames = bytes / kFrameBytes;
        if (data == nullptr) {
            m_line->appendHole(now, frames);
        } else {
            append(now, {static_cast<const float*>(data), frames * 2});
        }
        pa_stream_drop(m_stream);
    }
    m_lastRead = now;
    m_line->arrived(now);
    doubtSilence(now);
    scheduleTick(now);
}

/// Perhaps nobody speaks; perhaps the sound has moved to another device and the server has not said so.
void RecordStream::doubtSilence(HostTime now) {
    if (now < m_doubtDue) return;
    m_doubtDue = now + (now - m_lastRead > kNothingArrives ? kSilenceBeforeDoubt : kDoubtInterval);
    const DeviceChoice choice = m_role == Role::Chosen ? m_choice : DeviceChoice{m_choice.kind, {}};
    m_opinion = std::make_unique<SecondOpinion>(m_server->mainloop(), choice, [this](const auto& found) {
        if (!found || !found.value()) return;
        const bool agrees = m_stream != nullptr && found.value()->source == m_source;
        if (!m_server->ready()) return;
        if (!agrees) return m_server->reconnect();
        if (isCutOff()) failed(soundServerError(PA_ERR_NODATA));
    });
}

/// A server that is well delivers silence too, unless it has suspended the device. This one answers, and has lost its
/// connection between the device and the stream.
bool RecordStream::isCutOff() const {
    return pa_stream_is_suspended(m_stream) == 0 &&
           std::chrono::steady_clock::now() - m_lastRead >= kSilenceBeforeDoubt;
}

void RecordStream::append(HostTime now, std::span<const float> stereo) {
    if (std::any_of(stereo.begin(), stereo.end(), [](float sample) { return sample != 0; }))
        m_doubtDue = now + kSilenceBeforeDoubt;
    if (m_channels == 2) return m_line->append(now, stereo);
    while (!stereo.empty()) {
        const std::size_t frames = std::min(stereo.size() / 2, m_mono.size());
        // Half of each: a microphone on the right input alone is heard too.
        for (std::size_t i = 0; i < frames; ++i) m_mono[i] = 0.5F * (stereo[2 * i] + stereo[2 * i + 1]);
        m_line->append(now, std::span(m_mono).first(frames));
        stereo = stereo.subspan(frames * 2);
    }
}

/// An earlier tick than the one that is due is asked for; a later one asks for itself when it comes.
void RecordStream::scheduleTick(HostTime now) {
    const HostTime due = m_line->nextTick(now);
    if (m_tickDue <= due) return;
    m_tickDue = due;
    m_tickTimer->startIn(std::chrono::duration_cast<std::chrono::microseconds>(due - now));
}

void RecordStream::tick() {
    const HostTime due = std::exchange(m_tickDue, HostTime::max());
    const HostTime now = std::chrono::steady_clock::now();
    m_line->tick(due, now);
    doubtSilence(now);
    scheduleTick(now);
}

} // namespace quillet
