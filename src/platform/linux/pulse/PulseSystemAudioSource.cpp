#include "platform/linux/pulse/DeviceLookup.h"
#include "platform/linux/pulse/PulseSources.h"
#include "platform/linux/pulse/RecordStream.h"
#include "platform/linux/pulse/SoundServer.h"
#include "support/Require.h"

#include <pulse/def.h>

#include <utility>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr auto kLongestWait = 2500ms;

PlatformError asError(const RecordStream::StartFailure& failure) {
    if (failure.reason == RecordStream::StartFailure::Reason::Server) return failure.error;
    return {failure.error.code, QStringLiteral("there is no output to record")};
}

class PulseSystemAudioStream final : public SystemAudioStream {
public:
    PulseSystemAudioStream(std::shared_ptr<SoundServer> server, DeviceChoice choice, TellPulseStandIn tellStandIn)
        : m_server(std::move(server)), m_choice(std::move(choice)), m_tellStandIn(std::move(tellStandIn)) {}

    Result<void> addStreamOutput(SerialQueue& queue, SampleHandler handler) override {
        require(m_queue == nullptr, "a stream has one output");
        m_queue = &queue;
        m_stream = std::make_unique<RecordStream>(
            m_server, m_choice,
            std::make_unique<DeliveryPool>(queue, std::move(handler), 2, DeliveryPool::FirstStamp::AtFrame),
            m_tellStandIn);
        return {};
    }

    void startCapture(Completion completion) override {
        require(m_stream != nullptr, "a stream without output is started");
        const auto started = m_stream->start(std::chrono::steady_clock::now() + kLongestWait);
        completion(started ? std::nullopt : std::optional(asError(started.error())));
    }

    void stopCapture(Completion completion) override {
        require(m_queue != nullptr, "a stream without output is stopped");
        m_stream->stop();
        m_queue->async([completion = std::move(completion)] { completion(std::nullopt); });
    }

private:
    const std::shared_ptr<SoundServer> m_server;
    const DeviceChoice m_choice;
    const TellPulseStandIn m_tellStandIn;
    SerialQueue* m_queue = nullptr;
    std::unique_ptr<RecordStream> m_stream;
};

class PulseSystemAudioSource final : public SystemAudioSource {
public:
    PulseSystemAudioSource(DeviceName deviceName, TellPulseStandIn tellStandIn)
        : m_deviceName(std::move(deviceName)), m_tellStandIn(std::move(tellStandIn)) {}

    void getShareableContent(ContentCompletion completion) override { completion(content()); }

    /// The choice goes by name and not by what was found, so that a stream which follows the default is not bound to
    /// today's.
    std::shared_ptr<SystemAudioStream> makeStream(const ContentFilter&, const StreamConfiguration&) override {
        return std::make_shared<PulseSystemAudioStream>(m_server, choice(), m_tellStandIn);
    }

private:
    [[nodiscard]] DeviceChoice choice() const {
        return {DeviceChoice::Kind::SystemAudio, m_deviceName().toStdString()};
    }

    Result<std::optional<ShareableContent>> content() {
        const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
        const SoundServer::Lock lock(*m_server);
        if (auto connected = m_server->connect(deadline); !connected) return Failure{connected.error()};

        std::optional<Result<std::optional<FoundDevice>>> found;
        const DeviceLookup lookup(m_server->context(), choice(), [this, &found](auto answer) {
            found = std::move(answer);
            m_server->wakeWaiting();
        });
        const auto answer = m_server->waitForAnswer([&found] { return found.has_value(); }, deadline);
        if (!answer) return Failure{answer.error()};
        if (!*found) return Failure{found->error()};

        ShareableContent content;
        if (found->value()) content.displays.push_back(QString::fromStdString(found->value()->name));
        return std::optional(std::move(content));
    }

    const std::shared_ptr<SoundServer> m_server = std::make_shared<SoundServer>();
    const DeviceName m_deviceName;
    const TellPulseStandIn m_tellStandIn;
};

} // namespace

std::shared_ptr<SystemAudioSource> makePulseSystemAudioSource(DeviceName deviceName, TellPulseStandIn tellStandIn) {
    return std::make_shared<PulseSystemAudioSource>(std::move(deviceName), std::move(tellStandIn));
}

} // namespace quillet
