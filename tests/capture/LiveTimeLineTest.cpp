#include "capture/LiveTimeLine.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr double kRate = kSampleRateHz;
constexpr std::size_t kFragment = 960;

/// Stretches by repeating or leaving out a frame at the end of a piece, so that the first sample of each piece survives.
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

HostTime at(double seconds) {
    return HostTime(std::chrono::duration_cast<HostTime::duration>(Seconds(seconds)));
}

/// Feeds a time line fragments whose first sample is their number (from 1), and notes where each comes out.
struct Simulation {
    explicit Simulation(double start) : line(1, std::make_unique<CountingConverter>(), take(), at(start)) {}

    LiveTimeLine::Deliver take() {
        return [this](HostFramePos position, std::span<const float> mono) {
            const double begin = static_cast<double>(position.time_since_epoch().count());
            if (expected) contiguous = contiguous && position == *expected;
            if (!expected) firstFrame = begin;
            const std::size_t taken = std::min(mono.size(), room);
            room -= std::min(room, taken);
            for (std::size_t i = 0; i < taken; ++i) {
                if (mono[i] == 0.0F) continue;
                const auto fragment = static_cast<std::size_t>(std::lround(mono[i])) - 1;
                if (places.size() <= fragment) places.resize(fragment + 1, NAN);
                places[fragment] = (begin + static_cast<double>(i)) / kRate;
            }
            expected = position + FrameCount(static_cast<std::int64_t>(taken));
            return taken;
        };
    }

    /// Ticks that fall due before the moment happen first.
    void advance(double until) {
        while (nextTick <= at(until)) {
            line.tick(nextTick);
            furthestBehind = std::max(furthestBehind, began() ? behind(nextTick) : 0.0);
            nextTick = std::max(line.nextTick(nextTick), nextTick + 1ms);
        }
        now = until;
    }

    void arrive(double moment, std::size_t fragments = 1) {
        advance(moment);
        for (std::size_t i = 0; i < fragments; ++i) {
            sample[0] = static_cast<float>(++count);
            line.append(at(moment), sample);
        }
        line.arrived(at(moment));
        if (began()) furthestAhead = std::max(furthestAhead, -behind(at(moment)));
        nextTick = std::min(nextTick, line.nextTick(at(moment)));
    }

    [[nodiscard]] bool began() const { return expected.has_value(); }
    [[nodiscard]] double behind(HostTime moment) const {
        return Seconds(moment.time_since_epoch()).count() -
               static_cast<double>(expected->time_since_epoch().count()) / kRate;
    }

    std::vector<double> places; ///< seconds on the host clock, by fragment; NaN: dropped
    std::optional<HostFramePos> expected;
    double firstFrame = 0;
    bool contiguous = true;
    double furthestAhead = 0;
    double furthestBehind = 0;
    std::size_t room = std::size_t(1) << 40;
    std::size_t count = 0;
    double now = 0;
    HostTime nextTick{};
    std::vector<float> sample = std::vector<float>(kFragment);
    LiveTimeLine line;
};

} // namespace
} // namespace quillet
