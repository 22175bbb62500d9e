#include "capture/FilePlayer.h"

#include "support/FakeHardware.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

namespace quillet::test {
namespace {

/// A file whose samples follow from their position, read in awkward portions.
class FakeReader final : public AudioFileReader {
public:
    FakeReader(int channelCount, std::size_t frames, float first)
        : m_channels(channelCount), m_left(frames), m_next(first) {}
    int channels() const override { return m_channels; }
    std::size_t read(std::span<float> interleaved) override {
        const std::size_t asked = interleaved.size() / static_cast<std::size_t>(m_channels);
        const std::size_t frames = std::min({asked, m_left, std::size_t{777}});
        for (std::size_t i = 0; i < frames * static_cast<std::size_t>(m_channels); ++i) {
            m_next = std::fmod(m_next * 1.7F + 0.311F, 1.0F);
            interleaved[i] = m_next - 0.5F;
        }
        m_left -= frames;
        framesRead += frames;
        return frames;
    }
    std::optional<PlatformError> readError() const override { return error; }

    std::atomic<std::size_t> framesRead = 0;
    std::optional<PlatformError> error;

private:
    const int m_channels;
    std::size_t m_left;
    float m_next;
};

struct Outcome {
    std::vector<float> samples;
    std::int64_t dropped = 0;
    FilePlayer::ReadFailures failures;
};

/// A writer that is full now and then, and tells from a thread of its own when it no longer is.
class BusyWriter {
public:
    ~BusyWriter() {
        for (auto& thread : m_telling) thread.join();
    }
    bool takes(const std::function<void()>& whenReady) {
        if (++m_asked % 3 != 0) return true;
        m_telling.emplace_back(whenReady);
        return false;
    }

private:
    int m_asked = 0;
    std::vector<std::thread> m_telling;
};

/// A recording of files, or of one beside a live device.
struct Played {
    Played(FilePlayer::Files files, FilePlayer::Pace pace, std::optional<FrameCount> length = {})
        : player(FilePlayer::create(std::move(files), pace, length)) {
        const auto file = player->microphoneSource();
        engine = AudioCaptureEngine::create(
            {player->systemAudioSource(), file ? file : std::make_shared<FakeMicrophone>(), writers},
            std::make_shared<FakeHost>());
    }
    /// Also where a test gives up early: the capture queue must not end before.
    ~Played() { player->stop(); }
    void end() const {
        engine->stopRecording();
        EXPECT_TRUE(waitFor([this] { return !engine->isRecording.value(); }));
        engine->waitUntilFinished();
    }

