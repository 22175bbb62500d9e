#include "capture/LiveTimeLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr double kRate = kSampleRateHz;
constexpr std::size_t kFragment = 960;

/// Stretches by repeating or leaving out a frame at the end of a piece, so that the first sample of each piece
/// survives.
class CountingConverter final : public RateConverter {
public:
    void reset() override { m_fraction = 0; }
    void setCorrection(double ppm) override { m_ppm = ppm; }
    std::span<const float> convert(std::span<const float> mono) override {
        m_fraction += static_cast<double>(mono.size()) * m_ppm * 1e-6;
        const auto extra = static_cast<std::ptrdiff_t>(std::floor(m_fraction));
        m_fraction -= static_cast<double>(extra);
        m_output.assign(mono.begin(), mono.end());
        m_output.resize(static_cast<std::size_t>(std::max<std::ptrdiff_t>(std::ssize(mono) + extra, 1)), 0.0F);
        return m_output;
    }
    double heldFrames() const override { return m_fraction; }

private:
    double m_ppm = 0;
    double m_fraction = 0;
    std::vector<float> m_output;
};

HostTime at(double seconds) { return HostTime(std::chrono::duration_cast<HostTime::duration>(Seconds(seconds))); }

/// Feeds a time line with fragments whose first sample is their number (from 1), and notes where each comes out.
class Simulation {
public:
    explicit Simulation(double startSeconds) : m_nextTick(at(startSeconds)) {
        line = std::make_unique<LiveTimeLine>(
            1, std::make_unique<CountingConverter>(),
            [this](HostFramePos position, std::span<const float> mono) { return take(position, mono); },
            at(startSeconds));
    }

    /// Lets time pass; ticks happen when they are due.
    void advance(double until) {
        while (m_nextTick <= at(until)) {
            if (began()) furthestBehind = std::max(furthestBehind, behind(m_nextTick));
            line->tick(m_nextTick, m_nextTick);
            m_nextTick = std::max(line->nextTick(m_nextTick), m_nextTick + 1ms);
        }
    }

    /// The program stands still until then, and its timers come before what waits to be read.
    void oversleep(double until) {
        line->tick(m_nextTick, at(until));
        m_nextTick = line->nextTick(at(until));
    }

    void arrive(double moment, std::size_t fragments = 1) {
        advance(moment);
        for (std::size_t i = 0; i < fragments; ++i) {
            m_fragment[0] = static_cast<float>(++m_count);
            line->append(at(moment), m_fragment);
        }
        line->arrived(at(moment));
        m_nextTick = std::min(m_nextTick, line->nextTick(at(moment)));
        if (began()) furthestAhead = std::max(furthestAhead, -behind(at(moment)));
    }

    /// The next fragments never reach the time line.
    void lose(std::size_t fragments) { m_count += fragments; }

    [[nodiscard]] bool began() const { return m_expected.has_value(); }
    [[nodiscard]] double behind(HostTime moment) const {
        return Seconds(moment.time_since_epoch()).count() -
               static_cast<double>(m_expected->time_since_epoch().count()) / kRate;
    }
    /// Where a fragment (from 0) came out, in seconds on the host clock; NaN when it did not.
    [[nodiscard]] double place(std::size_t fragment) const {
        return fragment < m_places.size() ? m_places[fragment] : std::nan("");
    }
    [[nodiscard]] std::size_t fragments() const { return m_count; }

    std::unique_ptr<LiveTimeLine> line;
    double firstSeconds = 0;
    double furthestAhead = 0;
    double furthestBehind = 0;
    std::size_t room = std::size_t(1) << 40; ///< frames that are still taken

private:
    std::size_t take(HostFramePos position, std::span<const float> mono) {
        const auto begin = static_cast<double>(position.time_since_epoch().count());
        EXPECT_TRUE(!m_expected || position == *m_expected) << "a hole or an overlap";
        if (!m_expected) firstSeconds = begin / kRate;
        const std::size_t taken = std::min(mono.size(), room);
        room -= taken;
        for (std::size_t i = 0; i < taken; ++i) {
            if (mono[i] == 0.0F) continue;
            const auto fragment = static_cast<std::size_t>(std::lround(mono[i])) - 1;
            if (m_places.size() <= fragment) m_places.resize(fragment + 1, std::nan(""));
            m_places[fragment] = (begin + static_cast<double>(i)) / kRate;
        }
        m_expected = position + FrameCount(static_cast<std::int64_t>(taken));
        return taken;
    }

