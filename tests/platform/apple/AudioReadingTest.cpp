#include "platform/apple/AudioReading.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace quillet::apple::test {
namespace {

template <typename Sample>
std::span<const std::byte> bytesOf(const std::vector<Sample>& samples) {
    return std::as_bytes(std::span(samples));
}

constexpr AudioStreamDescription format(std::uint32_t flags, std::uint32_t channels, std::uint32_t bits,
                                        std::uint32_t bytesPerFrame) {
    return {.formatFlags = flags | kFormatFlagPacked,
            .bytesPerPacket = bytesPerFrame,
            .bytesPerFrame = bytesPerFrame,
            .channelsPerFrame = channels,
            .bitsPerChannel = bits};
}
constexpr auto kPlanarStereo = format(kFormatFlagFloat | kFormatFlagNonInterleaved, 2, 32, 4);

TEST(AudioReadingTest, whateverTheLayoutTheFramesComeInterleaved) {
    const std::vector<float> left = {0.1F, 0.2F, 0.3F};
    const std::vector<float> right = {-0.1F, -0.2F, -0.3F};
    const std::vector<float> both = {0.1F, -0.1F, 0.2F, -0.2F, 0.3F, -0.3F};
    const std::vector<float> firstTwo = {0.1F, -0.1F, 0.2F, -0.2F};
    const std::vector<std::int16_t> integers = {-32768, 16384, 0, 1};
    const std::vector<std::int32_t> longIntegers = {std::numeric_limits<std::int32_t>::min(), 1 << 30};
    const std::vector<float> four = {0.1F, -0.1F, 9, 9, 0.2F, -0.2F, 9, 9};

    const struct {
        const char* name;
        AudioStreamDescription description;
        std::vector<std::span<const std::byte>> planes;
        std::int64_t frames;
        int channels;
        std::vector<float> expected;
    } rows[] = {
        {"planar, as screen capture delivers", kPlanarStereo, {bytesOf(left), bytesOf(right)}, 3, 2, both},
        {"planar, the first channel only", kPlanarStereo, {bytesOf(left), bytesOf(right)}, 3, 1, left},
        {"interleaved", kInterleavedStereoFloat, {bytesOf(both)}, 3, 2, both},
        {"more channels than two", format(kFormatFlagFloat, 4, 32, 16), {bytesOf(four)}, 2, 2, firstTwo},
        {"mono becomes both sides", kMonoFloat, {bytesOf(left)}, 2, 2, {0.1F, 0.1F, 0.2F, 0.2F}},
        {"16 bits",
         format(kFormatFlagSignedInteger, 2, 16, 4),
         {bytesOf(integers)},
         2,
         2,
         {-1.0F, 0.5F, 0.0F, 1.0F / 32768}},
        {"32 bits", format(kFormatFlagSignedInteger, 1, 32, 4), {bytesOf(longIntegers)}, 2, 1, {-1.0F, 0.5F}},
        {"a plane that ends early", kPlanarStereo, {bytesOf(left), bytesOf(right).first(8)}, 3, 2, firstTwo},
        {"fewer frames than memory", kInterleavedStereoFloat, {bytesOf(both)}, 1, 2, {0.1F, -0.1F}},
        {"no frames", kInterleavedStereoFloat, {bytesOf(both)}, 0, 2, {}},
    };
    std::vector<float> samples = {99.0F};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(readInterleaved({row.description, row.planes, row.frames}, row.channels, samples));
        EXPECT_EQ(samples, row.expected);
    }
}

TEST(AudioReadingTest, whatCannotBeReadIsRefused) {
    const std::vector<float> sound(64, 0.5F);
    const std::array planes = {bytesOf(sound)};
    AudioStreamDescription compressed = kInterleavedStereoFloat;
    compressed.formatID = 0x61616320;
    AudioStreamDescription otherRate = kInterleavedStereoFloat;
    otherRate.sampleRate = 44100;
    const AudioStreamDescription rows[] = {
        compressed,
        otherRate,
        format(kFormatFlagFloat, 0, 32, 8),
        format(kFormatFlagFloat, 2, 32, 4), // one channel's worth: the second would be read out of the next frame
        format(kFormatFlagFloat, 2, 32, 0),
        format(kFormatFlagFloat, 2, 64, 8),
        format(kFormatFlagFloat | kFormatFlagBigEndian, 2, 32, 8),
        format(0, 2, 32, 8), // unsigned integers
        kPlanarStereo,       // with one plane only
    };
    std::vector<float> samples;
    for (const auto& description : rows)
        EXPECT_FALSE(readInterleaved({description, planes, 4}, 2, samples)) << (&description - rows);
    EXPECT_FALSE(readInterleaved({kInterleavedStereoFloat, {}, 4}, 2, samples));
}

TEST(AudioReadingTest, mediaTimesAreMomentsOfTheHostClock) {
    using std::chrono::nanoseconds;
    const struct {
        NativeTime time;
        std::optional<HostTime> expected;
    } rows[] = {
        {{3, 2, true}, HostTime(nanoseconds(1'500'000'000))},
        {{1'700'000'000'123'456'789, 1'000'000'000, true}, HostTime(nanoseconds(1'700'000'000'123'456'789))},
        {{1, 48000, true}, HostTime(nanoseconds(20833))},
        {{std::numeric_limits<std::int64_t>::max(), 1, true}, std::nullopt},
        {{-1, 48000, true}, std::nullopt},
        {{1, 0, true}, std::nullopt},
        {{1, 48000, false}, std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(hostTime(row.time), row.expected) << row.time.value;
}

} // namespace
} // namespace quillet::apple::test