    std::shared_ptr<FilePlayer> player;
    std::shared_ptr<FakeWriters> writers = std::make_shared<FakeWriters>();
    std::shared_ptr<AudioCaptureEngine> engine;
};

Outcome play(std::size_t systemFrames, std::size_t micFrames, FilePlayer::Pace pace,
             std::optional<FrameCount> length = {}, std::optional<PlatformError> micError = {}) {
    auto microphone = std::make_unique<FakeReader>(1, micFrames, 0.7F);
    microphone->error = std::move(micError);
    FilePlayer::Files files{.systemAudio = std::make_unique<FakeReader>(2, systemFrames, 0.1F),
                            .microphone = std::move(microphone)};
    BusyWriter busy;
    const Played played(std::move(files), pace, length);
    played.writers->isReady = [&busy](const std::function<void()>& whenReady) { return busy.takes(whenReady); };
    bool ended = false;
    played.player->setCallbacks(
        {.requestMediaData = [&](const auto& whenReady) { return played.engine->requestMediaData(whenReady); },
         .didEnd = [&] { MainThread::post([&] { ended = true; }); }});
    played.engine->startRecording();
    EXPECT_TRUE(waitFor([&] { return ended; }, 20000));
    played.end();
    played.player->stop();
    if (played.writers->files.empty()) return {};
    return {played.writers->files.front()->samples, played.engine->statistics().blocksDropped,
            played.player->readFailures()};
}

TEST(FilePlayerTest, TheSameFilesGiveTheSameMixBitForBitAtEitherPace) {
    const Outcome fast = play(30'000, 41'111, FilePlayer::Pace::AsFastAsPossible);
    const Outcome again = play(30'000, 41'111, FilePlayer::Pace::AsFastAsPossible);
    const Outcome paced = play(30'000, 41'111, FilePlayer::Pace::RealTime);

    EXPECT_EQ(fast.samples.size(), 2U * 41 * kBlockFrames) << "the longer file, to the end of its last block";
    EXPECT_EQ(fast.dropped + again.dropped + paced.dropped, 0);
    EXPECT_TRUE(fast.samples == again.samples);
    EXPECT_TRUE(fast.samples == paced.samples);
}

TEST(FilePlayerTest, FilesEndWhereTheyShould) {
    const struct {
        const char* name;
        std::size_t system, mic;
        std::optional<FrameCount> length;
        std::size_t blocks;
    } rows[] = {
        {"nothing at all", 0, 0, {}, 0},
        {"one frame fills a block", 1, 0, {}, 1},
        {"exactly a block", 1024, 500, {}, 1},
        {"one more frame", 100, 1025, {}, 2},
        {"many batches", 480'000, 1, {}, 469},
        {"cut at a length", 480'000, 300'000, FrameCount(96'000), 94},
        {"a length behind the end", 1024, 1024, FrameCount(96'000), 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Outcome outcome = play(row.system, row.mic, FilePlayer::Pace::AsFastAsPossible, row.length);
        EXPECT_EQ(outcome.samples.size(), 2 * row.blocks * kBlockFrames);
        EXPECT_EQ(outcome.dropped, 0);
    }
}

TEST(FilePlayerTest, AFileThatCannotBeReadToItsEndIsToldWithItsPlace) {
    const Outcome outcome =
        play(30'000, 10'000, FilePlayer::Pace::AsFastAsPossible, {}, PlatformError{5, QStringLiteral("unplugged")});
    EXPECT_EQ(outcome.samples.size(), 2U * 30 * kBlockFrames) << "the other goes on";
    EXPECT_FALSE(outcome.failures.systemAudio.has_value());
    ASSERT_TRUE(outcome.failures.microphone.has_value());
    EXPECT_EQ(outcome.failures.microphone->played.count(), 10'000);
    EXPECT_EQ(outcome.failures.microphone->error.code, 5);
}

TEST(FilePlayerTest, AFileKeepsPaceWithALiveDeviceWhateverTheWriterDoes) {
    auto file = std::make_unique<FakeReader>(2, SIZE_MAX, 0.1F);
    const std::atomic<std::size_t>& read = file->framesRead;
    const Played played({.systemAudio = std::move(file), .microphone = nullptr}, FilePlayer::Pace::RealTime);
    played.player->setCallbacks({.requestMediaData = [](const auto&) { return false; }, .didEnd = {}});
    played.engine->startRecording();
    EXPECT_TRUE(waitFor([&] { return read > 5000U; })) << "held back, it would be mixed with what is heard later";
    played.end();
}

TEST(FilePlayerTest, AStoppedRecordingReadsItsFilesNoFurther) {
    for (const bool writerIsFull : {false, true}) {
        for (const auto pace : {FilePlayer::Pace::AsFastAsPossible, FilePlayer::Pace::RealTime}) {
            SCOPED_TRACE(testing::Message() << "full: " << writerIsFull << ", pace " << static_cast<int>(pace));
            auto endless = std::make_unique<FakeReader>(1, SIZE_MAX, 0.1F);
            const std::atomic<std::size_t>& read = endless->framesRead;
            std::atomic<bool> asked = false;
            std::function<void()> goOn = [] {};
            const auto isReady = [&](const std::function<void()>& whenReady) {
                goOn = whenReady;
                asked = true;
                return !writerIsFull;
            };
            const Played played({std::make_unique<FakeReader>(2, SIZE_MAX, 0.1F), std::move(endless)}, pace);
            played.player->setCallbacks(
                {.requestMediaData = isReady, .didEnd = [] { ADD_FAILURE() << "it never ends"; }});
            played.engine->startRecording();
            ASSERT_TRUE(waitFor([&] { return asked && (writerIsFull || read > 5000U); }));
            played.end();

            const std::size_t readUntilStop = read;
            std::this_thread::sleep_for(std::chrono::milliseconds(60));
            EXPECT_LE(read, readUntilStop + FilePlayer::kTickFrames);
            played.player->stop();
            goOn(); // a writer that gets round to it late
        }
    }
}

} // namespace
} // namespace quillet::test
