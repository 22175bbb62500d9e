#include "platform/common/QueuedAssetWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <future>

namespace quillet::test {
namespace {

using Status = AssetWriterStatus;
constexpr int kBatch = 4;
using Blocks = std::array<float, 2 * kBlockFrames>;

/// What a recorder was told, and how it is to behave.
struct Log {
    std::vector<float> blocks{};        ///< the first sample of each; -1 for silence
    std::vector<std::size_t> flushes{}; ///< how many blocks had been written at each
    int finishes = 0;
    int removes = 0;
    std::size_t failsAt = 1000;
    bool playableAfterFailure = true;
    bool finishFails = false;
    std::shared_future<void> mayWrite{}; ///< invalid: at once
    std::function<void()> didFlush{};
};

class FakeRecorder final : public BlockRecorder {
public:
    explicit FakeRecorder(std::shared_ptr<Log> log) : m_log(std::move(log)) {}
    Result<void> write(std::span<const float> interleaved) override {
        if (m_log->mayWrite.valid()) m_log->mayWrite.wait();
        if (m_log->blocks.size() == m_log->failsAt) return fail();
        m_log->blocks.push_back(interleaved.empty() ? -1 : interleaved.front());
        return {};
    }
    Result<void> flush() override {
        m_log->flushes.push_back(m_log->blocks.size());
        if (m_log->didFlush) m_log->didFlush();
        return {};
    }
    Result<void> drain() override { return {}; }
    std::int64_t framesWritten() const override {
        return static_cast<std::int64_t>(m_log->blocks.size()) * kBlockFrames;
    }
    bool holdsSound() const override { return framesWritten() > 0 && (!m_failed || m_log->playableAfterFailure); }
    Result<std::int64_t> finish() override {
        ++m_log->finishes;
        if (m_log->finishFails) return fail();
        return framesWritten();
    }
    void remove() override { ++m_log->removes; }

private:
    Failure<PlatformError> fail() {
        m_failed = true;
        return Failure{PlatformError::fromErrno(ENOSPC)};
    }
    const std::shared_ptr<Log> m_log;
    bool m_failed = false;
};

std::shared_ptr<AssetWriter> startedWriter(const std::shared_ptr<Log>& log) {
    auto writer = *makeQueuedAssetWriter(std::make_unique<FakeRecorder>(log), kBatch);
    EXPECT_TRUE(writer->addInput({}) && writer->startWriting());
    writer->startSession({0, kSampleRateHz});
    return writer;
}

void append(AssetWriter& writer, std::int64_t place) {
    Blocks block{};
    block.fill(static_cast<float>(place));
    writer.append({std::as_bytes(std::span(block)),
                   &kInterleavedStereoFloat,
                   {place * kBlockFrames, kSampleRateHz},
                   kBlockFrames});
}

/// Writes blocks at these places, finishes, and returns the final status and the interruption's code.
struct Ending {
    Status status = Status::Unknown;
    int interruption = 0;
    std::int64_t frames = 0;
};
Ending record(const std::shared_ptr<Log>& log, const std::vector<std::int64_t>& places) {
    const auto writer = startedWriter(log);
    Ending ending;
    writer->setInterruptionHandler([&](const PlatformError& error) { ending.interruption = error.code; });
    for (const std::int64_t place : places) append(*writer, place);
    std::promise<void> done;
    writer->markAsFinished();
    writer->finishWriting([&] {
        ending.status = writer->status();
        ending.frames = writer->framesInFile();
        done.set_value();
    });
    done.get_future().wait();
    return ending;
}

TEST(QueuedAssetWriterTest, blocksReachTheRecorderInOrderWithSilenceBetween) {
    const auto log = std::make_shared<Log>();
    const Ending ending = record(log, {0, 1, 2, 5, 6});
    EXPECT_EQ(log->blocks, (std::vector<float>{0, 1, 2, -1, -1, 5, 6}));
    EXPECT_EQ(ending.status, Status::Completed);
    EXPECT_EQ(ending.interruption, 0);
    EXPECT_EQ(log->finishes, 1);
}

TEST(QueuedAssetWriterTest, anErrorEndsTheFileWithWhatThereIs) {
    const struct {
        const char* name;
        Log behaviour;
        Status expected;
        int finishes;
        int removes;
        int blocks;
    } rows[] = {
        {"full before the first block", {.failsAt = 0}, Status::Failed, 0, 1, 0},
        {"full later, the rest plays", {.failsAt = 2}, Status::Completed, 1, 0, 2},
        {"full later, nothing plays", {.failsAt = 2, .playableAfterFailure = false}, Status::Failed, 0, 1, 0},
        {"finishing fails, the rest plays", {.finishFails = true}, Status::Completed, 1, 0, 4},
        {"finishing fails, nothing plays",
         {.playableAfterFailure = false, .finishFails = true},
         Status::Failed,
         1,
         1,
         0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto log = std::make_shared<Log>(row.behaviour);
        const Ending ending = record(log, {0, 1, 2, 3});
        EXPECT_EQ(ending.status, row.expected);
        EXPECT_EQ(ending.interruption, ENOSPC);
        EXPECT_EQ(log->finishes, row.finishes);
        EXPECT_EQ(log->removes, row.removes);
        EXPECT_EQ(ending.frames, row.blocks * kBlockFrames);
    }
}

TEST(QueuedAssetWriterTest, soundReachesTheDiskAtOnceUnlessMoreIsWaiting) {
    std::promise<void> flushed, mayWrite;
    const auto prompt = std::make_shared<Log>();
    prompt->didFlush = [&] { flushed.set_value(); };
    {
        const auto writer = startedWriter(prompt);
        for (int place = 0; place < kBatch; ++place) append(*writer, place);
        EXPECT_EQ(flushed.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    }
    const auto heldUp = std::make_shared<Log>();
    heldUp->mayWrite = mayWrite.get_future();
    {
        const auto writer = startedWriter(heldUp);
        for (int place = 0; place < 11 * kBatch; ++place) append(*writer, place);
        mayWrite.set_value();
    }
    EXPECT_EQ(prompt->flushes, std::vector<std::size_t>{kBatch});
    EXPECT_EQ(heldUp->flushes, (std::vector<std::size_t>{8 * kBatch, 11 * kBatch}));
}

} // namespace
} // namespace quillet::test
