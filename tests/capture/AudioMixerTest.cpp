#include "capture/AudioMixer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace quillet {
namespace {

/// Samples that know their frame: two frames less than 65,521 apart never look the same, and both sources and both
/// channels differ.
float sampleOf(std::int64_t frame, int voice) {
    const std::int64_t step[] = {1, 3, 7};
    return static_cast<float>((frame * step[voice]) % 65521) / 65521.0F - 0.5F;
}

/// Keeps the gains that the drain is about to use, and hands each block to the check.
class RecordingSink final : public BlockSink {
public:
    bool prepares = true;
    std::int64_t ready = std::numeric_limits<std::int64_t>::max(); ///< blocks still taken
    std::function<void(const MixedBlock&, std::int64_t frame)> check;
    std::vector<std::int64_t> blocks;
    const AudioMixer* mixer = nullptr;
    float systemGain = 0;
    float micGain = 0;

    bool prepareForBlocks() override {
        systemGain = mixer->systemAutoGain();
        micGain = mixer->micAutoGain();
        return prepares;
    }
    bool isReadyForBlock() override { return ready-- > 0; }
    void takeBlock(const MixedBlock& block, FramePos at) override {
        blocks.push_back(at.time_since_epoch().count());
        if (check) check(block, blocks.back());
    }
};

class AudioMixerTest : public testing::Test {
protected:
    AudioMixerTest() {
        sink.mixer = &mixer;
        mixer.reset();
    }

    SampleBuffer buffer(std::span<const float> samples, MediaTime at, const AudioStreamDescription& format) {
        return {.data = std::as_bytes(samples),
                .description = &format,
                .presentationTime = at,
                .sampleCount = static_cast<std::int64_t>(samples.size_bytes() / format.bytesPerFrame)};
    }
    void system(std::int64_t frame, std::span<const float> stereo) {
        const HostFramePos at{FrameCount(base + frame)};
        mixer.deliverSystemAudio(
            buffer(stereo, frame == 0 ? MediaTime::atFrame(at) : MediaTime::insideFrame(at), kInterleavedStereoFloat));
    }
    void mic(std::int64_t frame, std::span<const float> mono) {
        mixer.deliverMicrophone(
            buffer(mono, MediaTime::insideFrame(HostFramePos{FrameCount(base + frame)}), kMonoFloat));
    }
    void constant(std::int64_t firstBlock, std::int64_t blocks, float systemValue, float micValue) {
        system(firstBlock * kBlockFrames,
               std::vector<float>(static_cast<std::size_t>(2 * blocks * kBlockFrames), systemValue));
        mic(firstBlock * kBlockFrames, std::vector<float>(static_cast<std::size_t>(blocks * kBlockFrames), micValue));
    }