    HostTime m_nextTick;
    std::optional<HostFramePos> m_expected;
    std::vector<double> m_places;
    std::vector<float> m_fragment = std::vector<float>(kFragment);
    std::size_t m_count = 0;
};

struct Arrival {
    double seconds;
    std::size_t fragments;
};

std::vector<Arrival> recordedArrivals(const char* name) {
    std::ifstream file(std::string(QUILLET_TEST_DATA "/arrivals/") + name + ".csv");
    std::vector<Arrival> arrivals;
    file.ignore(1000, '\n');
    long long ns = 0;
    std::size_t before = 0, frames = 0;
    for (char comma = ','; file >> ns >> comma >> before >> comma >> frames;)
        arrivals.push_back({static_cast<double>(ns) * 1e-9, frames / kFragment});
    return arrivals;
}

class RecordedArrivals : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Of, RecordedArrivals,
                         testing::Values("pulseaudio-loaded-mic", "pulseaudio-loaded-sys", "pipewire-loaded-q2048-mic",
                                         "pipewire-loaded-q2048-sys"));

TEST_P(RecordedArrivals, OfALoadedMachineAreAQuarterSecondLateAndPlacedWithinTwoMilliseconds) {
    const std::vector<Arrival> arrivals = recordedArrivals(GetParam());
    ASSERT_GT(arrivals.size(), 2000U);
    // No frame can arrive before it was recorded, and the least late one hardly later.
    double origin = arrivals.front().seconds;
    double latest = origin;
    std::size_t count = 0;
    for (const Arrival& arrival : arrivals) {
        count += arrival.fragments;
        const double start = arrival.seconds - static_cast<double>(count * kFragment) / kRate;
        origin = std::min(origin, start);
        latest = std::max(latest, start);
    }
    ASSERT_GT(latest - origin, 0.25);

    Simulation simulation(arrivals.front().seconds - 0.05);
    for (const Arrival& arrival : arrivals) simulation.arrive(arrival.seconds, arrival.fragments);

    EXPECT_LT(simulation.furthestAhead, 0.003);
    for (std::size_t i = 0; i + 60 < simulation.fragments(); ++i) {
        const double truth = origin + static_cast<double>(i * kFragment) / kRate;
        ASSERT_NEAR(simulation.place(i), truth, i < 600 ? 0.002 : 0.001) << "fragment " << i;
    }
}

/// A device whose clock is off and whose fragments arrive as those of a busy sound server do.
class JitteryDevice {
public:
    explicit JitteryDevice(double ppm) : m_fragmentSeconds(kFragment / kRate / (1 + ppm * 1e-6)) {}

    /// When a fragment (from 0) began to sound.
    [[nodiscard]] double soundedAt(std::size_t fragment) const {
        return kBegin + static_cast<double>(fragment) * m_fragmentSeconds;
    }
    /// Nothing arrives before its last frame has sounded, nor before what came earlier.
    double arrivalOf(std::size_t fragment) {
        const double ready = soundedAt(fragment + 1);
        // The server works in periods of 1024 frames, is seldom punctual, and stalls now and then.
        const double period = std::ceil(ready / (1024 / kRate)) * (1024 / kRate);
        const double stall = m_chance(m_random) < 0.002 ? 0.4 * m_chance(m_random) : 0;
        m_last = std::max(m_last, period + m_delay(m_random) + stall);
        return m_last;
    }

    static constexpr double kBegin = 1000;

private:
    const double m_fragmentSeconds;
    double m_last = 0;
    std::mt19937 m_random{7};
    std::exponential_distribution<> m_delay{1 / 0.004};
    std::uniform_real_distribution<> m_chance{0, 1};
};

