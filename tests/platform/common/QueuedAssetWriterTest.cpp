#include "platform/common/QueuedAssetWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <future>

namespace quillet::test {
namespace {

/// A recorder whose file plays nothing once it has failed, as an encoder's that had no time to write a whole fragment.
class FragileRecorder final : public BlockRecorder {
public:
    FragileRecorder(std::int64_t room, int& removes) : m_room(room), m_removes(removes) {}
    Result<void> write(const StereoBlock&) override {
        if (m_blocks == m_room) return fail();
        ++m_blocks;
        return {};
    }
    Result<void> flush() override { return {}; }
    Result<void> drain() override { return {}; }
    std::int64_t framesWritten() const override { return m_blocks * kBlockFrames; }
    std::int64_t framesStored() const override { return m_hasFailed ? 0 : m_blocks * kBlockFrames; }
    Result<std::int64_t> finish() override {
        EXPECT_GT(framesStored(), 0);
        return fail();
    }
    void remove() override { ++m_removes; }

private:
    Failure<PlatformError> fail() {
        m_hasFailed = true;
        return Failure{PlatformError::fromErrno(ENOSPC)};
    }

    const std::int64_t m_room;
    int& m_removes;
    std::int64_t m_blocks = 0;
    bool m_hasFailed = false;
};

TEST(QueuedAssetWriterTest, aFileThatPlaysNothingIsRemovedAndHasFailed) {
    for (const int room : {2, 4}) {
        SCOPED_TRACE(room);
        int removes = 0;
        int interruption = 0;
        const auto writer = *makeQueuedAssetWriter(std::make_unique<FragileRecorder>(room, removes), 4);
        writer->setInterruptionHandler([&](const PlatformError& error) { interruption = error.code; });
        ASSERT_TRUE(writer->addInput({}) && writer->startWriting());
        writer->startSession({0, kSampleRateHz});
        const std::array<float, 2 * kBlockFrames> block{};
        for (const std::int64_t frame : {0, 1024, 2048, 3072})
            writer->append(
                {std::as_bytes(std::span(block)), &kInterleavedStereoFloat, {frame, kSampleRateHz}, kBlockFrames});
        writer->markAsFinished();
        std::promise<AssetWriterStatus> ended;
        writer->finishWriting([&] { ended.set_value(writer->status()); });

        EXPECT_EQ(ended.get_future().get(), AssetWriterStatus::Failed);
        EXPECT_EQ(interruption, ENOSPC);
        EXPECT_EQ(removes, 1);
        EXPECT_EQ(writer->framesInFile(), 0);
    }
}

} // namespace
} // namespace quillet::test
