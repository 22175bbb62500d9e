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
    struct Log {
        int finishes = 0;
        int removes = 0;
    };
    enum class Fails { Writing, Finishing };

    FragileRecorder(Fails fails, Log& log) : m_fails(fails), m_log(log) {}
    Result<void> write(std::span<const float>) override {
        if (m_fails == Fails::Writing && m_blocks == 2) return fail();
        ++m_blocks;
        return {};
    }
    Result<void> flush() override { return {}; }
    Result<void> drain() override { return {}; }
    std::int64_t framesWritten() const override { return m_blocks * kBlockFrames; }
    bool holdsSound() const override { return m_blocks > 0 && !m_hasFailed; }
    Result<std::int64_t> finish() override {
        ++m_log.finishes;
        return fail();
    }
    void remove() override { ++m_log.removes; }

private:
    Failure<PlatformError> fail() {
        m_hasFailed = true;
        return Failure{PlatformError::fromErrno(ENOSPC)};
    }

    const Fails m_fails;
    Log& m_log;
    std::int64_t m_blocks = 0;
    bool m_hasFailed = false;
};

TEST(QueuedAssetWriterTest, aFileThatPlaysNothingIsRemovedAndHasFailed) {
    using Fails = FragileRecorder::Fails;
    for (const auto fails : {Fails::Writing, Fails::Finishing}) {
        SCOPED_TRACE(fails == Fails::Writing ? "writing" : "finishing");
        FragileRecorder::Log log;
        int interruption = 0;
        const auto writer = *makeQueuedAssetWriter(std::make_unique<FragileRecorder>(fails, log), 4);
        writer->setInterruptionHandler([&](const PlatformError& error) { interruption = error.code; });
        ASSERT_TRUE(writer->addInput({}) && writer->startWriting());
        writer->startSession({0, kSampleRateHz});
        const std::array<float, 2 * kBlockFrames> block{};
        for (const std::int64_t place : {0, 1, 2, 3})
            writer->append({std::as_bytes(std::span(block)),
                            &kInterleavedStereoFloat,
                            {place * kBlockFrames, kSampleRateHz},
                            kBlockFrames});
        writer->markAsFinished();
        std::promise<AssetWriterStatus> ended;
        writer->finishWriting([&] { ended.set_value(writer->status()); });

        EXPECT_EQ(ended.get_future().get(), AssetWriterStatus::Failed);
        EXPECT_EQ(interruption, ENOSPC);
        EXPECT_EQ(log.finishes, fails == Fails::Writing ? 0 : 1);
        EXPECT_EQ(log.removes, 1);
        EXPECT_EQ(writer->framesInFile(), 0);
    }
}

} // namespace
} // namespace quillet::test
