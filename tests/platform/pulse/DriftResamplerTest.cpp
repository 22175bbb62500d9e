#include "platform/linux/ffmpeg/DriftResampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace quillet {
namespace {

constexpr double kRate = 48000;
constexpr std::size_t kPiece = 960;

/// A sine that goes through the converter piece by piece.
struct Sine {
    explicit Sine(double frequencyHz) : cyclesPerFrame(frequencyHz / kRate) {}

    void run(double ppm, double seconds) {
        converter->setCorrection(ppm);
        std::vector<float> piece(kPiece * 2);
        for (double left = seconds * kRate; left > 0; left -= kPiece) {
            for (std::size_t i = 0; i < kPiece; ++i, ++taken) {
                const double phase = 2 * std::numbers::pi * cyclesPerFrame * static_cast<double>(taken);
                piece[2 * i] = static_cast<float>(0.5 * std::sin(phase));
                piece[2 * i + 1] = -piece[2 * i];
            }
            for (const auto out = converter->convert(piece); const float sample : out) output.push_back(sample);
        }
    }
    [[nodiscard]] std::size_t frames() const { return output.size() / 2; }

    /// What is left of the frames when the best fitting sine of the frequency is taken away, below that sine in dB.
    [[nodiscard]] double residueDb(std::size_t from, std::size_t count, double frequency) const {
        double ss = 0;
        double sc = 0;
        double cc = 0;
        double xs = 0;
        double xc = 0;
        double xx = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i);
            const double sine = std::sin(phase);
            const double cosine = std::cos(phase);
            const double sample = output[2 * (from + i)];
            ss += sine * sine;
            sc += sine * cosine;
            cc += cosine * cosine;
            xs += sample * sine;
            xc += sample * cosine;
            xx += sample * sample;
        }
        const double determinant = ss * cc - sc * sc;
        const double fitted = (xs * xs * cc - 2 * xs * xc * sc + xc * xc * ss) / determinant;
        return 10 * std::log10((xx - fitted) / fitted);
    }

    /// swresample's steps are about one part in a million, so the frequency is looked for that near.
    [[nodiscard]] double residueNearDb(std::size_t from, std::size_t count, double frequency) const {
        double low = frequency * (1 - 1.5e-6);
        double high = frequency * (1 + 1.5e-6);
        for (int round = 0; round < 24; ++round) {
            const double third = (high - low) / 3;
            const bool lowerHalf = residueDb(from, count, low + third) < residueDb(from, count, high - third);
            (lowerHalf ? high : low) += lowerHalf ? -third : third;
        }
        return residueDb(from, count, (low + high) / 2);
    }

    const double cyclesPerFrame;
    std::unique_ptr<RateConverter> converter = makeDriftResampler(2);
    std::vector<float> output;
    std::size_t taken = 0;
};

TEST(DriftResampler, CountsAndStretchesAsItIsTold) {
    Sine sine(1000);
    double expected = 0;
    for (const auto& [ppm, seconds] : {std::pair{0.0, 2.0}, {250.0, 30.0}, {-1000.0, 10.0}, {37.0, 60.0}}) {
        const std::size_t before = sine.taken;
        sine.run(ppm, seconds);
        expected += static_cast<double>(sine.taken - before) * (1 + ppm * 1e-6);
        // One part in a million is as fine as swresample steps.
        ASSERT_NEAR(static_cast<double>(sine.frames()) + sine.converter->heldFrames(), expected, 3.5) << ppm;
        for (std::size_t i = 0; i < sine.output.size(); i += 2) ASSERT_EQ(sine.output[i], -sine.output[i + 1]);
    }
}

TEST(DriftResampler, IsCleanAtEachCorrectionAndSteplessBetweenThem) {
    for (const double frequency : {1000.0, 9600.0}) {
        Sine sine(frequency);
        std::vector<std::size_t> changes;
        for (const double ppm : {0.0, 40.0, -600.0, 0.0}) {
            const std::size_t from = sine.frames();
            changes.push_back(from);
            sine.run(ppm, 3);
            EXPECT_LT(sine.residueNearDb(from + 4800, 96'000, sine.cyclesPerFrame / (1 + ppm * 1e-6)), -95)
                << frequency << " Hz at " << ppm << " ppm";
        }
        // The second difference of a sine is bounded; a step at a change would stick out.
        const double omega = 2 * std::numbers::pi * sine.cyclesPerFrame;
        for (const std::size_t change : changes) {
            for (std::size_t i = std::max<std::size_t>(change, 64); i < change + 4800; ++i) {
                const auto at = [&](std::size_t frame) { return double{sine.output[2 * frame]}; };
                ASSERT_LT(std::abs(at(i + 1) - 2 * at(i) + at(i - 1)), 0.5 * 2 * (1 - std::cos(omega)) * 1.01) << i;
            }
        }
    }
}

/// The time line counts on it: a frame that comes out is the one that went in at its place, without the filter's delay.
TEST(DriftResampler, AddsNoDelayToThePositionsItKeeps) {
    Sine sine(700);
    sine.run(0, 1);
    for (std::size_t i = 100; i < 4800; ++i)
        ASSERT_NEAR(sine.output[2 * i], 0.5 * std::sin(2 * std::numbers::pi * sine.cyclesPerFrame * double(i)), 1e-3);

    sine.converter->reset();
    EXPECT_NEAR(sine.converter->heldFrames(), 0, 1);
}

} // namespace
} // namespace quillet
