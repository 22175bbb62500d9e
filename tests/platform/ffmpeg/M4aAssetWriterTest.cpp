#include "platform/linux/ffmpeg/M4aAssetWriter.h"

#include "platform/linux/ffmpeg/RecordingPipeline.h"
#include "storage/RecordingRecovery.h"
#include "storage/m4a/FinishInPlace.h"
#include "storage/m4a/TestRecordings.h"
#include "support/ThreadConditions.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <future>
#include <sys/syscall.h>

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using Status = AssetWriterStatus;

const m4a::Retries kSoon = {1ms, 1ms, 1ms};

bool eventually(const std::function<bool()>& condition) { return waitFor(condition, 20'000); }

bool begin(AssetWriter& writer, std::int64_t sessionStart = 0) {
    if (!writer.addInput({}) || !writer.startWriting()) return false;
    writer.startSession({sessionStart, kSampleRateHz});
    return true;
}

SampleBuffer bufferOf(const std::vector<float>& sound, std::int64_t block, std::int64_t atBlock) {
    const auto samples = std::span(sound).subspan(static_cast<std::size_t>(block) * kBlockSamples, kBlockSamples);
    return {std::as_bytes(samples), &kInterleavedStereoFloat, {atBlock * kBlockFrames, kSampleRateHz}, kBlockFrames};
}

/// Appends as soon as there is room, as the engine does.
bool appendWhenReady(AssetWriter& writer, const SampleBuffer& block) {
    return eventually([&] { return writer.freeBlocks() > 0 || writer.status() != Status::Writing; }) &&
           writer.append(block);
}

/// The final status.
Status finish(AssetWriter& writer) {
    std::promise<Status> done;
    writer.markAsFinished();
    writer.finishWriting([&] { done.set_value(writer.status()); });
    return done.get_future().get();
}

/// Of one channel in one block.
double energyDb(const std::vector<float>& decoded, std::size_t block, std::size_t channel) {
    double energy = 1e-12;
    for (std::size_t i = channel; i < kBlockSamples; i += 2) energy += std::pow(decoded[block * kBlockSamples + i], 2);
    return 10 * std::log10(energy / kBlockFrames);
}

struct MemoryWriter {
    std::shared_ptr<MemoryDisk> disk = std::make_shared<MemoryDisk>();
    std::shared_ptr<AssetWriter> writer;
    std::atomic<int> interruptions = 0;
    std::atomic<int> interruptionCode = 0;

    ~MemoryWriter() { release(); } // a test that gives up early must not wait for its disk for ever

    /// Appends a first batch, waits until the disk holds that up, and appends the other blocks.
    void getStuckBehind(const std::vector<float>& sound, std::int64_t blocks) {
        for (std::int64_t i = 0; i < blocks; ++i) {
            ASSERT_TRUE(writer->append(bufferOf(sound, i, i)));
            if (i + 1 != RecordingPipeline::kBlocksPerFragment) continue;
            std::unique_lock lock(disk->mutex);
            ASSERT_TRUE(disk->changed.wait_for(lock, 20s, [&] { return disk->syncsWaiting > 0; }));
        }
    }
    void release() {
        {
            const std::lock_guard lock(disk->mutex);
            disk->holdsSyncs = false;
        }
        disk->changed.notify_all();
    }

    void make(std::int64_t sessionStart = 0) {
        auto made = makeM4aAssetWriter(std::make_unique<MemoryFile>(disk), kSoon);
        ASSERT_TRUE(made.ok());
        writer = *made;
        writer->setInterruptionHandler([this](const PlatformError& error) {
            interruptionCode = error.code;
            ++interruptions;
        });
        ASSERT_TRUE(begin(*writer, sessionStart));
    }
    /// How many blocks it took.
    std::int64_t append(const std::vector<float>& sound) {
        const auto blocks = static_cast<std::int64_t>(sound.size() / kBlockSamples);
        for (std::int64_t i = 0; i < blocks; ++i) {
            if (!appendWhenReady(*writer, bufferOf(sound, i, i))) return i;
        }
        return blocks;
    }
};

TEST(M4aAssetWriterTest, everyBlockIsInTheFileAtItsPlaceAndNothingElse) {
    const TemporaryFolder folder;
    M4aAssetWriterFactory factory;
    for (const std::int64_t blocks : {1, 2, 31, 32, 33, 63, 1000}) {
        SCOPED_TRACE(blocks);
        const std::vector<float> sound = testSound(blocks);
        const auto writer = factory.makeWriter(folder / "a.m4a");
        ASSERT_TRUE(writer.ok()) << writer.error().description.toStdString();
        ASSERT_TRUE(begin(**writer));
        for (std::int64_t i = 0; i < blocks; ++i) ASSERT_TRUE(appendWhenReady(**writer, bufferOf(sound, i, i)));

        ASSERT_EQ(finish(**writer), Status::Completed);

        const ByteVector file = readFile(folder / "a.m4a");
        EXPECT_TRUE(demux(file).isPlain);
        const std::vector<float> decoded = decode(file);
        EXPECT_EQ(decoded.size(), sound.size());
        EXPECT_LT(worstBlockDb(decoded, sound), -15);
        EXPECT_TRUE(recoverRecordings(folder.path()).empty());
    }
    EXPECT_EQ(folder.names().size(), 7U); // the earlier ones were set aside
}

TEST(M4aAssetWriterTest, gapsBecomeSilenceAndUnusableSamplesToo) {
    constexpr std::int64_t kStart = 5; // the session starts in the middle of the source's time
    constexpr std::int64_t kPlaces[] = {3, 4, 5, 6, 40, 41, 42, 43, 44};
    constexpr std::int64_t kTotal = 45;
    const std::vector<float> sound = testSound(std::size(kPlaces));
    std::vector<float> expected(kTotal * kBlockSamples, 0.0F);
    MemoryWriter memory;
    memory.make(kStart * kBlockFrames);
    std::vector<float> given = sound;
    std::fill_n(given.begin() + 2 * kBlockSamples, kBlockSamples / 2, std::numeric_limits<float>::quiet_NaN());
    std::fill_n(given.begin() + 2 * kBlockSamples + kBlockSamples / 2, kBlockSamples / 2, -HUGE_VALF);
    for (std::size_t i = 0; i < std::size(kPlaces); ++i) {
        ASSERT_TRUE(memory.writer->append(bufferOf(given, static_cast<std::int64_t>(i), kStart + kPlaces[i])));
        if (i == 2) continue;
        std::copy_n(sound.begin() + static_cast<std::ptrdiff_t>(i * kBlockSamples), kBlockSamples,
                    expected.begin() + kPlaces[i] * static_cast<std::int64_t>(kBlockSamples));
    }
    ASSERT_EQ(finish(*memory.writer), Status::Completed);

    const std::vector<float> decoded = decode(memory.disk->bytes);
    ASSERT_EQ(decoded.size(), expected.size());
    for (std::int64_t block = 0; block < kTotal; ++block) {
        SCOPED_TRACE(block);
        const bool silent = std::ranges::find(kPlaces, block) == std::end(kPlaces) || block == kPlaces[2];
        const bool besideSound = block == kPlaces[2] || block == 2 || block == 7 || block == 39; // AAC smears a little
        const double db = energyDb(decoded, static_cast<std::size_t>(block), 0);
        EXPECT_TRUE(silent ? db < (besideSound ? -25 : -80) : db > -15) << db;
    }
    const auto behindGap = static_cast<std::ptrdiff_t>(41 * kBlockSamples);
    EXPECT_LT(
        worstBlockDb({decoded.begin() + behindGap, decoded.end()}, {expected.begin() + behindGap, expected.end()}),
        -15);
}

TEST(M4aAssetWriterTest, channelsStayApartHoweverAlikeTheyWereBefore) {
    // Runs of blocks that are the same in both channels, each before a run of as many that are to be heard on the left
    // only: the encoder treats the two differently, and must not be late in changing.
    std::vector<float> sound = testSound(600);
    std::vector<bool> leftOnly;
    for (std::size_t run = 1; leftOnly.size() < 600; run = run % 7 + 1) {
        leftOnly.insert(leftOnly.end(), run, false);
        leftOnly.insert(leftOnly.end(), run, true);
    }
    for (std::size_t i = 0; i < sound.size(); i += 2) sound[i + 1] = leftOnly[i / kBlockSamples] ? 0.0F : sound[i];
    MemoryWriter memory;
    memory.make();
    ASSERT_EQ(memory.append(sound), 600);
    ASSERT_EQ(finish(*memory.writer), Status::Completed);

    const std::vector<float> decoded = decode(memory.disk->bytes);
    ASSERT_EQ(decoded.size(), sound.size());
    EXPECT_LT(worstBlockDb(decoded, sound), -15);
    double leaked = -200;
    for (std::size_t block = 1; block + 1 < 600; ++block) {
        if (!leftOnly[block - 1] || !leftOnly[block] || !leftOnly[block + 1]) continue;
        leaked = std::max(leaked, energyDb(decoded, block, 1));
    }
    EXPECT_LT(leaked, -60);
}

TEST(M4aAssetWriterTest, refusesWhatDoesNotBelongIntoTheFile) {
    const std::vector<float> sound = testSound(3);
    auto made = makeM4aAssetWriter(std::make_unique<MemoryFile>(std::make_shared<MemoryDisk>()), kSoon);
    ASSERT_TRUE(made.ok());
    AssetWriter& writer = **made;
    AudioOutputSettings mono;
    mono.channelCount = 1;

    EXPECT_FALSE(writer.startWriting()) << "without input";
    EXPECT_FALSE(writer.addInput(mono));
    EXPECT_FALSE(writer.append(bufferOf(sound, 0, 0))) << "not started";
    EXPECT_EQ(writer.freeBlocks(), 0);
    ASSERT_TRUE(begin(writer));
    ASSERT_TRUE(writer.append(bufferOf(sound, 1, 1)));

    SampleBuffer crooked = bufferOf(sound, 2, 2);
    crooked.presentationTime.value += 1;
    SampleBuffer half = bufferOf(sound, 2, 2);
    half.sampleCount = kBlockFrames / 2;
    const std::pair<const char*, SampleBuffer> rows[] = {{"a second time", bufferOf(sound, 1, 1)},
                                                         {"too late", bufferOf(sound, 0, 0)},
                                                         {"days later", bufferOf(sound, 2, 10'000'000)},
                                                         {"between two blocks", crooked},
                                                         {"half a block", half}};
    for (const auto& [name, buffer] : rows) EXPECT_FALSE(writer.append(buffer)) << name;
    EXPECT_EQ(writer.freeBlocks(), 703);
    writer.markAsFinished();
    EXPECT_FALSE(writer.append(bufferOf(sound, 2, 2))) << "after the end";
    EXPECT_EQ(writer.freeBlocks(), 0);
    EXPECT_EQ(finish(writer), Status::Completed);
}

TEST(M4aAssetWriterTest, tellsASourceThatCanWaitWhenToGoOn) {
    constexpr std::int64_t kMostWaiting = 48;
    const std::vector<float> sound = testSound(100);
    for (const bool diskRecovers : {true, false}) {
        SCOPED_TRACE(diskRecovers ? "the disk goes on" : "the recording ends");
        std::atomic<int> replaced = 0;
        std::atomic<int> told = 0;
        std::atomic<std::int64_t> freeThen = 0;
        MemoryWriter memory;
        memory.disk->holdsSyncs = true;
        memory.make();
        EXPECT_TRUE(memory.writer->requestMediaData(kMostWaiting, [&] { ++replaced; }));
        memory.getStuckBehind(sound, 100);

        EXPECT_FALSE(memory.writer->requestMediaData(kMostWaiting, [&] { ++replaced; }));
        EXPECT_FALSE(memory.writer->requestMediaData(kMostWaiting, [&] {
            freeThen = memory.writer->freeBlocks();
            ++told;
        }));
        EXPECT_EQ(told, 0);
        if (!diskRecovers) {
            memory.writer->markAsFinished();
            EXPECT_FALSE(memory.writer->requestMediaData(kMostWaiting, [&] { ++replaced; }));
        }
        memory.release();
        EXPECT_TRUE(eventually([&] { return told > 0 || !diskRecovers; }));
        EXPECT_EQ(freeThen, diskRecovers ? 704 - kMostWaiting : 0);
        EXPECT_EQ(finish(*memory.writer), Status::Completed);
        EXPECT_EQ(told, diskRecovers ? 1 : 0) << "after the end nobody must be told to go on";
        EXPECT_EQ(replaced, 0);
    }
}

TEST(M4aAssetWriterTest, aStuckDiskFillsTheQueueAndLosesNothing) {
    constexpr std::int64_t kBatch = RecordingPipeline::kBlocksPerFragment;
    constexpr std::int64_t kQueue = 704;
    const std::vector<float> sound = testSound(kBatch + kQueue + 1);
    MemoryWriter memory;
    memory.disk->holdsSyncs = true;
    memory.make();
    memory.getStuckBehind(sound, kBatch);

    for (std::int64_t i = 0; i < kQueue; ++i) {
        ASSERT_EQ(memory.writer->freeBlocks(), kQueue - i);
        ASSERT_TRUE(memory.writer->append(bufferOf(sound, kBatch + i, kBatch + i)));
    }
    EXPECT_EQ(memory.writer->freeBlocks(), 0);
    EXPECT_FALSE(memory.writer->append(bufferOf(sound, kBatch + kQueue, kBatch + kQueue)));
    memory.release();

    ASSERT_EQ(finish(*memory.writer), Status::Completed);
    const std::vector<float> decoded = decode(memory.disk->bytes);
    EXPECT_EQ(decoded.size(), (kBatch + kQueue) * kBlockSamples);
    EXPECT_LT(memory.disk->syncs, 10) << "of 22 fragments that were waiting, eight go to the disk at a time";
    EXPECT_LT(worstBlockDb(decoded, sound), -15);
    EXPECT_EQ(memory.interruptions, 0);
}

TEST(M4aAssetWriterTest, whateverTheDiskDoesTheSoundInFrontOfItIsKept) {
    const std::vector<float> sound = testSound(1500);
    enum class File { Plain, Fragments, Gone };
    const struct {
        const char* name;
        std::function<void(MemoryDisk& disk)> arrange;
        int interruptionCode;
        Status status;
        File file;
        std::size_t leastBlocks;
    } rows[] = {
        {"full disk", [](auto& disk) { disk.capacity = 700'000; }, ENOSPC, Status::Completed, File::Plain, 500},
        {"full disk that cannot reserve", [](auto& disk) { disk.capacity = 488'000, disk.canReserve = false; }, ENOSPC,
         Status::Completed, File::Plain, 250},
        {"full from the start", [](auto& disk) { disk.capacity = 10'000; }, ENOSPC, Status::Failed, File::Gone, 0},
        {"device gone", [](auto& disk) { disk.bytesUntilFault = 200'000; }, EIO, Status::Completed, File::Fragments,
         250},
        {"one fault too many", [](auto& disk) { disk.syncsToFail = 8; }, EIO, Status::Failed, File::Gone, 0},
        {"a passing fault", [](auto& disk) { disk.syncsToFail = 3; }, 0, Status::Completed, File::Plain, 1500},
        {"finishing fails", [](auto& disk) { disk.canRead = false; }, EIO, Status::Failed, File::Fragments, 1500}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MemoryWriter memory;
        MemoryDisk& disk = *memory.disk;
        row.arrange(disk);
        memory.make();
        const bool tookAll = memory.append(sound) == 1500;
        EXPECT_EQ(tookAll, row.leastBlocks == 1500);
        if (!tookAll) {
            // It ends by itself, without being asked to.
            ASSERT_TRUE(eventually([&] { return memory.interruptions > 0; }));
            EXPECT_EQ(memory.writer->status(), row.status);
            EXPECT_EQ(memory.writer->freeBlocks(), 0);
            EXPECT_TRUE(disk.closed);
        }

        EXPECT_EQ(finish(*memory.writer), row.status);

        EXPECT_EQ(memory.interruptionCode, row.interruptionCode);
        EXPECT_EQ(memory.interruptions, row.interruptionCode == 0 ? 0 : 1);
        EXPECT_EQ(disk.removed, row.file == File::Gone);
        const std::int64_t frames = memory.writer->framesInFile();
        EXPECT_EQ(frames == 0, row.file == File::Gone);
        if (row.file == File::Gone) continue;
        EXPECT_EQ(demux(disk.bytes).isPlain, row.file == File::Plain);
        ByteVector bytes = disk.bytes;
        if (row.file == File::Fragments) {
            MemoryFile later(bytes); // when there is room again
            ASSERT_TRUE(m4a::finishInPlace(later, {}).ok());
            bytes = later.disk().bytes;
        }
        const std::vector<float> decoded = decode(bytes);
        EXPECT_LT(worstBlockDb(decoded, sound), -15);
        EXPECT_EQ(std::ssize(decoded), 2 * frames);
        EXPECT_GE(decoded.size(), row.leastBlocks * kBlockSamples);
    }
}

TEST(M4aAssetWriterTest, aVolumeThatIsReallyFullLeavesAPlainFileOfWhatHadRoom) {
    const std::vector<float> sound = testSound(2400); // 1.6 MiB
    constexpr std::size_t kPage =
        4096; // with one less for it, a last fragment that is cut leaves no room for the index
    const FailingCall reservesNothing{__NR_fallocate, EOPNOTSUPP};
    for (const auto& lacking : {std::vector<FailingCall>{}, std::vector{reservesNothing}}) {
        SCOPED_TRACE(lacking.size());
        const TemporaryFolder folder;
        std::atomic<int> interruptionCode = 0;
        auto status = Status::Unknown;
        std::int64_t frames = 0;
        ByteVector file;
        const auto fill = [&] {
            writeFile(folder / "other", ByteVector(kPage));
            M4aAssetWriterFactory factory;
            const auto writer = factory.makeWriter(folder / "a.m4a");
            ASSERT_TRUE(writer.ok()) << writer.error().description.toStdString();
            (*writer)->setInterruptionHandler([&](const PlatformError& error) { interruptionCode = error.code; });
            ASSERT_TRUE(begin(**writer));
            std::int64_t taken = 0;
            while (taken < 2400 && appendWhenReady(**writer, bufferOf(sound, taken, taken))) ++taken;
            EXPECT_LT(taken, 2400);
            status = finish(**writer);
            frames = (*writer)->framesInFile();
            file = readFile(folder / "a.m4a");
        };
        std::string why;
        const std::string failure =
            runOnVolume(Volume::OfOneMebibyte, folder.path(), [&] { why = runWithFailingCalls(lacking, fill); });
        if (!failure.empty() || !why.empty()) GTEST_SKIP() << failure << why;

        EXPECT_EQ(interruptionCode, ENOSPC);
        EXPECT_EQ(status, Status::Completed);
        EXPECT_TRUE(demux(file).isPlain);
        EXPECT_GT(file.size(), 512U << 10) << "not much room is kept free";
        const std::vector<float> decoded = decode(file);
        EXPECT_EQ(std::ssize(decoded), 2 * frames);
        EXPECT_LT(worstBlockDb(decoded, sound), -15);
    }
}

TEST(M4aAssetWriterTest, endingWithoutAFinishedFile) {
    const TemporaryFolder folder;
    constexpr std::int64_t kBlocks = RecordingPipeline::kBlocksPerFragment + 6;
    const std::vector<float> sound = testSound(kBlocks);
    M4aAssetWriterFactory factory;

    auto cancelled = factory.makeWriter(folder / "cancelled.m4a");
    ASSERT_TRUE(cancelled.ok() && begin(**cancelled));
    for (std::int64_t i = 0; i < kBlocks; ++i) ASSERT_TRUE((*cancelled)->append(bufferOf(sound, i, i)));
    (*cancelled)->cancelWriting();
    EXPECT_EQ((*cancelled)->status(), Status::Cancelled);
    EXPECT_EQ((*cancelled)->freeBlocks(), 0);
    EXPECT_TRUE(eventually([&] { return folder.names().empty(); }));

    auto silent = factory.makeWriter(folder / "silent.m4a");
    ASSERT_TRUE(silent.ok() && begin(**silent));
    EXPECT_EQ(finish(**silent), Status::Failed);
    EXPECT_TRUE(folder.names().empty());

    auto dropped = factory.makeWriter(folder / "dropped.m4a");
    ASSERT_TRUE(dropped.ok() && begin(**dropped));
    EXPECT_FALSE(factory.makeWriter(folder / "dropped.m4a").ok()) << "taken while it is being written";
    for (std::int64_t i = 0; i < kBlocks; ++i) ASSERT_TRUE((*dropped)->append(bufferOf(sound, i, i)));
    *dropped = nullptr;
    std::filesystem::last_write_time(folder / "dropped.m4a", {}); // what is recent is watched for a while first
    const auto recovered = recoverRecordings(folder.path());
    ASSERT_EQ(recovered.size(), 1U);
    EXPECT_EQ(recovered[0].kind, RecoveryOutcome::Kind::Repaired);
    EXPECT_LT(worstBlockDb(decode(folder / "dropped.m4a"), sound), -15);

    EXPECT_FALSE(factory.makeWriter(folder / "missing" / "a.m4a").ok());
    const std::string why = runWithFailingCalls({{__NR_clone3, EAGAIN}, {__NR_clone, EAGAIN}}, [&] {
        EXPECT_FALSE(factory.makeWriter(folder / "threadless.m4a").ok());
    });
    EXPECT_EQ(folder.names().size(), 1U);
    if (!why.empty()) GTEST_SKIP() << why;
}

TEST(M4aAssetWriterTest, livesUntilTheCompletionHasReturnedAndEndsAnywhere) {
    for (const bool ownerWaits : {false, true}) {
        auto disk = std::make_shared<MemoryDisk>();
        auto made = makeM4aAssetWriter(std::make_unique<MemoryFile>(disk), kSoon);
        ASSERT_TRUE(made.ok() && begin(**made));
        const std::vector<float> sound = testSound(2);
        ASSERT_TRUE((*made)->append(bufferOf(sound, 0, 0)));
        std::weak_ptr<AssetWriter> weak = *made;
        AssetWriter* const raw = made->get();
        std::promise<Status> seen;
        raw->markAsFinished();
        raw->finishWriting([&, held = ownerWaits ? *made : nullptr] {
            const bool closed = disk->closed;
            seen.set_value(closed && !weak.expired() ? raw->status() : Status::Unknown);
        });
        *made = nullptr;
        EXPECT_EQ(seen.get_future().get(), Status::Completed);
        EXPECT_TRUE(eventually([&] { return weak.expired(); }));
    }
}

} // namespace
} // namespace quillet::test
