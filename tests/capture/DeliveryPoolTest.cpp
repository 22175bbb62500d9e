#include "capture/DeliveryPool.h"

#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <semaphore>

namespace quillet {
namespace {

using test::waitFor;

struct Received {
    MediaTime at;
    std::vector<float> samples;
};

class DeliveryPoolTest : public testing::Test {
protected:
    SampleHandler keep() {
        return [this](const SampleBuffer& buffer) {
            Received copy{buffer.presentationTime, std::vector<float>(buffer.data.size() / sizeof(float))};
            std::memcpy(copy.samples.data(), buffer.data.data(), buffer.data.size());
            received.push_back(std::move(copy));
        };
    }
    std::vector<Received> received; ///< capture queue
    SerialQueue queue{"test"};
};

TEST_F(DeliveryPoolTest, LongDeliveriesArriveInPiecesWithTheirOwnTimes) {
    DeliveryPool pool(queue, keep(), 1, DeliveryPool::FirstStamp::AtFrame);
    constexpr std::size_t kPiece = DeliveryPool::kFramesPerBuffer;
    std::vector<float> ramp(2 * kPiece + 100);
    for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i) / static_cast<float>(ramp.size());

    EXPECT_EQ(pool.deliver(HostFramePos{FrameCount(1000)}, ramp), ramp.size());
    queue.sync([] {});

    ASSERT_EQ(received.size(), 3U);
    EXPECT_EQ(received[0].at.value * 2, 2000 * received[0].at.timescale / kSampleRateHz) << "the edge of the frame";
    EXPECT_EQ(received[1].at.value, static_cast<std::int64_t>(2 * (1000 + kPiece) + 1)) << "half a frame inside";
    EXPECT_EQ(received[2].at.value, static_cast<std::int64_t>(2 * (1000 + 2 * kPiece) + 1));
    EXPECT_EQ(received[2].samples.back(), ramp.back());
}

TEST_F(DeliveryPoolTest, WhatIsNoSampleIsReplaced) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    DeliveryPool pool(queue, keep(), 2, DeliveryPool::FirstStamp::InsideFrame);
    const struct {
        float bad, replacement;
    } rows[] = {{std::nanf(""), 0}, {kInfinity, 0}, {-kInfinity, 0}, {3e38F, kLargestSample}, {-5000, -kLargestSample}};
    for (const auto& row : rows) {
        for (std::size_t place = 0; place < 6; ++place) {
            SCOPED_TRACE(testing::Message() << row.bad << " at " << place);
            std::vector<float> samples{0.5F, -1.5F, 2.5F, -kLargestSample, kLargestSample, 0};
            samples[place] = row.bad;
            received.clear();
            pool.deliver({}, samples);
            queue.sync([] {});

            samples[place] = row.replacement;
            EXPECT_EQ(received.at(0).samples, samples);
        }
    }
}

TEST_F(DeliveryPoolTest, AStarvedQueueTakesWhatItCanAndGoesOnLater) {
    std::binary_semaphore release(0);
    queue.async([&] { release.acquire(); });
    DeliveryPool pool(queue, keep(), 1, DeliveryPool::FirstStamp::InsideFrame);
    const std::vector<float> half(30 * kSampleRateHz, 0.5F);
    for (int i = 0; i < 10 * kSampleRateHz / 1024; ++i)
        ASSERT_EQ(pool.deliver({}, std::span(half).first(1024)), 1024U) << "a disk that wakes takes so long";
    release.release();
    queue.sync([] {});
    received.clear();
    queue.async([&] { release.acquire(); });

    const std::size_t taken = pool.deliver({}, half);
    EXPECT_EQ(taken, DeliveryPool::kBuffers * DeliveryPool::kFramesPerBuffer);
    EXPECT_EQ(pool.deliver({}, half), 0U);
    release.release();
    queue.sync([] {});

    EXPECT_EQ(pool.deliver({}, std::span(half).first(100)), 100U);
    queue.sync([] {});
    EXPECT_EQ(received.size(), DeliveryPool::kBuffers + 1);
}

TEST_F(DeliveryPoolTest, AFragmentInPiecesWaitsForTheNextWhichWakesTheQueueByItself) {
    std::atomic<int> arrived = 0;
    int delivered = 0;
    DeliveryPool pool(
        queue, [&](const SampleBuffer&) { ++arrived; }, 2, DeliveryPool::FirstStamp::InsideFrame);
    const auto deliver = [&](std::size_t frames) {
        EXPECT_EQ(pool.deliver({}, std::vector<float>(2 * frames)), frames);
        ++delivered;
    };
    const auto allArrived = [&] { return arrived == delivered; };

    bool waits = false; // at first the queue's thread may be awake still and take along what comes
    for (int attempt = 0; attempt < 20 && !waits; ++attempt) {
        deliver(905);
        deliver(120);
        waits = !waitFor(allArrived, 20);
    }
    EXPECT_TRUE(waits) << "each fragment wakes the queue";
    deliver(1023);
    EXPECT_TRUE(waitFor(allArrived));

    for (std::size_t i = 0; i < DeliveryPool::kBuffers; ++i) deliver(2);
    EXPECT_TRUE(waitFor([&] { return arrived >= delivered - static_cast<int>(DeliveryPool::kBuffers / 2); }))
        << "small pieces do so before they take the last buffer";
    deliver(2048);
    EXPECT_TRUE(waitFor(allArrived));
    queue.sync([] {}); // nothing is left to arrive after the counters are gone
}

TEST_F(DeliveryPoolTest, NothingArrivesAfterCloseAlsoWhenThePoolIsGone) {
    std::binary_semaphore release(0);
    auto pool = std::make_unique<DeliveryPool>(queue, keep(), 1, DeliveryPool::FirstStamp::InsideFrame);
    queue.async([&] {
        release.acquire();
        pool->close();
        pool.reset();
    });
    pool->deliver({}, std::vector<float>(4800));
    release.release();
    queue.sync([] {});
    EXPECT_TRUE(received.empty());
}

TEST_F(DeliveryPoolTest, ASourceThatStopsLosesNothingOfWhatItHasDelivered) {
    DeliveryPool pool(queue, keep(), 1, DeliveryPool::FirstStamp::InsideFrame);
    queue.sync([&] {
        pool.deliver({}, std::vector<float>(480));
        pool.closeBehindDeliveries();
        pool.deliver({}, std::vector<float>(480));
    });
    queue.sync([] {});
    EXPECT_EQ(received.size(), 1U);
}

} // namespace
} // namespace quillet
