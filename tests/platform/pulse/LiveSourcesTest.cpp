#include "platform/pulse/LiveRecording.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace quillet {
namespace {

class LiveSources : public LiveServerTest {};
QUILLET_FOR_BOTH_SERVERS(LiveSources);

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
    control("load-module module-remap-source source_name=earshot master=speakers.monitor channels=1 channel_map=mono "
            "master_channel_map=front-left remix=no");
    constexpr int kClicks = 22;
    constexpr std::size_t kInterval = 46'811; // does not fall in step with any buffer
    std::vector<float> sound(kClicks * kInterval + 24'000);
    for (std::size_t click = 0; click < kClicks; ++click) {
        for (std::size_t i = 0; i < 6; ++i) sound[24'000 + click * kInterval + i] = 0.8F;
    }

    LiveRecording recording({.microphone = QStringLiteral("earshot"), .systemAudio = {}});
    ASSERT_NO_FATAL_FAILURE(recording.start());
    const auto both = [&](auto condition) {
        return test::waitFor([&] { return condition(recording.systemAudio) && condition(recording.microphone); },
                             40'000);
    };
    ASSERT_TRUE(both([](const Receiver& receiver) { return receiver.firstFrame >= 0; }));
    server->play(QStringLiteral("speakers"), sound);
    const auto endOfSound = recording.systemAudio.endFrame + std::ssize(sound) + 24'000;
    ASSERT_TRUE(both([&](const Receiver& receiver) { return receiver.endFrame > endOfSound; }));
    recording.stop();
    const std::int64_t end = recording.microphone.endFrame + recording.systemAudio.endFrame;

    const auto heard = clicksIn(recording.microphone.samples, recording.microphone.firstFrame);
    const auto played = clicksIn(recording.systemAudio.samples, recording.systemAudio.firstFrame);
    ASSERT_EQ(heard.size(), played.size());
    ASSERT_GE(played.size(), std::size_t(kClicks - 1));
    for (std::size_t i = 0; i < played.size(); ++i) EXPECT_NEAR(heard[i], played[i], 48) << "click " << i;
    control("info");
    EXPECT_EQ(recording.microphone.endFrame + recording.systemAudio.endFrame, end) << "delivered after the stop";
}

TEST_P(LiveSources, TheListShowsDefaultsAndMutes) {
    control("set-source-mute microphone 1");
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
