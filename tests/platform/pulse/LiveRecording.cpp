#include "platform/pulse/LiveRecording.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr std::int64_t kRate = 48000;
constexpr std::int64_t kAmplitudeWindow = kRate / 5;
constexpr std::size_t kShortWindow = kRate / 20;

std::int64_t nowFrame() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<FrameCount>(now).count();
}

double amplitudeOf(double frequencyHz, std::span<const float> samples) {
    double sine = 0;
    double cosine = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequencyHz * static_cast<double>(i) / kRate;
        sine += samples[i] * std::sin(phase);
        cosine += samples[i] * std::cos(phase);
    }
    return std::hypot(sine, cosine) * 2 / static_cast<double>(samples.size());
}

} // namespace

SampleHandler Receiver::handler() {
    return [this](const SampleBuffer& buffer) { take(buffer); };
}

void Receiver::take(const SampleBuffer& buffer) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_fault.empty()) m_fault = faultOf(buffer);
        const std::int64_t perFrame = buffer.presentationTime.timescale / kSampleRateHz;
        const std::int64_t now = nowFrame();
        if (m_firstFrame < 0) m_firstFrame = buffer.presentationTime.value / perFrame;
        m_behindFrames = std::max(m_behindFrames, now - end());
        const auto* samples = reinterpret_cast<const float*>(buffer.data.data());
        for (std::int64_t i = 0; i < buffer.sampleCount; ++i)
            m_samples.push_back(samples[static_cast<std::size_t>(i) * m_channels]);
        m_aheadFrames = std::max(m_aheadFrames, end() - now);
    }
    m_arrived.notify_all();
}

std::string Receiver::faultOf(const SampleBuffer& buffer) const {
    if (buffer.description == nullptr || buffer.description->channelsPerFrame != m_channels) return "wrong channels";
    if (buffer.data.size() != static_cast<std::size_t>(buffer.sampleCount) * m_channels * sizeof(float))
        return "wrong size";
    const bool first = m_firstFrame < 0;
    const bool atFrame = first && m_firstStamp == FirstStamp::AtFrame;
    const MediaTime time = buffer.presentationTime;
    if (time.timescale != (atFrame ? kSampleRateHz : 2 * kSampleRateHz)) return "wrong stamp";
    if (first) return {};
    const std::int64_t expected = 2 * end() + 1;
    if (time.value == expected) return {};
    return "half frame " + std::to_string(time.value) + " instead of " + std::to_string(expected);
}

std::int64_t Receiver::firstFrame() const {
    const std::lock_guard lock(m_mutex);
    return m_firstFrame;
}

std::int64_t Receiver::endFrame() const {
    const std::lock_guard lock(m_mutex);
    return end();
}

std::vector<float> Receiver::samples() const {
    const std::lock_guard lock(m_mutex);
    return m_samples;
}

std::string Receiver::fault() const {
    const std::lock_guard lock(m_mutex);
    return m_fault;
}

double Receiver::furthestBehindMs() const {
    const std::lock_guard lock(m_mutex);
    return static_cast<double>(m_behindFrames) * 1000 / kRate;
}

double Receiver::furthestAheadMs() const {
    const std::lock_guard lock(m_mutex);
    return static_cast<double>(m_aheadFrames) * 1000 / kRate;
}

double Receiver::amplitudeNow(double frequencyHz) const {
    const std::lock_guard lock(m_mutex);
    if (std::ssize(m_samples) < kAmplitudeWindow) return 0;
    return amplitudeOf(frequencyHz, std::span(m_samples).last(kAmplitudeWindow));
}

double Receiver::amplitudeEver(double frequencyHz) const {
    const std::vector<float> all = samples();
    double largest = 0;
    for (std::size_t begin = 0; begin + kShortWindow <= all.size(); begin += kShortWindow)
        largest = std::max(largest, amplitudeOf(frequencyHz, std::span(all).subspan(begin, kShortWindow)));
    return largest;
}

bool Receiver::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        std::unique_lock lock(m_mutex);
        if (m_arrived.wait_until(lock, deadline) == std::cv_status::timeout) {
            lock.unlock();
            return condition();
        }
    }
    return true;
}

LiveRecording::LiveRecording(const Devices& devices)
    : m_microphoneSource(
          makePulseMicrophoneSource([name = devices.microphone] { return name; }, [this] { ++standIns; })),
      m_systemAudioSource(
          makePulseSystemAudioSource([name = devices.systemAudio] { return name; }, [this] { ++standIns; })) {}

std::optional<MicrophoneFailure> LiveRecording::startMicrophone() {
    std::optional<MicrophoneFailure> failure;
    m_queue.sync([&] {
        auto session = m_microphoneSource->start(m_queue, microphone.handler());
        if (session) {
            m_session = std::move(session.value());
        } else {
            failure = session.error();
        }
    });
    return failure;
}

std::optional<PlatformError> LiveRecording::startSystemAudio() {
    std::optional<PlatformError> failure;
    m_queue.sync([&] {
        m_stream = m_systemAudioSource->makeStream({}, {});
        ASSERT_TRUE(m_stream->addStreamOutput(m_queue, systemAudio.handler()));
        m_stream->startCapture([&](const auto& error) { failure = error; });
    });
    return failure;
}

void LiveRecording::start() {
    const auto microphoneFailure = startMicrophone();
    ASSERT_FALSE(microphoneFailure) << microphoneFailure->description.toStdString();
    const auto systemFailure = startSystemAudio();
    ASSERT_FALSE(systemFailure) << systemFailure->description.toStdString();
}

Result<std::optional<ShareableContent>> LiveRecording::content() {
    Result<std::optional<ShareableContent>> content = std::optional<ShareableContent>();
    m_queue.sync([&] { m_systemAudioSource->getShareableContent([&](auto answer) { content = std::move(answer); }); });
    return content;
}

AuthorizationStatus LiveRecording::authorization() {
    AuthorizationStatus status = AuthorizationStatus::NotDetermined;
    m_queue.sync([&] { status = m_microphoneSource->authorizationStatus(); });
    return status;
}

void LiveRecording::stop() {
    bool stopped = m_stream == nullptr;
    m_queue.sync([&] {
        if (m_session) m_session->stop();
        m_session.reset();
        if (m_stream) m_stream->stopCapture([&](const auto&) { stopped = true; });
    });
    m_queue.sync([&] { m_stream.reset(); });
    EXPECT_TRUE(stopped) << "stopping the stream was not reported";
}

void LiveRecording::expectUnbroken() {
    for (Receiver* receiver : {&microphone, &systemAudio}) {
        const char* name = receiver == &microphone ? "microphone" : "system audio";
        EXPECT_EQ(receiver->fault(), "") << name;
        EXPECT_LT(receiver->furthestAheadMs(), 60) << name;
        EXPECT_LT(receiver->furthestBehindMs(), 1500) << name;
        // Whoever is woken on a busy machine comes some tens of milliseconds late, three times over.
        EXPECT_TRUE(receiver->waitUntil([&] { return nowFrame() - receiver->endFrame() < kRate / 10; }, 10s))
            << name << " does not return to the present";
    }
}

} // namespace quillet