class DriftingDevice : public testing::TestWithParam<double> {};
INSTANTIATE_TEST_SUITE_P(Ppm, DriftingDevice, testing::Values(-200.0, 0.0, 200.0));

TEST_P(DriftingDevice, StaysInPlaceForFourHoursAndHasItsRateFound) {
    constexpr std::size_t kFourHours = 4 * 3600 * 50;
    constexpr std::size_t kSettled = 120 * 50;
    constexpr std::size_t kJudged = kFourHours - 50; // the last may still be on their way
    JitteryDevice device(GetParam());
    Simulation simulation(JitteryDevice::kBegin);

    for (std::size_t i = 0; i < kFourHours; ++i) simulation.arrive(device.arrivalOf(i));

    EXPECT_LT(simulation.furthestAhead, 0.010);
    // How late the server always is does not count: both sources of a recording share it.
    const auto error = [&](std::size_t i) { return simulation.place(i) - device.soundedAt(i); };
    double usual = 0;
    for (std::size_t i = kSettled; i < kJudged; ++i) usual += error(i) / (kJudged - kSettled);
    double worstAtFirst = 0;
    double worst = 0;
    for (std::size_t i = 0; i < kJudged; ++i) {
        ASSERT_FALSE(std::isnan(error(i))) << "fragment " << i << " is lost";
        double& worstYet = i < kSettled ? worstAtFirst : worst;
        worstYet = std::max(worstYet, std::abs(error(i) - usual));
    }
    EXPECT_LT(worstAtFirst, 0.0025) << "in the first two minutes";
    EXPECT_LT(worst, 0.001) << "later";
    constexpr std::size_t kHalfHour = 1800 * 50;
    const double span = simulation.place(kSettled + kHalfHour) - simulation.place(kSettled);
    const double deviceSpan = static_cast<double>(kHalfHour * kFragment) / kRate;
    EXPECT_NEAR((deviceSpan / span - 1) * 1e6, GetParam(), 1.0) << "parts per million";
}

constexpr std::size_t kPerSecond = 50;

/// A minute of a punctual device, the event, and what comes after.
class Break : public testing::Test {
protected:
    void SetUp() override { play(60 * kPerSecond); }

    void play(std::size_t fragments, double late = 0) {
        for (std::size_t i = 0; i < fragments; ++i) simulation.arrive(soundedAt(simulation.fragments() + 1) + late);
    }
    static double soundedAt(std::size_t fragment) { return 500 + static_cast<double>(fragment * kFragment) / kRate; }
    void expectInPlace(std::size_t from, std::size_t to = 0) {
        for (std::size_t i = from; i < (to ? to : simulation.fragments() - 2); ++i)
            ASSERT_NEAR(simulation.place(i), soundedAt(i), 0.001) << "fragment " << i;
    }

    Simulation simulation{500};
    const std::size_t before = 60 * kPerSecond;
};

TEST_F(Break, AStallIsMadeUpForWithoutATrace) {
    const std::size_t stalled = 20; // 400 ms, the longest seen without a loss
    simulation.arrive(soundedAt(before + stalled), stalled);
    play(10 * kPerSecond);

    expectInPlace(0);
}

TEST_F(Break, WhatTheDeviceDeliveredWhileTheProgramStoodStillIsNotLost) {
    for (const std::size_t fragments : {kPerSecond + 2, 2 * kPerSecond, 8 * kPerSecond}) {
        const double wakes = soundedAt(simulation.fragments() + fragments);
        simulation.oversleep(wakes);
        simulation.arrive(wakes + 0.005, fragments);
        play(10 * kPerSecond);
    }
    expectInPlace(0);

    // A device that has died meanwhile is followed all the same, however late the timers always come.
    double now = soundedAt(simulation.fragments());
    for (int i = 0; i < 20; ++i) simulation.oversleep(now += 1.1);
    EXPECT_LT(simulation.behind(at(now)), 2.3);
}

TEST_F(Break, LostAudioIsReplacedByAsMuchSilence) {
    simulation.lose(15);
    play(10 * kPerSecond);

    // Found out after more than a second; in the meantime all is early by what was lost.
    expectInPlace(before + 15 + 60);
    EXPECT_LT(simulation.furthestBehind, 0.5);
}

