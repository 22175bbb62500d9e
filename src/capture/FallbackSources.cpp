#include "capture/FallbackSources.h"

#include <atomic>
#include <utility>

namespace quillet {
namespace {

class FallbackMicrophone final : public MicrophoneSource {
public:
    FallbackMicrophone(std::shared_ptr<MicrophoneSource> chosen, std::shared_ptr<MicrophoneSource> standard,
                       TellFallback tell)
        : m_chosen(std::move(chosen)), m_standard(std::move(standard)), m_tell(std::move(tell)) {}

    AuthorizationStatus authorizationStatus() override { return m_chosen->authorizationStatus(); }

    Result<std::unique_ptr<MicrophoneSession>, MicrophoneFailure> start(SerialQueue& queue,
                                                                        SampleHandler handler) override {
        auto session = m_chosen->start(queue, handler);
        if (session || !session.error().isNamedDeviceMissing) return session;
        session = m_standard->start(queue, std::move(handler));
        if (session) m_tell(SoundDevice::Kind::Input);
        return session;
    }

private:
    const std::shared_ptr<MicrophoneSource> m_chosen;
    const std::shared_ptr<MicrophoneSource> m_standard;
    const TellFallback m_tell;
};

class FallbackSystemAudio final : public SystemAudioSource, public std::enable_shared_from_this<FallbackSystemAudio> {
public:
    using Content = Result<std::optional<ShareableContent>>;

    FallbackSystemAudio(std::shared_ptr<SystemAudioSource> chosen, std::shared_ptr<SystemAudioSource> standard,
                        TellFallback tell)
        : m_chosen(std::move(chosen)), m_standard(std::move(standard)), m_tell(std::move(tell)) {}

    void getShareableContent(ContentCompletion completion) override {
        m_fellBack = false;
        m_chosen->getShareableContent([self = shared_from_this(), completion](const Content& content) {
            if (!isNothing(content)) return completion(content);
            self->m_standard->getShareableContent([self, completion](const Content& standard) {
                if (standard && !isNothing(standard)) self->fallBack();
                completion(standard);
            });
        });
    }

    std::shared_ptr<SystemAudioStream> makeStream(const ContentFilter& filter,
                                                  const StreamConfiguration& configuration) override {
        return (m_fellBack ? m_standard : m_chosen)->makeStream(filter, configuration);
    }

private:
    static bool isNothing(const Content& content) { return content && *content && (*content)->displays.empty(); }

    void fallBack() {
        m_fellBack = true;
        m_tell(SoundDevice::Kind::Output);
    }

    const std::shared_ptr<SystemAudioSource> m_chosen;
    const std::shared_ptr<SystemAudioSource> m_standard;
    const TellFallback m_tell;
    std::atomic<bool> m_fellBack = false; ///< answers come on any thread
};

} // namespace

LiveSources withFallback(LiveSources chosen, LiveSources standard, const TellFallback& tell) {
    return {.systemAudio = std::make_shared<FallbackSystemAudio>(std::move(chosen.systemAudio),
                                                                 std::move(standard.systemAudio), tell),
            .microphone = std::make_shared<FallbackMicrophone>(std::move(chosen.microphone),
                                                               std::move(standard.microphone), tell)};
}

} // namespace quillet
