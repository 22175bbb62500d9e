#include "platform/pulse/LiveRecording.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr double kSpeakerHz = 1000;
constexpr double kMicrophoneHz = 440;

class LiveSources : public LiveServerTest {};
QUILLET_FOR_BOTH_SERVERS(LiveSources);

TEST_P(LiveSources, EachRecordsItsOwnDevice) {
    LiveRecording recording;
    ASSERT_NO_FATAL_FAILURE(recording.start());
    server->play(QStringLiteral("speakers"), tone(kSpeakerHz, 10));
    server->play(QStringLiteral("micfeed"), tone(kMicrophoneHz, 10));

    // A tenth either way of what is played: no server's mixing adds or takes 3 dB.
    EXPECT_TRUE(recording.systemAudio.waitUntil(
        [&] { return std::abs(recording.systemAudio.amplitudeNow(kSpeakerHz) - 0.25) < 0.025; }, 5s));
    EXPECT_TRUE(recording.microphone.waitUntil(
        [&] { return std::abs(recording.microphone.amplitudeNow(kMicrophoneHz) - 0.25) < 0.025; }, 5s));
    EXPECT_LT(recording.systemAudio.amplitudeNow(kMicrophoneHz), 0.001);
    EXPECT_LT(recording.microphone.amplitudeNow(kSpeakerHz), 0.001);
    recording.expectUnbroken();

    recording.stop();
    const auto end = recording.microphone.endFrame() + recording.systemAudio.endFrame();
    server->control({QStringLiteral("info")});
    EXPECT_EQ(recording.microphone.endFrame() + recording.systemAudio.endFrame(), end) << "delivered after the stop";
}

/// Where a track's clicks are, in frames, to a fraction of one.
std::vector<double> clicksIn(const std::vector<float>& track, std::int64_t firstFrame) {
    constexpr std::ptrdiff_t kReach = 12;
    std::vector<double> clicks;
    for (std::ptrdiff_t i = kReach; i < std::ssize(track) - kReach; ++i) {
        if (track[static_cast<std::size_t>(i)] < 0.2F) continue;
        const auto around = track.begin() + i;
        const auto peak = std::max_element(around, around + kReach);
        double weight = 0;
        double moment = 0;
        for (auto sample = peak - kReach; sample <= peak + kReach; ++sample) {
            weight += *sample;
            moment += *sample * static_cast<double>(sample - track.begin());
        }
        clicks.push_back(static_cast<double>(firstFrame) + moment / weight);
        i += 1000;
    }
    return clicks;
}

TEST_P(LiveSources, ClicksThatReachBothLieWithinAMillisecond) {
    server->control({QStringLiteral("load-module"), QStringLiteral("module-remap-source"),
                     QStringLiteral("source_name=earshot"), QStringLiteral("master=speakers.monitor"),
                     QStringLiteral("channels=1"), QStringLiteral("channel_map=mono"),
                     QStringLiteral("master_channel_map=front-left"), QStringLiteral("remix=no")});
    constexpr int kClicks = 22;
    constexpr std::size_t kInterval = 46'811; // does not fall in step with any buffer
    std::vector<float> sound(kClicks * kInterval + 24'000);
    for (std::size_t click = 0; click < kClicks; ++click) {
        for (std::size_t i = 0; i < 6; ++i) sound[24'000 + click * kInterval + i] = 0.8F;
    }

    LiveRecording recording({.microphone = QStringLiteral("earshot"), .systemAudio = {}});
    ASSERT_NO_FATAL_FAILURE(recording.start());
    ASSERT_TRUE(recording.systemAudio.waitUntil([&] { return recording.systemAudio.firstFrame() >= 0; }, 3s));
    ASSERT_TRUE(recording.microphone.waitUntil([&] { return recording.microphone.firstFrame() >= 0; }, 3s));
    server->play(QStringLiteral("speakers"), sound);
    const auto endOfSound = recording.systemAudio.endFrame() + std::ssize(sound) + 24'000;
    ASSERT_TRUE(recording.systemAudio.waitUntil([&] { return recording.systemAudio.endFrame() > endOfSound; }, 40s));
    ASSERT_TRUE(recording.microphone.waitUntil([&] { return recording.microphone.endFrame() > endOfSound; }, 3s));
    recording.stop();

    const auto heard = clicksIn(recording.microphone.samples(), recording.microphone.firstFrame());
    const auto played = clicksIn(recording.systemAudio.samples(), recording.systemAudio.firstFrame());
    ASSERT_EQ(heard.size(), played.size());
    ASSERT_GE(played.size(), std::size_t(kClicks - 1));
    double sum = 0;
    double largest = 0;
    for (std::size_t i = 0; i < played.size(); ++i) {
        const double apartMs = (heard[i] - played[i]) / 48;
        EXPECT_LT(std::abs(apartMs), 1.0) << "click " << i;
        sum += apartMs;
        largest = std::max(largest, std::abs(apartMs));
    }
    std::printf("          mean %.3f ms, largest %.3f ms over %zu clicks\n", sum / static_cast<double>(played.size()),
                largest, played.size());
}

TEST_P(LiveSources, TheListShowsDefaultsAndMutes) {
    server->control({QStringLiteral("set-source-mute"), QStringLiteral("microphone"), QStringLiteral("1")});
    const auto devices = makePulseSoundDevices()->list();
    ASSERT_TRUE(devices) << devices.error().description.toStdString();

    std::vector<std::string> lines;
    for (const SoundDevice& device : devices.value()) {
        lines.push_back((device.kind == SoundDevice::Kind::Output ? "output " : "input ") + device.name.toStdString() +
                        (device.isDefault ? " default" : "") + (device.isMuted ? " muted" : ""));
        EXPECT_FALSE(device.description.isEmpty());
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"output speakers default", "output micfeed",
                                               "input microphone default muted"}));
}

} // namespace
} // namespace quillet
