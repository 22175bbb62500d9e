#include "platform/linux/pulse/PulseHandles.h"
#include "platform/linux/pulse/PulseSources.h"
#include "platform/linux/pulse/SoundServer.h"

#include <utility>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr auto kLongestWait = 2500ms;

/// Three questions asked at once; complete when each has been answered.
struct Inquiry {
    SoundServer& server;
    QString defaultSink{};
    QString defaultSource{};
    std::vector<SoundDevice> outputs{};
    std::vector<SoundDevice> inputs{};
    int unanswered = 3;
    int error = 0;

    void answered(pa_context* context, bool failed) {
        if (failed) error = pa_context_errno(context);
        --unanswered;
        server.wakeWaiting();
    }

    static void serverInfo(pa_context* context, const pa_server_info* info, void* data) {
        auto& inquiry = *static_cast<Inquiry*>(data);
        if (info != nullptr) {
            inquiry.defaultSink = QString::fromUtf8(info->default_sink_name);
            inquiry.defaultSource = QString::fromUtf8(info->default_source_name);
        }
        inquiry.answered(context, info == nullptr);
    }

    static void sinkInfo(pa_context* context, const pa_sink_info* info, int end, void* data) {
        auto& inquiry = *static_cast<Inquiry*>(data);
        if (end != 0) return inquiry.answered(context, end < 0);
        inquiry.outputs.push_back({.kind = SoundDevice::Kind::Output,
                                   .name = QString::fromUtf8(info->name),
                                   .description = QString::fromUtf8(info->description),
                                   .isMuted = info->mute != 0});
    }

    static void sourceInfo(pa_context* context, const pa_source_info* info, int end, void* data) {
        auto& inquiry = *static_cast<Inquiry*>(data);
        if (end != 0) return inquiry.answered(context, end < 0);
        if (info->monitor_of_sink != PA_INVALID_INDEX) return; // listed as its output
        inquiry.inputs.push_back({.kind = SoundDevice::Kind::Input,
                                  .name = QString::fromUtf8(info->name),
                                  .description = QString::fromUtf8(info->description),
                                  .isMuted = info->mute != 0});
    }
};

class PulseSoundDevices final : public SoundDevices {
public:
    Result<std::vector<SoundDevice>> list() override {
        const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
        const SoundServer::Lock lock(*m_server);
        if (auto connected = m_server->connect(deadline); !connected) return Failure{connected.error()};

        Inquiry inquiry{*m_server};
        pa_context* const context = m_server->context();
        const Operation questions[] = {
            Operation(pa_context_get_server_info(context, Inquiry::serverInfo, &inquiry)),
            Operation(pa_context_get_sink_info_list(context, Inquiry::sinkInfo, &inquiry)),
            Operation(pa_context_get_source_info_list(context, Inquiry::sourceInfo, &inquiry))};
        for (const Operation& question : questions) {
            if (!question) inquiry.error = pa_context_errno(context);
        }
        const auto answers =
            m_server->waitForAnswer([&] { return inquiry.unanswered == 0 || inquiry.error != 0; }, deadline);
        if (!answers) return Failure{answers.error()};
        if (inquiry.error != 0) return Failure{soundServerError(inquiry.error)};

        for (SoundDevice& device : inquiry.outputs) device.isDefault = device.name == inquiry.defaultSink;
        for (SoundDevice& device : inquiry.inputs) device.isDefault = device.name == inquiry.defaultSource;
        std::vector<SoundDevice> devices = std::move(inquiry.outputs);
        devices.insert(devices.end(), inquiry.inputs.begin(), inquiry.inputs.end());
        return devices;
    }

private:
    const std::shared_ptr<SoundServer> m_server = std::make_shared<SoundServer>();
};

} // namespace

std::shared_ptr<SoundDevices> makePulseSoundDevices() { return std::make_shared<PulseSoundDevices>(); }

} // namespace quillet
