#pragma once

#include "platform/linux/pulse/PulseSources.h"
#include "support/PrivateSoundServer.h"
#include "support/SerialQueue.h"
#include "support/Sound.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

namespace quillet {

/// Collects a source's buffers and sees that each begins where the one before it ended.
class Receiver {
public:
    Receiver(std::size_t channels, bool beginsAtFrame) : m_channels(channels), m_beginsAtFrame(beginsAtFrame) {}

    static std::int64_t nowFrame() {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration_cast<FrameCount>(now).count();
    }
    void take(const SampleBuffer& buffer) {
        const std::lock_guard lock(m_mutex);
        const auto [value, timescale] = buffer.presentationTime;
        const bool isFirst = firstFrame < 0;
        const std::int32_t perFrame = isFirst && m_beginsAtFrame ? 1 : 2;
        if (isFirst) firstFrame = endFrame = value / perFrame;
        const bool isRight = timescale == perFrame * kSampleRateHz && value == endFrame * perFrame + perFrame - 1 &&
                             buffer.description->channelsPerFrame == m_channels &&
                             buffer.data.size() == buffer.sampleCount * m_channels * sizeof(float);
        isUnbroken = isUnbroken && isRight;
        if (!isRight) ADD_FAILURE() << value << '/' << timescale << " instead of frame " << endFrame;

        const std::int64_t now = nowFrame();
        furthestBehind = std::max(furthestBehind.load(), now - endFrame);
        const auto* data = reinterpret_cast<const float*>(buffer.data.data());
        for (std::int64_t i = 0; i < buffer.sampleCount; ++i, data += m_channels) {
            samples.push_back(*data);
            silentFrames = *data == 0 ? silentFrames + 1 : 0;
        }
        endFrame += buffer.sampleCount;
        furthestAhead = std::max(furthestAhead.load(), endFrame - now);
    }
    /// The amplitude of a frequency in the last 0.2 s.
    [[nodiscard]] double amplitudeNow(double frequencyHz) const {
        constexpr std::size_t kWindow = kSampleRateHz / 5;
        std::vector<float> latest;
        {
            const std::lock_guard lock(m_mutex); // briefly: the capture queue must not wait for a test
            if (samples.size() < kWindow) return 0;
            latest.assign(samples.end() - kWindow, samples.end());
        }
        return test::amplitude(latest, 0, frequencyHz, 1);
    }

    std::atomic<std::int64_t> firstFrame = -1; ///< on the host clock
    std::atomic<std::int64_t> endFrame = 0;
    std::atomic<std::int64_t> silentFrames = 0; ///< the last ones
    std::atomic<std::int64_t> furthestBehind = 0;
    std::atomic<std::int64_t> furthestAhead = 0;
    std::atomic<bool> isUnbroken = true;
    std::vector<float> samples; ///< the first channel; to be read after the stop

private:
    const std::size_t m_channels;
    const bool m_beginsAtFrame;
    mutable std::mutex m_mutex;
};

/// Both sources of a program as the engine uses them, on a capture queue.
class LiveRecording {
public:
    struct Devices {
        QString microphone;
        QString systemAudio;
    };
    LiveRecording() : LiveRecording(Devices{}) {}
    explicit LiveRecording(const Devices& devices)
        : m_microphoneSource(
              makePulseMicrophoneSource([name = devices.microphone] { return name; }, [this] { ++standIns; })),
          m_systemAudioSource(
              makePulseSystemAudioSource([name = devices.systemAudio] { return name; }, [this] { ++standIns; })) {}
    ~LiveRecording() { stop(); }

    /// Starts both, and fails the test when one does not start.
    void start() {
        const auto microphoneFailure = startMicrophone();
        ASSERT_FALSE(microphoneFailure) << microphoneFailure->description.toStdString();
        std::optional<PlatformError> systemFailure;
        m_queue.sync([&] {
            m_stream = m_systemAudioSource->makeStream({}, {});
            ASSERT_TRUE(
                m_stream->addStreamOutput(m_queue, [this](const SampleBuffer& buffer) { systemAudio.take(buffer); }));
            m_stream->startCapture([&](const auto& error) { systemFailure = error; });
        });
        ASSERT_FALSE(systemFailure) << systemFailure->description.toStdString();
    }
    /// Returns what the failure was, or nothing.
    std::optional<MicrophoneFailure> startMicrophone() {
        std::optional<MicrophoneFailure> failure;
        m_queue.sync([&] {
            auto session =
                m_microphoneSource->start(m_queue, [this](const SampleBuffer& buffer) { microphone.take(buffer); });
            if (session)
                m_session = std::move(session.value());
            else
                failure = session.error();
        });
        return failure;
    }
    Result<std::optional<ShareableContent>> content() {
        Result<std::optional<ShareableContent>> content = std::optional<ShareableContent>();
        m_queue.sync(
            [&] { m_systemAudioSource->getShareableContent([&](auto answer) { content = std::move(answer); }); });
        return content;
    }
    AuthorizationStatus authorization() {
        AuthorizationStatus status = AuthorizationStatus::NotDetermined;
        m_queue.sync([&] { status = m_microphoneSource->authorizationStatus(); });
        return status;
    }
    void stop() {
        bool stopped = m_stream == nullptr;
        m_queue.sync([&] {
            if (m_session) m_session->stop();
            m_session.reset();
            if (m_stream) m_stream->stopCapture([&](const auto&) { stopped = true; });
        });
        m_queue.sync([&] { m_stream.reset(); });
        EXPECT_TRUE(stopped) << "stopping the stream was not reported";
    }

    /// Fails the test unless both time lines have been unbroken, never too far from the present, and return to it.
    void expectUnbroken() {
        for (Receiver* receiver : {&microphone, &systemAudio}) {
            SCOPED_TRACE(receiver == &microphone ? "microphone" : "system audio");
            EXPECT_TRUE(receiver->isUnbroken);
            EXPECT_LT(receiver->furthestAhead, 0.06 * kSampleRateHz);
            EXPECT_LT(receiver->furthestBehind, 1.5 * kSampleRateHz);
            // Whoever is woken on a busy machine comes some tens of milliseconds late, three times over.
            const auto isPresent = [&] { return Receiver::nowFrame() - receiver->endFrame < kSampleRateHz / 10; };
            EXPECT_TRUE(test::waitFor(isPresent, 10'000)) << "does not return to the present";
        }
    }

    Receiver microphone{1, false};
    Receiver systemAudio{2, true};
    std::atomic<int> standIns = 0; ///< how often a default device was said to take a chosen one's place

private:
    const std::shared_ptr<MicrophoneSource> m_microphoneSource;
    const std::shared_ptr<SystemAudioSource> m_systemAudioSource;
    std::unique_ptr<MicrophoneSession> m_session;
    std::shared_ptr<SystemAudioStream> m_stream;
    SerialQueue m_queue{"test.audio-capture"};
};

} // namespace quillet