constexpr double kPeriod = 1024 / kRate;

TEST(SkippedPeriods, AreMadeUpForSoon) {
    // The first is skipped while the stream's place is sought, early or late; the last after half a minute.
    for (const std::size_t arrivedBefore : {1U, 4U, 10U, 30U, 1500U}) {
        for (const int periods : {1, 2}) {
            SCOPED_TRACE(testing::Message() << periods << " after " << arrivedBefore);
            Simulation simulation(100);
            const auto arrivalOf = [&](std::size_t fragment) {
                return 100 + static_cast<double>(fragment * kFragment) / kRate +
                       (fragment > arrivedBefore ? periods * kPeriod : 0);
            };
            for (std::size_t i = 1; i <= arrivedBefore + 3 * kPerSecond; ++i) simulation.arrive(arrivalOf(i));
            const bool isKnownAtOnce = arrivedBefore <= 4;
            const std::size_t known = arrivedBefore + (isKnownAtOnce ? 0 : 2 * kPerSecond + 30);
            for (std::size_t i = known; i + 2 < simulation.fragments(); ++i)
                ASSERT_NEAR(simulation.place(i), arrivalOf(i + 1) - kFragment / kRate, 0.001) << "fragment " << i;
        }
    }
}

/// Later than before, and nothing is missing: no hole is made in what somebody says.
TEST_F(Break, LatenessAloneIsNotTakenForLost) {
    const auto expectNoHole = [this](std::size_t from) {
        for (std::size_t i = from; i + 3 < simulation.fragments(); ++i)
            ASSERT_LT(simulation.place(i + 1) - simulation.place(i), 0.0202) << "fragment " << i;
    };
    std::mt19937 random(3);
    double last = 0;
    for (std::size_t i = 0; i < 60 * kPerSecond; ++i) { // a busy machine
        const double delay = 0.008 + 0.032 * static_cast<double>(random()) / 4294967296.0;
        last = std::max(last, soundedAt(simulation.fragments() + 1) + delay);
        simulation.arrive(last);
    }
    expectNoHole(before);

    for (const double latency : {0.011, 0.016, 0.032}) { // a server that has changed its latency
        play(30 * kPerSecond);
        const std::size_t changed = simulation.fragments();
        play(40 * kPerSecond, latency); // it is stretched away, past the length of a period
        expectNoHole(changed);
    }
}

TEST_F(Break, AfterABusySpellAllIsInPlaceAgain) {
    play(2 * kPerSecond, 0.1); // is taken for lost; then the surplus comes
    play(60 * kPerSecond);

    expectInPlace(before + 7 * kPerSecond);
}

TEST_F(Break, AChangeOfLatencyIsFollowedWithHardlyAnOvershoot) {
    for (const auto& [latency, sign] : {std::pair{0.040, 1}, {0.0, -1}}) {
        const std::size_t changed = simulation.fragments();
        play(180 * kPerSecond, latency);
        double overshoot = 0;
        for (std::size_t i = changed; i + 2 < simulation.fragments(); ++i)
            overshoot = std::max(overshoot, sign * (simulation.place(i) - soundedAt(i) - latency));
        EXPECT_LT(overshoot, 0.003);
        EXPECT_NEAR(simulation.place(simulation.fragments() - 3), soundedAt(simulation.fragments() - 3) + latency,
                    0.001);
    }
}

TEST_F(Break, ASilentDeviceIsFollowedInSilenceAndPlacedAnewWhenItReturns) {
    const double returns = soundedAt(before + 10 * kPerSecond);
    simulation.lose(10 * kPerSecond);
    simulation.advance(returns);
    const double behindInSilence = simulation.behind(at(returns));
    play(10 * kPerSecond);

    EXPECT_LT(behindInSilence, 0.28) << "the other source waits";
    EXPECT_LT(simulation.furthestBehind, 1.1);
    EXPECT_LT(simulation.furthestAhead, 0.060);
    expectInPlace(before + 10 * kPerSecond);
}

