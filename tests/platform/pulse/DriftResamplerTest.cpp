#include "platform/linux/ffmpeg/DriftResampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>
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

    /// How far the amplitude that any two neighbours of these frames show, by the frequency, is from the sine's.
    [[nodiscard]] double roughness(std::size_t from, std::size_t to, double frequency) const {
        const double omega = 2 * std::numbers::pi * frequency;
        double worst = 0;
        for (std::size_t i = from; i < to; ++i) {
            const double first = output[2 * i];
            const double second = output[2 * i + 2];
            const double square = first * first + second * second - 2 * first * second * std::cos(omega);
            worst = std::max(worst, std::abs(std::sqrt(square) / std::sin(omega) / 0.5 - 1));
        }
        return worst;
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
    for (const auto& [frequency, most, mostAtAChange] : {std::tuple{1000.0, 2e-4, 3e-4}, {9600.0, 8e-5, 5e-4}}) {
        Sine sine(frequency);
        for (const double ppm : {0.0, 40.0, -600.0, 0.0}) {
            SCOPED_TRACE(testing::Message() << frequency << " Hz at " << ppm << " ppm");
            const std::size_t change = std::max<std::size_t>(sine.frames(), 64);
            sine.run(ppm, 3);
            const double now = sine.cyclesPerFrame / (1 + ppm * 1e-6);
            EXPECT_LT(sine.roughness(change - 1, change + 4800, now), mostAtAChange);
            EXPECT_LT(sine.roughness(change + 4800, sine.frames() - 1, now), most);
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
