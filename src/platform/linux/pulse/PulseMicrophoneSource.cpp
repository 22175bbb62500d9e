#include "platform/linux/pulse/PulseSources.h"
#include "platform/linux/pulse/RecordStream.h"
#include "platform/linux/pulse/SoundServer.h"

#include <pulse/def.h>

#include <utility>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr auto kLongestStart = 2500ms;
constexpr auto kLongestAuthorization = 1s;

class PulseMicrophoneSession final : public MicrophoneSession {
public:
    explicit PulseMicrophoneSession(std::unique_ptr<RecordStream> stream) : m_stream(std::move(stream)) {}
    void stop() override { m_stream->stop(); }

private:
    const std::unique_ptr<RecordStream> m_stream;
};

class PulseMicrophoneSource final : public MicrophoneSource {
public:
    PulseMicrophoneSource(DeviceName deviceName, TellPulseStandIn tellStandIn)
        : m_deviceName(std::move(deviceName)), m_tellStandIn(std::move(tellStandIn)) {}

    AuthorizationStatus authorizationStatus() override {
        const SoundServer::Lock lock(*m_server);
        const auto connected = m_server->connect(std::chrono::steady_clock::now() + kLongestAuthorization);
        const bool denied =
            !connected && (connected.error().code == PA_ERR_ACCESS || connected.error().code == PA_ERR_AUTHKEY);
        return denied ? AuthorizationStatus::Denied : AuthorizationStatus::Authorized;
    }

    Result<std::unique_ptr<MicrophoneSession>, MicrophoneFailure> start(SerialQueue& queue,
                                                                        SampleHandler handler) override {
        auto pool = std::make_unique<DeliveryPool>(queue, std::move(handler), 1, DeliveryPool::FirstStamp::InsideFrame);
        const QString name = m_deviceName();
        auto stream = std::make_unique<RecordStream>(
            m_server, DeviceChoice{DeviceChoice::Kind::Microphone, name.toStdString()}, std::move(pool), m_tellStandIn);
        const auto started = stream->start(std::chrono::steady_clock::now() + kLongestStart);
        if (!started) return Failure{failureOf(started.error(), name)};
        return std::unique_ptr<MicrophoneSession>(std::make_unique<PulseMicrophoneSession>(std::move(stream)));
    }

private:
    [[nodiscard]] static MicrophoneFailure failureOf(const RecordStream::StartFailure& failure, const QString& name) {
        if (failure.reason == RecordStream::StartFailure::Reason::Server)
            return {MicrophoneFailure::Step::DeviceInput, failure.error.description};
        if (name.isEmpty()) return {MicrophoneFailure::Step::NoDevice, {}};
        return {.step = MicrophoneFailure::Step::DeviceInput,
                .description = QStringLiteral("there is no microphone named \"%1\"").arg(name),
                .isNamedDeviceMissing = true};
    }

    const std::shared_ptr<SoundServer> m_server = std::make_shared<SoundServer>();
    const DeviceName m_deviceName;
    const TellPulseStandIn m_tellStandIn;
};

} // namespace

std::shared_ptr<MicrophoneSource> makePulseMicrophoneSource(DeviceName deviceName, TellPulseStandIn tellStandIn) {
    return std::make_shared<PulseMicrophoneSource>(std::move(deviceName), std::move(tellStandIn));
}

} // namespace quillet