TEST_F(Break, WhatComesLateForItsSilenceIsDropped) {
    // Nothing for three seconds, then all of it at once: two seconds have been filled by then, and
    // a little more while its place is sought; the rest is not lost.
    simulation.advance(soundedAt(before + 3 * kPerSecond));
    simulation.arrive(soundedAt(before + 3 * kPerSecond), 3 * kPerSecond);
    play(10 * kPerSecond);

    EXPECT_TRUE(std::isnan(simulation.place(before + kPerSecond)));
    expectInPlace(before + 2 * kPerSecond + 25);
}

TEST_F(Break, AudioThatIsNotDueYetIsCut) {
    for (int repeat = 0; repeat < 10; ++repeat) simulation.arrive(soundedAt(before), 10);
    EXPECT_LT(simulation.furthestAhead, 0.0601);
}

TEST_F(Break, WhatTheReceiverCannotTakeIsOwedAsSilence) {
    simulation.room = 2 * kFragment + 100;
    play(5 * kPerSecond);
    simulation.room = std::size_t(1) << 40;
    play(5 * kPerSecond);

    expectInPlace(0, before);
    EXPECT_TRUE(std::isnan(simulation.place(before + 100)));
    expectInPlace(before + 5 * kPerSecond + 1);
}

TEST_F(Break, AnotherDeviceIsPlacedByItsOwnArrivals) {
    // It comes 100 ms after the last of the old one, and its stream begins with a burst.
    simulation.line->interrupted();
    simulation.lose(5);
    simulation.arrive(soundedAt(before + 5 + 4), 4);
    play(10 * kPerSecond);

    expectInPlace(before + 5);
}

TEST_F(Break, TheEndIsReachedWhateverTheDeviceDoes) {
    const double end = soundedAt(before + 30);
    simulation.advance(end); // 0.6 s without a word, not given up yet
    simulation.line->finish(at(end));
    EXPECT_NEAR(simulation.behind(at(end)), 0, 0.001);

    Simulation punctual(100), held(100), dead(100);
    for (int i = 1; i <= 50; ++i) punctual.arrive(100 + i * 0.02);
    for (int i = 1; i <= 5; ++i) held.arrive(100 + i * 0.02); // not placed yet
    for (const auto& [simulated, moment, last] : {std::tuple{&punctual, 101.01, 50U}, {&held, 100.11, 5U}}) {
        simulated->line->finish(at(moment));
        EXPECT_NEAR(simulated->place(last - 1), 100 + (last - 1) * 0.02, 0.001);
        EXPECT_NEAR(simulated->behind(at(moment)), 0.01, 0.001) << "nothing is made up where sound is on its way";
    }
    dead.line->finish(at(100.5));
    EXPECT_NEAR(dead.firstSeconds, 100, 0.001);
    EXPECT_NEAR(dead.behind(at(100.5)), 0, 0.001);
}

TEST(LiveTimeLine, IsPlacedByWhatArrivesOnceTheServerHasSettled) {
    for (const double early : {0.005, 0.009, 0.017, 0.0195}) {
        Simulation simulation(100);
        for (int i = 1; i <= 500; ++i) simulation.arrive(100.1 + i * 0.02 - (i <= 5 ? early : 0));
        for (std::size_t i = 0; i < 490; ++i) ASSERT_NEAR(simulation.place(i), 100.1 + i * 0.02, 0.001) << early;
    }
}

TEST(LiveTimeLine, BeginsAtOnceAndGoesOnInSilenceWhenADeviceDeliversNothing) {
    Simulation simulation(100);
    EXPECT_TRUE(simulation.began()) << "the other source waits for this to be placed";
    EXPECT_NEAR(simulation.firstSeconds, 100, 0.001);
    simulation.advance(100.9);
    EXPECT_NEAR(simulation.behind(at(100.9)), 0.9, 0.001) << "nothing is made up while sound may be on its way";
    simulation.advance(104);
    EXPECT_LT(simulation.furthestBehind, 1.03);
    EXPECT_GT(simulation.behind(at(104)), 0.9) << "much may still come late";
}

} // namespace
} // namespace quillet
