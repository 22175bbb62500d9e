#include "ConverterUnderTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>
#include <vector>

namespace quillet::test {
namespace {

/// A sine that goes through the converter piece by piece, its negative in the second channel.
struct Sine {
    explicit Sine(double frequencyHz) : omega(2 * std::numbers::pi * frequencyHz / 48000) {}

    void run(double ppm, double seconds) {
        constexpr std::size_t kPiece = 960;
        converter->setCorrection(ppm);
        std::vector<float> piece(kPiece * 2);
        const std::size_t before = taken;
        for (double left = seconds * 48000; left > 0; left -= kPiece) {
            for (std::size_t i = 0; i < kPiece; ++i, ++taken) {
                piece[2 * i] = at(static_cast<double>(taken));
                piece[2 * i + 1] = -piece[2 * i];
            }
            for (const float sample : converter->convert(piece)) output.push_back(sample);
        }
        due += static_cast<double>(taken - before) * (1 + ppm * 1e-6);
        for (std::size_t i = 0; i < frames(); ++i) ASSERT_EQ(output[2 * i], -output[2 * i + 1]);
    }
    [[nodiscard]] float at(double frame) const { return static_cast<float>(0.5 * std::sin(omega * frame)); }
    [[nodiscard]] std::size_t frames() const { return output.size() / 2; }
    /// How many frames more than it should have the converter has returned or holds.
    [[nodiscard]] double excess() const { return static_cast<double>(frames()) + converter->heldFrames() - due; }

    /// How far the amplitude that any two neighbours of these frames show, by the frequency, is from the sine's.
    [[nodiscard]] double roughness(std::size_t from, std::size_t to, double ppm) const {
        const double now = omega / (1 + ppm * 1e-6);
        double worst = 0;
        for (std::size_t i = from; i < to; ++i) {
            const double first = output[2 * i];
            const double second = output[2 * i + 2];
            const double square = first * first + second * second - 2 * first * second * std::cos(now);
            worst = std::max(worst, std::abs(std::sqrt(square) / std::sin(now) / 0.5 - 1));
        }
        return worst;
    }

    const double omega;
    std::unique_ptr<RateConverter> converter = makeConverter(2);
    std::vector<float> output;
    std::size_t taken = 0;
    double due = 0;
};

/// The time line counts on it: a frame that comes out is the one that went in at its place, without the filter's delay.
TEST(RateConverterTest, everyFrameIsTheOneOfItsStretchedPlace) {
    constexpr double kClean = 2.5e-5; // -86 dB of 0.5
    for (const double ppm : {0.0, -300.0, -17.0, 40.0, 300.0}) {
        for (const double hz : {100.0, 1000.0, 10000.0}) {
            SCOPED_TRACE(testing::Message() << ppm << " ppm, " << hz << " Hz");
            Sine sine(hz);
            sine.run(ppm, 1);
            EXPECT_NEAR(sine.excess(), 0, kFramesOffInASecond + 0.01);
            const double limit = ppm == 0 ? kErrorWithoutCorrection : kClean + 0.5 * sine.omega * kFramesOffInASecond;
            double worst = 0;
            for (std::size_t i = ppm == 0 ? kFirstCleanFrame : 100; i < sine.frames(); ++i)
                worst = std::max<double>(worst, std::abs(sine.output[2 * i] - sine.at(double(i) / (1 + ppm * 1e-6))));
            EXPECT_LE(worst, limit);
        }
    }
}

TEST(RateConverterTest, isCleanAtEachCorrectionAndSteplessBetweenThem) {
    for (const auto& [hz, most, mostAtAChange] : {std::tuple{1000.0, 2e-4, 3e-4}, {9600.0, 8e-5, 5e-4}}) {
        Sine sine(hz);
        for (const auto& [ppm, seconds] :
             {std::pair{0.0, 3}, {40.0, 60}, {-600.0, 3}, {-1000.0, 10}, {-600.0, 3}, {0.0, 3}}) {
            SCOPED_TRACE(testing::Message() << hz << " Hz at " << ppm << " ppm");
            const std::size_t change = std::max<std::size_t>(sine.frames(), 64);
            sine.run(ppm, seconds);
            EXPECT_NEAR(sine.excess(), 0, kFramesOffInTheLong);
            EXPECT_LT(sine.roughness(change - 1, change + 4800, ppm), mostAtAChange);
            EXPECT_LT(sine.roughness(change + 4800, sine.frames() - 1, ppm), most);
        }
    }
}

TEST(RateConverterTest, aResetForgetsTheSoundAndKeepsTheAmount) {
    const auto converter = makeConverter(1);
    converter->setCorrection(100);
    static_cast<void>(converter->convert(std::vector<float>(1000, 1.0F)));
    converter->reset();
    EXPECT_EQ(converter->heldFrames(), 0);
    const auto output = converter->convert(std::vector<float>(48000, 0.0F));
    EXPECT_EQ(std::ranges::count(output, 0.0F), static_cast<std::ptrdiff_t>(output.size()));
    EXPECT_NEAR(static_cast<double>(output.size()) + converter->heldFrames(), 48000 + 4.8, 0.1);
}

} // namespace
} // namespace quillet::test
