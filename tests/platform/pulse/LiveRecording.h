#pragma once

#include "platform/linux/pulse/PulseSources.h"
#include "support/PrivateSoundServer.h"
#include "support/SerialQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace quillet {

/// Collects a source's buffers and sees that each begins where the one before it ended.
class Receiver {
public:
    enum class FirstStamp { AtFrame, InsideFrame };
    Receiver(int channels, FirstStamp firstStamp)
        : m_channels(static_cast<std::size_t>(channels)), m_firstStamp(firstStamp) {}

    [[nodiscard]] SampleHandler handler();

    /// The host frame where the first buffer began.
    [[nodiscard]] std::int64_t firstFrame() const;
    [[nodiscard]] std::int64_t endFrame() const;
    /// The first channel, from the first frame on.
    [[nodiscard]] std::vector<float> samples() const;
    /// The amplitude of a frequency in the last 0.2 s.
    [[nodiscard]] double amplitudeNow(double frequencyHz) const;
    /// Its largest in any twentieth of a second so far.
    [[nodiscard]] double amplitudeEver(double frequencyHz) const;
    /// What was wrong with a buffer, if anything.
    [[nodiscard]] std::string fault() const;
    /// How far the time line ever fell behind the present, and got ahead of it.
    [[nodiscard]] double furthestBehindMs() const;
    [[nodiscard]] double furthestAheadMs() const;

    /// Looks at each new buffer; false when the condition did not come true within the limit.
    bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

private:
    void take(const SampleBuffer& buffer);
    [[nodiscard]] std::int64_t end() const { return m_firstFrame + std::ssize(m_samples); }
    [[nodiscard]] std::string faultOf(const SampleBuffer& buffer) const;

    const std::size_t m_channels;
    const FirstStamp m_firstStamp;
    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<float> m_samples;
    std::int64_t m_firstFrame = -1;
    std::string m_fault;
    std::int64_t m_behindFrames = 0;
    std::int64_t m_aheadFrames = 0;
};

/// Both sources of a program as the engine uses them, on a capture queue.
class LiveRecording {
public:
    struct Devices {
        QString microphone;
        QString systemAudio;
    };

    LiveRecording() : LiveRecording(Devices{}) {}
    explicit LiveRecording(const Devices& devices);
    ~LiveRecording() { stop(); }

    /// Starts both, and fails the test when one does not start.
    void start();
    /// Each returns what the failure was, or nothing.
    std::optional<MicrophoneFailure> startMicrophone();
    std::optional<PlatformError> startSystemAudio();
    Result<std::optional<ShareableContent>> content();
    AuthorizationStatus authorization();
    void stop();

    /// Fails the test unless both time lines have been unbroken, never too far from the present, and return to it.
    void expectUnbroken();

    Receiver microphone{1, Receiver::FirstStamp::InsideFrame};
    Receiver systemAudio{2, Receiver::FirstStamp::AtFrame};
    std::atomic<int> standIns = 0; ///< how often a default device was said to take a chosen one's place

private:
    const std::shared_ptr<MicrophoneSource> m_microphoneSource;
    const std::shared_ptr<SystemAudioSource> m_systemAudioSource;
    std::unique_ptr<MicrophoneSession> m_session;
    std::shared_ptr<SystemAudioStream> m_stream;
    SerialQueue m_queue{"test.audio-capture"};
};

/// Runs each test once per kind of server, or skips it where there are none.
class LiveServerTest : public testing::TestWithParam<PrivateSoundServer::Kind> {
protected:
    void SetUp() override {
        if (const std::string reason = PrivateSoundServer::whyUnavailable(); !reason.empty()) GTEST_SKIP() << reason;
        server = std::make_unique<PrivateSoundServer>(GetParam());
        server->start();
    }

    std::unique_ptr<PrivateSoundServer> server;
};

#define QUILLET_FOR_BOTH_SERVERS(Suite)                                                                                \
    INSTANTIATE_TEST_SUITE_P(                                                                                          \
        On, Suite, testing::Values(PrivateSoundServer::Kind::PulseAudio, PrivateSoundServer::Kind::PipeWire),          \
        [](const auto& row) { return PrivateSoundServer::nameOf(row.param); })

} // namespace quillet
