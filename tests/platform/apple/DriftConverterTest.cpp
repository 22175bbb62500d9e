#include "platform/apple/DriftConverter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace quillet::apple::test {
namespace {

double tone(double hz, double frame) { return 0.5 * std::sin(2 * std::numbers::pi * hz * frame / 48000.0); }

std::vector<float> stereo(double hz, std::size_t frames) {
    std::vector<float> samples;
    for (std::size_t i = 0; i < frames; ++i) {
        samples.push_back(static_cast<float>(tone(hz, static_cast<double>(i))));
        samples.push_back(-samples.back());
    }
    return samples;
}

std::vector<float> convertInPieces(RateConverter& converter, std::span<const float> input) {
    std::vector<float> output;
    while (!input.empty()) {
        const auto piece = input.first(std::min<std::size_t>(input.size(), 2 * 313));
        const auto ready = converter.convert(piece);
        output.insert(output.end(), ready.begin(), ready.end());
        input = input.subspan(piece.size());
    }
    return output;
}

TEST(DriftConverterTest, withoutCorrectionEveryFrameComesBackAsItWas) {
    const auto converter = makeDriftConverter(2);
    const std::vector<float> input = stereo(997, 2000);
    const std::vector<float> output = convertInPieces(*converter, input);
    ASSERT_GT(output.size(), input.size() - 2 * 64);
    EXPECT_TRUE(std::equal(output.begin(), output.end(), input.begin()));
    EXPECT_EQ(converter->heldFrames(), static_cast<double>((input.size() - output.size()) / 2));
}

/// Compared with the tone computed at the stretched places; -86 dB of 0.5 is 2.5e-5.
TEST(DriftConverterTest, stretchesByTheAmountAndAddsNothing) {
    for (const double ppm : {-300.0, -17.0, 40.0, 300.0}) {
        for (const double hz : {100.0, 1000.0, 10000.0}) {
            SCOPED_TRACE(testing::Message() << ppm << " ppm, " << hz << " Hz");
            const auto converter = makeDriftConverter(2);
            converter->setCorrection(ppm);
            constexpr std::size_t kFrames = 48000;
            const std::vector<float> output = convertInPieces(*converter, stereo(hz, kFrames));
            const std::size_t frames = output.size() / 2;
            EXPECT_NEAR(static_cast<double>(frames) / (1 + ppm * 1e-6) + converter->heldFrames(), kFrames, 0.01);
            double worst = 0;
            for (std::size_t i = 100; i < frames; ++i) {
                const double expected = tone(hz, static_cast<double>(i) / (1 + ppm * 1e-6));
                worst = std::max(worst, std::abs(static_cast<double>(output[2 * i]) - expected));
                ASSERT_EQ(output[2 * i + 1], -output[2 * i]);
            }
            EXPECT_LT(worst, 2.5e-5);
        }
    }
}

TEST(DriftConverterTest, aResetForgetsTheSoundAndKeepsTheAmount) {
    const auto converter = makeDriftConverter(1);
    converter->setCorrection(100);
    static_cast<void>(converter->convert(std::vector<float>(1000, 1.0F)));
    converter->reset();
    EXPECT_EQ(converter->heldFrames(), 0);
    const std::vector<float> silence(48000, 0.0F);
    const auto output = converter->convert(silence);
    EXPECT_EQ(std::ranges::count(output, 0.0F), static_cast<std::ptrdiff_t>(output.size()));
    EXPECT_NEAR(static_cast<double>(output.size()) + converter->heldFrames(), 48000 + 4.8, 0.1);
}

} // namespace
} // namespace quillet::apple::test
