#include "capture/FallbackSources.h"
#include "support/FakeHardware.h"
#include "support/PrivateSoundServer.h"
#include "support/WaitFor.h"

#include <algorithm>

namespace quillet::test {
namespace {

/// Devices that were chosen and are not there: the default ones are heard instead.
TEST(LiveFallbackTest, aRecordingWithoutTheChosenDevicesHearsTheDefaultOnes) {
    if (const std::string why = PrivateSoundServer::whyUnavailable(); !why.empty()) GTEST_SKIP() << why;
    PrivateSoundServer server(PrivateSoundServer::Kind::PulseAudio);
    server.start();
    server.play(QStringLiteral("speakers"), tone(440, 30));
    const auto named = [] { return QStringLiteral("headset-at-home"); };
    const auto followed = [] { return QString(); };
    std::vector<SoundDevice::Kind> told; // on the capture queue
    const auto tell = [&told](SoundDevice::Kind kind) { told.push_back(kind); };
    const LiveSources sources =
        withFallback(makeLiveSources(named, named, tell), makeLiveSources(followed, followed, tell), tell);
    const auto writers = std::make_shared<FakeWriters>();
    const auto engine = AudioCaptureEngine::create(
        {.systemAudio = sources.systemAudio, .microphone = sources.microphone, .writers = writers},
        std::make_shared<FakeHost>());
    engine->startRecording();
    ASSERT_TRUE(waitFor([&] { return engine->isRecording.value(); }))
        << engine->lastError.value().value_or(QString()).toStdString();
    const auto isHeard = [&] {
        bool heard = false;
        engine->queue().sync([&] {
            const auto isLoud = [](float sample) { return sample > 0.05F; };
            heard = !writers->files.empty() && std::ranges::any_of(writers->files.front()->samples, isLoud);
        });
        return heard;
    };
    EXPECT_TRUE(waitFor(isHeard));
    engine->stopRecording();
    engine->queue().sync([] {});
    engine->waitUntilFinished();
    processEvents();
    EXPECT_EQ(told, (std::vector{SoundDevice::Kind::Input, SoundDevice::Kind::Output}));
}

} // namespace
} // namespace quillet::test
