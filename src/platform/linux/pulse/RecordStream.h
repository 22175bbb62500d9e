#pragma once

#include "capture/DeliveryPool.h"
#include "capture/LiveTimeLine.h"
#include "platform/linux/pulse/DeviceLookup.h"
#include "platform/linux/pulse/SecondOpinion.h"
#include "platform/linux/pulse/SoundServer.h"

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>

struct pa_stream;

namespace quillet {

/// Records one device after another without an end: the chosen one, or whichever is the default at the time. When the
/// device, the default or the server goes, the time line goes on in silence, and the stream looks for what to record
/// next, at a bounded pace. Made, started and stopped on the capture queue; in between it lives on the server's thread
/// and allocates nothing per delivery. After start() has succeeded, nothing that happens is an error any more.
class RecordStream final : private SoundServer::Listener {
public:
    /// Why a stream could not be started.
    struct StartFailure {
        enum class Reason { NoDevice, Server };
        Reason reason = Reason::Server;
        PlatformError error;
    };

    /// Told on the server's thread, at most once: the chosen device has gone, and the default one has taken its place.
    using TellStandIn = std::function<void()>;

    RecordStream(std::shared_ptr<SoundServer> server, DeviceChoice choice, std::unique_ptr<DeliveryPool> pool,
                 TellStandIn tellStandIn = {});
    /// Nothing is delivered once this has returned, unless stop() came before.
    ~RecordStream() override;

    /// Connects, finds the device, opens it and sees that it is the right one.
    Result<void, StartFailure> start(Deadline deadline);
    /// Nothing is captured any more; what has been is delivered by way of the queue. Idempotent.
    void stop();

private:
    class Callbacks;
    enum class Phase { Idle, Starting, Running, Stopped };
    enum class Role { Chosen, StandIn };

    void serverReady() override;
    void serverLost() override;
    void devicesChanged() override;

    void refresh();
    void refreshIn(HostTime::duration delay);
    /// False when it was not running.
    bool shut();
    void lookUp(const DeviceChoice& choice, void (RecordStream::*ifMissing)());
    void chosenMissing();
    void record(const std::string& source, Role role);
    void open(const std::string& source, Role role);
    void opened();
    void failed(const PlatformError& error);
    void close();
    void deviceMissing();
    void read();
    void doubtSilence(HostTime now);
    [[nodiscard]] bool isCutOff() const;
    void append(HostTime now, std::span<const float> stereo);
    void scheduleTick(HostTime now);
    void tick();

    const std::shared_ptr<SoundServer> m_server;
    const DeviceChoice m_choice;
    const std::unique_ptr<DeliveryPool> m_pool;
    const std::size_t m_channels;
    TellStandIn m_tellStandIn; ///< empty once told

    Phase m_phase = Phase::Idle;
    std::optional<StartFailure> m_startFailure;
    std::unique_ptr<LiveTimeLine> m_line; ///< from the first opened device on
    std::unique_ptr<DeviceLookup> m_lookup;
    std::unique_ptr<SecondOpinion> m_opinion;
    std::unique_ptr<MainloopTimer> m_refreshTimer;
    std::unique_ptr<MainloopTimer> m_tickTimer;
    HostTime m_refreshDue = HostTime::max();
    HostTime m_tickDue = HostTime::max();
    std::optional<HostTime> m_chosenMissingSince; ///< until it records again

    pa_stream* m_stream = nullptr;
    std::string m_source; ///< what m_stream records or is about to
    Role m_role = Role::Chosen;
    HostTime m_openedAt;
    HostTime m_notBefore; ///< the next attempt to open anything
    HostTime m_lastRead;  ///< of anything, since the stream was opened
    HostTime m_doubtDue;  ///< unless there is sound before
    int m_attempts = 0;   ///< since a stream last lived for a while
    std::array<float, 2048> m_mono{};
};

} // namespace quillet
