#include "platform/apple/StampedSource.h"

#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quillet::apple::test {
namespace {

using namespace std::chrono_literals;
using FirstStamp = DeliveryPool::FirstStamp;

constexpr std::int64_t kFramesPerBuffer = 960;
constexpr std::int64_t kBeginMs = 100'000;
const HostTime kBegin{std::chrono::milliseconds(kBeginMs)};

/// A source of planar stereo at 48 kHz, each frame of which counts up, and what reaches the capture queue of it.
class StampedSourceTest : public testing::Test {
protected:
    ~StampedSourceTest() override {
        queue.sync([this] { source.close(); });
    }

    /// The buffer that begins so many frames after the start.
    void deliver(std::int64_t firstFrame) {
        std::vector<float> leftPlane, rightPlane;
        for (std::int64_t i = 0; i < kFramesPerBuffer; ++i) {
            leftPlane.push_back(static_cast<float>(firstFrame + i + 1) / 1024);
            rightPlane.push_back(-leftPlane.back());
        }
        const std::array planes = {std::as_bytes(std::span(leftPlane)), std::as_bytes(std::span(rightPlane))};
        AudioStreamDescription planar = kMonoFloat;
        planar.formatFlags |= kFormatFlagNonInterleaved;
        planar.channelsPerFrame = 2;
        const auto stamp = kBegin.time_since_epoch() + FrameCount(firstFrame);
        const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(stamp);
        source.deliver({planar, planes, kFramesPerBuffer}, {nanoseconds.count(), 1'000'000'000, true}, HostTime());
        queue.sync([] {}); // as many buffers as there are go round
    }
    void tickFor(HostTime from, std::chrono::milliseconds time) {
        for (auto passed = 0ms; passed <= time; passed += kTickInterval) {
            source.tick(from + passed);
            queue.sync([] {});
        }
    }

    /// The frame at which the recording begins, as a place on the host clock.
    static std::int64_t hostFrame(std::int64_t frame) { return kBeginMs * 48 + frame; }

    std::vector<MediaTime> stamps;
    std::vector<float> left;
    std::int64_t next = -1; ///< where the next buffer must begin, in host frames

    SerialQueue queue{"capture"};
    StampedSource source{queue,
                         [this](const SampleBuffer& buffer) {
                             stamps.push_back(buffer.presentationTime);
                             const auto frame = static_cast<std::int64_t>(
                                 std::floor(buffer.presentationTime.seconds() * kSampleRateHz + 1e-6));
                             EXPECT_TRUE(next < 0 || frame == next) << frame;
                             next = frame + buffer.sampleCount;
                             const auto* samples = reinterpret_cast<const float*>(buffer.data.data());
                             for (std::int64_t i = 0; i < buffer.sampleCount; ++i) {
                                 left.push_back(samples[2 * i]);
                                 EXPECT_EQ(samples[2 * i + 1], -samples[2 * i]);
                             }
                         },
                         2, FirstStamp::AtFrame, kBegin};
};

TEST_F(StampedSourceTest, planarSoundArrivesInterleavedWhereItWasStamped) {
    constexpr std::int64_t kBuffers = 100;
    for (std::int64_t i = 0; i < kBuffers; ++i) deliver(i * kFramesPerBuffer);

    ASSERT_FALSE(stamps.empty());
    EXPECT_EQ(stamps.front().value, hostFrame(-1)) << "the first stamp is the beginning of its frame";
    EXPECT_EQ(stamps.front().timescale, kSampleRateHz);
    EXPECT_EQ(stamps.back().timescale, 2 * kSampleRateHz) << "later ones lie half a frame inside";
    ASSERT_GT(left.size(), (kBuffers - 1) * kFramesPerBuffer);
    for (std::size_t i = 0; i < left.size(); ++i)
        ASSERT_NEAR(left[i], static_cast<float>(i) / 1024, 1e-3) << "frame " << i; // behind one of silence
}

TEST_F(StampedSourceTest, aSilentServiceIsReplacedBySilenceUntilItReturns) {
    for (std::int64_t i = 0; i < 50; ++i) deliver(i * kFramesPerBuffer);
    tickFor(kBegin + 1s, 3s);
    EXPECT_GE(next, hostFrame(2 * 48000)) << "the other source waits for this one";
    const std::size_t silent = left.size();
    EXPECT_EQ(left.back(), 0.0F);

    for (std::int64_t i = 200; i < 300; ++i) deliver(i * kFramesPerBuffer);
    ASSERT_GT(left.size(), silent);
    // Frame n carries the value n + 1: what came after the pause stands where it was stamped.
    EXPECT_NEAR(left.back() * 1024, static_cast<float>(left.size()), 40.0);
}

TEST_F(StampedSourceTest, theEndIsReachedInSilenceAndNothingComesAfterIt) {
    for (std::int64_t i = 0; i < 50; ++i) deliver(i * kFramesPerBuffer);
    source.end(kBegin + 1600ms);
    queue.sync([] {});
    EXPECT_EQ(next, hostFrame(48000 * 16 / 10));
    const std::size_t before = left.size();
    for (std::int64_t i = 80; i < 90; ++i) deliver(i * kFramesPerBuffer);
    tickFor(kBegin + 3s, 1s);
    EXPECT_EQ(left.size(), before);
}

TEST_F(StampedSourceTest, withoutAStampTheMomentOfDeliveryCounts) {
    const std::vector<float> sound(2 * kFramesPerBuffer);
    const std::array planes = {std::as_bytes(std::span(sound))};
    for (int i = 1; i <= 50; ++i)
        source.deliver({kInterleavedStereoFloat, planes, kFramesPerBuffer}, {}, kBegin + i * 20ms);
    queue.sync([] {});
    ASSERT_GT(stamps.size(), 1U);
    EXPECT_EQ(stamps[1].value, 2 * hostFrame(0) + 1) << "half a frame inside the first";
}

} // namespace
} // namespace quillet::apple::test
