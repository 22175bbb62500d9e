#include "platform/pulse/LiveRecording.h"

#include <algorithm>
#include <chrono>
#include <string>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr double kSpeakerHz = 1000;
constexpr double kHeadsetHz = 1700;
constexpr double kMicrophoneHz = 440;
constexpr int kRecoveryMs = 15'000; ///< generous for a loaded machine; a third of a second is usual

class LiveFaults : public LiveServerTest {
protected:
    QString loadHeadset() { return control("load-module module-null-sink sink_name=headset rate=48000 channels=2"); }
    void unload(const QString& module) { server->control({QStringLiteral("unload-module"), module}); }
    void playTones() {
        server->play(QStringLiteral("speakers"), tone(kSpeakerHz, 60));
        server->play(QStringLiteral("micfeed"), tone(kMicrophoneHz, 60));
    }

    /// A tenth either way of what is played: no server's mixing adds or takes 3 dB.
    testing::AssertionResult hears(Receiver& receiver, double frequencyHz) {
        if (test::waitFor([&] { return std::abs(receiver.amplitudeNow(frequencyHz) - 0.25) < 0.025; }, kRecoveryMs))
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << receiver.amplitudeNow(frequencyHz) << " of " << frequencyHz << " Hz; the server has\n"
               << server->state();
    }
    static bool fallsSilent(Receiver& receiver) {
        return test::waitFor([&] { return receiver.silentFrames > 24'000; }, kRecoveryMs);
    }
};
QUILLET_FOR_BOTH_SERVERS(LiveFaults);

TEST_P(LiveFaults, SystemAudioFollowsTheDefaultOutputAndSurvivesItsLoss) {
    const QString headset = loadHeadset();
    control("set-default-sink speakers");
    LiveRecording recording;
    ASSERT_NO_FATAL_FAILURE(recording.start());
    playTones();
    server->play(QStringLiteral("headset"), tone(kHeadsetHz, 60));
    ASSERT_TRUE(hears(recording.systemAudio, kSpeakerHz));
    EXPECT_LT(recording.systemAudio.amplitudeNow(kHeadsetHz), 0.001);

    // The server may carry the tone of the old output over to the new one, but not the other way round.
    control("set-default-sink headset");
    EXPECT_TRUE(hears(recording.systemAudio, kHeadsetHz));

    unload(headset);
    control("set-default-sink speakers");
    EXPECT_TRUE(hears(recording.systemAudio, kSpeakerHz));
    EXPECT_LT(recording.systemAudio.amplitudeNow(kMicrophoneHz), 0.001);
    recording.expectUnbroken();
}

TEST_P(LiveFaults, TheDefaultOutputStandsInForAChosenOneUntilItReturns) {
    const QString headset = loadHeadset();
    control("set-default-sink speakers");
    LiveRecording recording({.microphone = {}, .systemAudio = QStringLiteral("headset")});
    ASSERT_NO_FATAL_FAILURE(recording.start());
    playTones();
    server->play(QStringLiteral("headset"), tone(kHeadsetHz, 60));
    ASSERT_TRUE(hears(recording.systemAudio, kHeadsetHz));

    unload(headset);
    EXPECT_TRUE(fallsSilent(recording.systemAudio)) << "it may be back in a moment";
    EXPECT_TRUE(hears(recording.systemAudio, kSpeakerHz));
    EXPECT_EQ(recording.standIns, 1);

    loadHeadset();
    server->play(QStringLiteral("headset"), tone(kHeadsetHz, 60));
    EXPECT_TRUE(hears(recording.systemAudio, kHeadsetHz));
    // What played to it before has gone to the speakers with PulseAudio, and is heard from there too.
    EXPECT_TRUE(test::waitFor([&] { return recording.systemAudio.amplitudeNow(kSpeakerHz) < 0.03; }, kRecoveryMs));
    recording.expectUnbroken();
}

TEST_P(LiveFaults, WithoutAMicrophoneNothingElseIsRecordedAsOne) {
    LiveRecording recording;
    ASSERT_NO_FATAL_FAILURE(recording.start());
    playTones();
    ASSERT_TRUE(hears(recording.microphone, kMicrophoneHz));

    control("unload-module module-remap-source");
    EXPECT_TRUE(fallsSilent(recording.microphone));
    EXPECT_TRUE(hears(recording.systemAudio, kSpeakerHz));
    LiveRecording another;
    const auto failure = another.startMicrophone();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->step, MicrophoneFailure::Step::NoDevice);
    EXPECT_EQ(another.authorization(), AuthorizationStatus::Authorized);

    control("load-module module-remap-source source_name=microphone master=micfeed.monitor");
    control("set-default-source microphone");
    EXPECT_TRUE(hears(recording.microphone, kMicrophoneHz));
    EXPECT_LT(recording.microphone.amplitudeNow(kSpeakerHz), 0.001);
    recording.expectUnbroken();
}

TEST_P(LiveFaults, AKilledServerIsTakenUpAgain) {
    LiveRecording recording;
    ASSERT_NO_FATAL_FAILURE(recording.start());
    playTones();
    ASSERT_TRUE(hears(recording.systemAudio, kSpeakerHz));
    ASSERT_TRUE(hears(recording.microphone, kMicrophoneHz));

    server->kill();
    EXPECT_TRUE(fallsSilent(recording.systemAudio));
    server->start();
    playTones();
    EXPECT_TRUE(hears(recording.systemAudio, kSpeakerHz));
    EXPECT_TRUE(hears(recording.microphone, kMicrophoneHz));
    EXPECT_LT(recording.systemAudio.amplitudeNow(kMicrophoneHz), 0.001);
    recording.expectUnbroken();
}

TEST_P(LiveFaults, AFrozenServerMakesAStartFailInTimeAndARecordingGoOn) {
    LiveRecording recording;
    ASSERT_NO_FATAL_FAILURE(recording.start());
    playTones();
    ASSERT_TRUE(hears(recording.systemAudio, kSpeakerHz));

    server->freeze();
    LiveRecording another;
    const auto before = std::chrono::steady_clock::now();
    const auto failure = another.startMicrophone();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 3s);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->step, MicrophoneFailure::Step::DeviceInput);
    EXPECT_EQ(failure->description, QStringLiteral("the sound server does not answer"));
    EXPECT_TRUE(fallsSilent(recording.systemAudio));
    EXPECT_TRUE(fallsSilent(recording.microphone));
    server->thaw();

    EXPECT_TRUE(hears(recording.systemAudio, kSpeakerHz));
    EXPECT_TRUE(hears(recording.microphone, kMicrophoneHz));
    recording.expectUnbroken();
    ASSERT_NO_FATAL_FAILURE(another.start());
    EXPECT_TRUE(hears(another.microphone, kMicrophoneHz));
}

