#include "support/FakeHardware.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <future>
#include <gmock/gmock.h>

namespace quillet::test {
namespace {

using testing::ElementsAre;

class AudioCaptureEngineTest : public testing::Test, protected FakeMachine {
protected:
    ~AudioCaptureEngineTest() override {
        engine.reset();
        processEvents();
    }

    /// Lets the capture queue and then the main thread run dry.
    void settle() {
        for (int round = 0; round < 4; ++round) {
            engine->queue().sync([] {});
            processEvents();
        }
    }
    void start() {
        engine->startRecording();
        settle();
    }
    void stop() {
        engine->stopRecording();
        settle();
        engine->waitUntilFinished();
        settle();
    }
    void renew() { static_cast<FakeMachine&>(*this) = {}; }
    const FakeWriters::File& file(std::size_t index = 0) { return *writers->files.at(index); }
};

TEST_F(AudioCaptureEngineTest, ARecordingEndsInItsFileItsLogLineItsNoticeAndItsNote) {
    host->makesNotes = true;
    host->noteResult = CreateNoteResult{.success = true};
    host->url = std::filesystem::path("/dev/null"); // the log line stands for a file that exists

    start();
    EXPECT_TRUE(engine->isRecording.value());
    EXPECT_TRUE(engine->recordingStartDate.value().has_value());
    EXPECT_EQ(engine->outputURL.value(), std::filesystem::path("/dev/null"));
    deliver(0, 5000);
    stop();

    EXPECT_FALSE(engine->isRecording.value());
    EXPECT_FALSE(engine->recordingStartDate.value().has_value());
    EXPECT_FALSE(engine->lastError.value().has_value());
    EXPECT_EQ(file().firstFrame, 0);
    EXPECT_EQ(file().samples.size(), 4U * 2 * kBlockFrames) << "the file ends at the last full block";
    EXPECT_THAT(host->journal(),
                ElementsAre("starts in /dev", "log /dev/null", "complete /dev/null", "note /dev/null"));
}

TEST_F(AudioCaptureEngineTest, EveryFailureToStartIsSaidAndLeavesNothingRunning) {
    using Step = MicrophoneFailure::Step;
    const PlatformError reason{5, QStringLiteral("the reason")};
    const StorageError full = RecordingFileManagerError::insufficientDiskSpace(1);
    const auto noFile = [&](const StorageError& second) {
        return [this, &full, second] {
            host->url = Failure{full};
            host->supportUrl = Failure{second};
        };
    };
    const auto status = [this](AuthorizationStatus it) { return [this, it] { microphone->status = it; }; };
    const auto failing = [this](Step step) {
        return [this, step] { microphone->failure = MicrophoneFailure{step, QStringLiteral("the reason")}; };
    };
    const auto content = [this](const decltype(FakeSystemAudio::content)& it) {
        return [this, it] { systemAudio->content = it; };
    };
    constexpr auto kRefused =
        "Microphone access is required. Enable it in System Settings → Privacy & Security → Microphone.";
    using Journal = std::vector<std::string>;
    const struct {
        const char* error;
        std::function<void()> arrange;
        Journal alerts;
        int contentRequests = 0;
    } rows[] = {
        {"Not enough disk space to record. Free some space and try again.", noFile(full), {"disk full"}},
        // Our own errors all raise the disk alert, and the second attempt speaks.
        {"Recordings path exists but is not a directory.",
         noFile(RecordingFileManagerError::pathExistsAsFile()),
         {"disk full"}},
        {"Permission denied", noFile(PlatformError{13, QStringLiteral("Permission denied")}), {}},
        {kRefused, status(AuthorizationStatus::NotDetermined), {"permission denied"}},
        {kRefused, status(AuthorizationStatus::Denied), {"permission denied"}},
        {"No microphone available.", failing(Step::NoDevice), {}},
        {"Microphone input failed: the reason", failing(Step::DeviceInput), {}},
        {"Could not add microphone input.", failing(Step::AddInput), {}},
        {"Could not add microphone output.", failing(Step::AddOutput), {}},
        {"Could not get shareable content: the reason", content(Failure{reason}), {"permission denied"}, 1},
        {"No shareable content returned.", content(std::optional<ShareableContent>()), {}, 1},
        {"No display available for system audio capture.", content(std::optional(ShareableContent{})), {}, 1},
        {"Failed to add stream output: the reason", [&] { systemAudio->outputFailure = reason; }, {}, 1},
        {"Stream start failed: the reason", [&] { systemAudio->startFailure = reason; }, {"permission denied"}, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.error);
        renew();
        row.arrange();

        start();

        EXPECT_EQ(engine->lastError.value(), QString::fromUtf8(row.error));
        EXPECT_FALSE(engine->isRecording.value());
        EXPECT_EQ(systemAudio->contentRequests, row.contentRequests);
        EXPECT_FALSE(microphone->handler) << "the microphone still runs";
        EXPECT_FALSE(systemAudio->handler) << "the stream still runs";
        auto journal = host->journal();
        std::erase(journal, "starts in /recordings");
        EXPECT_EQ(journal, row.alerts);
        EXPECT_TRUE(writers->files.empty());
    }
}

TEST_F(AudioCaptureEngineTest, AFolderThatFailsIsReplacedByTheDefaultOne) {
    for (const bool isFoundOutAtOnce : {true, false}) {
        SCOPED_TRACE(isFoundOutAtOnce ? "no folder" : "no file in the folder");
        renew();
        if (isFoundOutAtOnce)
            host->url = Failure{StorageError(RecordingFileManagerError::pathExistsAsFile())};
        else
            writers->unwritable = {"/recordings/Meeting.m4a"};
        start();
        deliver(0, 2048);
        stop();
        EXPECT_EQ(engine->outputURL.value(), std::filesystem::path("/support/Meeting.m4a"));
        EXPECT_TRUE(host->has("starts in /support")) << "leftovers there are repaired";
        EXPECT_TRUE(host->has("complete /support/Meeting.m4a"));
    }
}

TEST_F(AudioCaptureEngineTest, AFileThatCannotBeMadeAnywhereIsTriedOnceAndSaid) {
    writers->unwritable = {"/recordings/Meeting.m4a", "/support/Meeting.m4a"};
    start();
    deliver(0, 2048);
    settle();
    EXPECT_EQ(engine->lastError.value(), QStringLiteral("Failed to setup audio writer."));
    EXPECT_TRUE(engine->isRecording.value());
    writers->unwritable.clear();
    deliver(2048, 4096);
    EXPECT_TRUE(writers->files.empty());
    stop();
    EXPECT_FALSE(engine->isRecording.value());
    EXPECT_THAT(host->journal(), ElementsAre("starts in /recordings"));
}

TEST_F(AudioCaptureEngineTest, LessThanABlockLeavesNoFileAndNoNotice) {
    start();
    deliver(0, 1023);
    stop();
    EXPECT_TRUE(writers->files.empty());
    EXPECT_THAT(host->journal(), ElementsAre("starts in /recordings"));
}

TEST_F(AudioCaptureEngineTest, WhatBecomesOfTheNoteIsTold) {
    const struct {
        const char* name;
        AssetWriterStatus status;
        std::optional<CreateNoteResult> result;
        std::vector<std::string> told;
    } rows[] = {
        {"not attempted", AssetWriterStatus::Completed, std::nullopt, {}},
        {"refused", AssetWriterStatus::Completed, CreateNoteResult{false, true}, {"automation denied"}},
        {"failed", AssetWriterStatus::Completed, CreateNoteResult{false, false}, {"script failure"}},
        {"also for a file that failed", AssetWriterStatus::Failed, CreateNoteResult{false, false}, {"script failure"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        renew();
        host->makesNotes = true;
        host->noteResult = row.result;
        writers->finalStatus = row.status;
        start();
        deliver(0, 2048);
        stop();
        auto journal = host->journal();
        EXPECT_EQ(std::erase(journal, "complete /recordings/Meeting.m4a"),
                  row.status == AssetWriterStatus::Completed ? 1U : 0U);
        EXPECT_EQ(std::erase(journal, "note /recordings/Meeting.m4a"), 1U);
        std::erase(journal, "starts in /recordings");
        EXPECT_EQ(journal, row.told);
        EXPECT_FALSE(engine->lastError.value().has_value());
    }
}

TEST_F(AudioCaptureEngineTest, ASlowNoteDoesNotDelayTheNextRecording) {
    std::promise<void> release;
    host->makesNotes = true;
    host->duringNote = [future = release.get_future().share()] { future.wait(); };
    start();
    deliver(0, 2048);
    engine->stopRecording();
    ASSERT_TRUE(waitFor([&] { return host->has("note /recordings/Meeting.m4a"); }));
    ASSERT_TRUE(waitFor([&] { return !engine->isRecording.value(); }));

    start();
    deliver(0, 3000);
    EXPECT_TRUE(engine->isRecording.value());
    EXPECT_EQ(file(1).samples.size(), 2U * 2 * kBlockFrames);

    release.set_value();
    stop();
}

TEST_F(AudioCaptureEngineTest, WhoWaitsForTheEndWaitsForASourceThatIsSlowToStop) {
    start();
    deliver(0, 4096);
    systemAudio->holdsStop = true;
    engine->stopRecording();
    auto waiting = std::async(std::launch::async, [this] { engine->waitUntilFinished(); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    engine->queue().sync([this] { systemAudio->finishStop(); });
    waiting.get();
    EXPECT_TRUE(host->has("complete /recordings/Meeting.m4a"));
    EXPECT_EQ(engine->statistics().finished, FrameCount(4096));
}

TEST_F(AudioCaptureEngineTest, AFullDiskEndsTheRecordingAndSaysSo) {
    start();
    deliver(0, 4096);
    writers->files.at(0)->status = AssetWriterStatus::Completed;
    writers->files.at(0)->interrupted(PlatformError::fromErrno(ENOSPC));
    settle();
    engine->waitUntilFinished();
    settle();

    EXPECT_EQ(engine->lastError.value(),
              QStringLiteral("Not enough disk space to record. Free some space and try again."));
    EXPECT_FALSE(engine->isRecording.value());
    EXPECT_TRUE(host->has("disk full"));
    EXPECT_TRUE(host->has("complete /recordings/Meeting.m4a"));
    EXPECT_EQ(systemAudio->stops, 1);

    start();
    deliver(0, 2048);
    writers->files.at(0)->interrupted(PlatformError::fromErrno(EIO)); // a late word about the file of before
    settle();
    EXPECT_TRUE(engine->isRecording.value());

    // The user stops at the same moment.
    int ends = 0;
    QObject watcher;
    engine->isRecording.subscribe(&watcher, [&ends](bool recording) { ends += recording ? 0 : 1; });
    engine->queue().sync([this] {
        writers->files.at(1)->interrupted(PlatformError::fromErrno(EFBIG));
        engine->stopRecording();
    });
    settle();
    engine->waitUntilFinished();
    settle();
    EXPECT_EQ(ends, 1) << "a second end would be taken for that of the next recording";
    EXPECT_EQ(engine->lastError.value(),
              QStringLiteral("The recording ended because its file has reached the largest size that its folder "
                             "allows."));
}

TEST_F(AudioCaptureEngineTest, ARecordingThatIsAbandonedEndsItsSources) {
    start();
    deliver(0, 4096);
    engine.reset();
    EXPECT_FALSE(microphone->handler);
    EXPECT_FALSE(systemAudio->handler);
}

} // namespace
} // namespace quillet::test
