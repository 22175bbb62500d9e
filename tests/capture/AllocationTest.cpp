// On its own, for it replaces the program's allocation functions by ones that count.
#include "capture/AudioMixer.h"
#include "capture/DeliveryPool.h"
#include "platform/common/QueuedAssetWriter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>

namespace {

std::atomic<bool> isCounting = false;
thread_local bool isExempt = false;
std::atomic<int> allocations = 0;

} // namespace

void* operator new(std::size_t bytes) {
    if (isCounting && !isExempt) ++allocations;
    if (void* const memory = std::malloc(bytes)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace quillet::test {
namespace {

class ForgetfulRecorder final : public BlockRecorder {
public:
    Result<void> write(const StereoBlock&) override {
        m_frames += kBlockFrames;
        return {};
    }
    Result<void> flush() override { return {}; }
    Result<void> drain() override { return {}; }
    std::int64_t framesWritten() const override { return m_frames; }
    std::int64_t framesStored() const override { return m_frames; }
    Result<std::int64_t> finish() override { return m_frames.load(); }
    void remove() override {}

private:
    std::atomic<std::int64_t> m_frames = 0;
};

class ToWriter final : public BlockSink {
public:
    explicit ToWriter(AssetWriter& writer) : m_writer(writer) {}
    bool prepareForBlocks() override { return true; }
    bool isReadyForBlock() override { return m_writer.isReadyForMoreMediaData(); }
    void takeBlock(const MixedBlock& block, FramePos at) override {
        const MediaTime time{at.time_since_epoch().count(), kSampleRateHz};
        taken += m_writer.append({std::as_bytes(std::span(block)), &kInterleavedStereoFloat, time, kBlockFrames});
    }
    int taken = 0;

private:
    AssetWriter& m_writer;
};

TEST(AllocationTest, aDeliveryOnItsWayToTheWriterAllocatesNothingOnceWarm) {
    auto writer = makeQueuedAssetWriter(std::make_unique<ForgetfulRecorder>(), 32);
    ASSERT_TRUE(writer.ok() && (*writer)->addInput({}) && (*writer)->startWriting());
    (*writer)->startSession({0, kSampleRateHz});
    ToWriter sink(**writer);
    CaptureMeters meters;
    AudioMixer mixer(sink, meters);
    mixer.reset();
    SerialQueue queue("test.capture");
    DeliveryPool system(
        queue, [&](const SampleBuffer& buffer) { mixer.deliverSystemAudio(buffer); }, 2,
        DeliveryPool::FirstStamp::AtFrame);
    DeliveryPool microphone(
        queue, [&](const SampleBuffer& buffer) { mixer.deliverMicrophone(buffer); }, 1,
        DeliveryPool::FirstStamp::InsideFrame);
    constexpr std::int64_t kTick = 960, kWarmTicks = 100, kTicks = 1000;
    const std::vector<float> sound(2 * kTick, 0.25F);
    for (std::int64_t tick = 0; tick < kTicks; ++tick) {
        if (tick == kWarmTicks) isCounting = true;
        const HostFramePos at{FrameCount(tick * kTick)};
        system.deliver(at, sound);
        microphone.deliver(at, std::span(sound).first(kTick));
        if (tick % 10 != 0 && tick + 1 != kTicks) continue;
        isExempt = true; // waiting allocates
        queue.sync([] {});
        while ((*writer)->freeBlocks() < 352) std::this_thread::yield();
        isExempt = false;
    }
    isCounting = false;

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(sink.taken, kTicks * kTick / kBlockFrames);
    (*writer)->markAsFinished();
    (*writer)->finishWriting([] {});
}

} // namespace
} // namespace quillet::test