TEST_P(LiveFaults, WhatCannotBeOpenedSaysWhy) {
    LiveRecording unknown({.microphone = QStringLiteral("nowhere"), .systemAudio = QStringLiteral("nowhere")});
    const auto named = unknown.startMicrophone();
    ASSERT_TRUE(named);
    EXPECT_EQ(named->step, MicrophoneFailure::Step::DeviceInput);
    EXPECT_EQ(named->description, QStringLiteral("there is no microphone named \"nowhere\""));
    const auto nothing = unknown.content();
    ASSERT_TRUE(nothing);
    EXPECT_TRUE(nothing.value()->displays.empty());

    server->stop();
    LiveRecording recording;
    const auto failure = recording.startMicrophone();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->step, MicrophoneFailure::Step::DeviceInput);
    EXPECT_EQ(failure->description, QStringLiteral("the sound server cannot be reached (Connection refused)"));
    EXPECT_FALSE(recording.content());
    EXPECT_EQ(recording.authorization(), AuthorizationStatus::Authorized);

    server->start();
    const auto content = recording.content();
    ASSERT_TRUE(content);
    EXPECT_EQ(content.value()->displays, std::vector<QString>{QStringLiteral("speakers")});
    ASSERT_NO_FATAL_FAILURE(recording.start());
    playTones();
    EXPECT_TRUE(hears(recording.microphone, kMicrophoneHz));
}

} // namespace
} // namespace quillet