    /// The machine has been up for 12 days: frame numbers as they really are.
    std::int64_t base = 49'766'400'001;
    CaptureMeters meters;
    RecordingSink sink;
    AudioMixer mixer{sink, meters};
};

TEST_F(AudioMixerTest, DeliveriesOfAnySizeOverAnHourDropRepeatAndShiftNoFrame) {
    constexpr std::int64_t kHour = 3600LL * kSampleRateHz;
    std::int64_t wrong = 0;
    sink.check = [&](const MixedBlock& block, std::int64_t first) {
        for (std::int64_t k = 0; k < kBlockFrames; ++k) {
            const float mic = sink.micGain * sampleOf(first + k, 2);
            const float left = (sink.systemGain * sampleOf(first + k, 0) + mic) * 0.5F;
            const float right = (sink.systemGain * sampleOf(first + k, 1) + mic) * 0.5F;
            const auto at = static_cast<std::size_t>(2 * k);
            if ((block[at] != left || block[at + 1] != right) && wrong++ < 5)
                ADD_FAILURE() << "frame " << first + k << ": " << block[at] << ", " << block[at + 1] << " instead of "
                              << left << ", " << right;
        }
    };

    std::mt19937 random(7);
    std::uniform_int_distribution<std::int64_t> size(1, 10000);
    std::vector<float> samples;
    std::int64_t systemFrame = 0;
    std::int64_t micFrame = 0;
    while (std::min(systemFrame, micFrame) < kHour && wrong == 0) {
        const std::int64_t frames = random() % 8 == 0 ? size(random) : size(random) % 1100 + 1;
        samples.clear();
        if (systemFrame <= micFrame) {
            for (std::int64_t i = 0; i < frames; ++i) {
                samples.push_back(sampleOf(systemFrame + i, 0));
                samples.push_back(sampleOf(systemFrame + i, 1));
            }
            system(systemFrame, samples);
            systemFrame += frames;
        } else {
            for (std::int64_t i = 0; i < frames; ++i) samples.push_back(sampleOf(micFrame + i, 2));
            mic(micFrame, samples);
            micFrame += frames;
        }
    }

    EXPECT_EQ(wrong, 0);
    ASSERT_EQ(std::ssize(sink.blocks), std::min(systemFrame, micFrame) / kBlockFrames);
    for (std::size_t i = 0; i < sink.blocks.size(); ++i)
        ASSERT_EQ(sink.blocks[i], static_cast<std::int64_t>(i) * kBlockFrames);
    EXPECT_EQ(meters.read().blocksDropped, 0);
}

TEST_F(AudioMixerTest, FramesOverwrittenBeforeTheyCouldBeMixedAreSkippedOnABlockBoundary) {
    sink.prepares = false;
    system(0, std::vector<float>(200'000, 0.1F));
    mic(0, std::vector<float>(100'000, 0.1F));
    EXPECT_EQ(mixer.lastDrainedFrame(), 27'648);

    sink.prepares = true;
    mic(100'000, {});

    ASSERT_EQ(sink.blocks.size(), 70U);
    EXPECT_EQ(sink.blocks.front(), 27'648);
    EXPECT_EQ(mixer.lastDrainedFrame(), 99'328);
    EXPECT_EQ(meters.read().blocksDropped, 27);
}

TEST_F(AudioMixerTest, AFullWriterLeavesTheFramesInTheRings) {
    sink.ready = 2;
    constant(0, 5, 0.3F, 0.2F);
    EXPECT_EQ(sink.blocks, (std::vector<std::int64_t>{0, 1024}));

    sink.ready = 100;
    mic(5 * kBlockFrames, {});

    EXPECT_EQ(sink.blocks.size(), 5U);
    EXPECT_EQ(meters.read().blocksDropped, 0);
}

TEST_F(AudioMixerTest, OnlyWhatBothSourcesCoverOnTheTimeLineIsMixed) {
    const std::vector<float> ones(2 * 2 * kBlockFrames, 1.0F);
    const auto half = std::span(ones).first(2 * kBlockFrames);
    mic(0, half); // before the time line exists
    system(0, ones);
    EXPECT_TRUE(sink.blocks.empty()) << "nothing is mixed without a microphone";

    system(-480, ones); // stamped before frame 0
    std::vector<float> heard;
    sink.check = [&](const MixedBlock& block, std::int64_t) { heard.assign(block.begin(), block.end()); };
    mic(kBlockFrames / 2, half.first(kBlockFrames / 2));

    ASSERT_EQ(sink.blocks.size(), 1U);
    EXPECT_FLOAT_EQ(heard[0], 0.35F) << "the early microphone is not heard";
    EXPECT_FLOAT_EQ(heard[kBlockFrames - 1], 0.35F);
    EXPECT_FLOAT_EQ(heard[kBlockFrames], 0.85F) << "the microphone begins where its time says";
}

TEST_F(AudioMixerTest, AfterTearDownDeliveriesAreIgnored) {
    constant(0, 1, 0.1F, 0.1F);
    mixer.tearDownMixer();
    constant(1, 2, 0.1F, 0.1F);
    EXPECT_EQ(sink.blocks.size(), 1U);
    EXPECT_EQ(mixer.systemAutoGain(), 0.7F);
    EXPECT_EQ(mixer.micAutoGain(), 1.0F);
}

TEST_F(AudioMixerTest, EveryFormatIsReadFrameByFrame) {
    const auto pcm = [](std::uint32_t bytes, std::uint32_t channels, std::uint32_t bits = 32) {
        return AudioStreamDescription{.formatFlags = bits == 16 ? 12 : kMonoFloat.formatFlags,
                                      .bytesPerFrame = bytes,
                                      .channelsPerFrame = channels,
                                      .bitsPerChannel = bits};
    };
    const std::int16_t integers[] = {-32768, 16384, 8192, -8192};
    const float floats[] = {0.5F, -0.25F, 0.125F, 0.75F, 1.5F, 9.0F};
    const auto whole = std::as_bytes(std::span(integers));
    const auto real = std::as_bytes(std::span(floats));
    const struct {
        const char* name;
        AudioStreamDescription format;
        std::span<const std::byte> data;
        std::vector<float> frames; ///< left, right, …
        float microphone;          ///< of the first frame
    } rows[] = {
        {"16-bit stereo", pcm(4, 2, 16), whole, {-1.0F, 0.5F, 0.25F, -0.25F}, -1.0F},
        {"16-bit mono", pcm(2, 1, 16), whole.first(4), {-1, -1, 0.5F, 0.5F}, -1.0F},
        {"float mono", kMonoFloat, real.first(8), {0.5F, 0.5F, -0.25F, -0.25F}, 0.5F},
        {"float stereo", kInterleavedStereoFloat, real.first(16), {0.5F, -0.25F, 0.125F, 0.75F}, 0.5F},
        {"more channels than two", pcm(12, 3), real, {0.5F, -0.25F, 0.75F, 1.5F}, 0.5F},
        {"reads behind the end are 0", pcm(4, 2), real.first(8), {0.5F, -0.25F, -0.25F, 0.0F}, 0.5F},
        {"no channels", pcm(8, 0), real.first(16), {0, 0, 0, 0}, 0},
        {"not PCM", AudioStreamDescription{.formatID = 0x61616320}, real.first(16), {0, 0, 0, 0}, 0},
    };
    base = 0;
    const std::vector<float> quiet(2 * kBlockFrames, 0.0F);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (const bool asMicrophone : {false, true}) {
            mixer.reset();
            sink.blocks.clear();
            MixedBlock heard{};
            sink.check = [&](const MixedBlock& block, std::int64_t) { heard = block; };
            const SampleBuffer odd{
                .data = row.data, .description = &row.format, .presentationTime = {}, .sampleCount = 2};
            if (!asMicrophone) mixer.deliverSystemAudio(odd);
            system(asMicrophone ? 0 : 2, quiet);
            if (asMicrophone) mixer.deliverMicrophone(odd);
            mic(asMicrophone ? 2 : 0, std::span(quiet).first(kBlockFrames));
            ASSERT_EQ(sink.blocks.size(), 1U);
            for (std::size_t i = 0; i < (asMicrophone ? 2 : 4); ++i)
                EXPECT_FLOAT_EQ(heard[i], (asMicrophone ? row.microphone : row.frames[i] * 0.7F) * 0.5F) << i;
        }
    }
    mixer.deliverSystemAudio({}); // unreadable: nothing happens
}

TEST_F(AudioMixerTest, GainsFollowTheLevelsOfEachSource) {
    const struct {
        const char* name;
        float system, mic;
        float systemGain, micGain; ///< where they settle
    } rows[] = {
        {"silence is lifted to the limit", 0, 0, 2.0F, 2.0F},  {"at the target they stay", 0.2F, 0.2F, 0.7F, 1.0F},
        {"loud sources are lowered", 0.4F, 0.5F, 0.35F, 0.4F}, {"never below a quarter", 1.0F, 1.0F, 0.25F, 0.25F},
        {"each by its own level", 0.1F, 0.8F, 1.4F, 0.25F},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        mixer.reset();
        for (std::int64_t block = 0; block < 300; ++block) constant(block, 1, row.system, row.mic);
        EXPECT_NEAR(mixer.systemAutoGain(), row.systemGain, 1e-4);
        EXPECT_NEAR(mixer.micAutoGain(), row.micGain, 1e-4);
        EXPECT_EQ(meters.read().system.peak, row.system);
        EXPECT_EQ(meters.read().microphone.peak, row.mic);
        EXPECT_EQ(meters.read().microphone.digitalSilence.count(), row.mic > 0 ? 0 : 300 * kBlockFrames);
    }
}

TEST_F(AudioMixerTest, GainsStepOncePerBlockAndCountFromTheNextDrain) {
    std::vector<float> firstSamples;
    sink.check = [&](const MixedBlock& block, std::int64_t) { firstSamples.push_back(block[0]); };

    constant(0, 3, 0.0F, 0.5F); // one drain of three blocks
    constant(3, 1, 0.0F, 0.5F);

    double level = 0.2;
    double gain = 1.0;
    for (int block = 0; block < 3; ++block) {
        level += (0.5 - level) * 0.15;
        gain += (0.2 / level - gain) * 0.2;
    }
    ASSERT_EQ(firstSamples.size(), 4U);
    EXPECT_EQ(firstSamples[0], 0.25F);
    EXPECT_EQ(firstSamples[2], 0.25F) << "the gain is read once per drain";
    EXPECT_NEAR(firstSamples[3], gain * 0.25, 1e-6);
}

TEST_F(AudioMixerTest, TheMixIsClampedToFullScale) {
    // Quiet first, so that both gains are at their upper limit when the loud frames come.
    for (std::int64_t block = 0; block < 200; ++block) constant(block, 1, 0.0F, 0.0F);
    MixedBlock heard{};
    sink.check = [&](const MixedBlock& block, std::int64_t) { heard = block; };
    std::vector<float> loud(2 * kBlockFrames, 1.0F);
    loud[1] = -1.0F;
    mic(200 * kBlockFrames, std::vector<float>(kBlockFrames, 0.0F));
    system(200 * kBlockFrames, loud);
    EXPECT_NEAR(heard[0], 1.0F, 1e-5);
    mic(201 * kBlockFrames, std::vector<float>(kBlockFrames, 1.0F));
    system(201 * kBlockFrames, loud);
    EXPECT_EQ(heard[0], 1.0F);
    EXPECT_NEAR(heard[1], 0.0F, 0.2F);
}

TEST_F(AudioMixerTest, ATimeThatIsNoneStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constant(0, 1, 0.1F, 0.1F);
    const float sample = 0;
    EXPECT_DEATH(mixer.deliverMicrophone(buffer(std::span(&sample, 1), {1, 0}, kMonoFloat)), "presentation time");
}

} // namespace
} // namespace quillet
