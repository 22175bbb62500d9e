#pragma once

#include "capture/AudioCaptureEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace quillet::test {

/// A microphone whose buffers the test delivers.
class FakeMicrophone final : public MicrophoneSource {
public:
    std::atomic<AuthorizationStatus> status = AuthorizationStatus::Authorized;
    std::optional<MicrophoneFailure> failure;
    SampleHandler handler; ///< empty unless running
    int starts = 0;
    std::atomic<int> questions = 0;

    AuthorizationStatus authorizationStatus() override {
        ++questions;
        return status;
    }
    Result<std::unique_ptr<MicrophoneSession>, MicrophoneFailure> start(SerialQueue&, SampleHandler to) override {
        ++starts;
        if (failure) return Failure{*failure};
        handler = std::move(to);
        return std::unique_ptr<MicrophoneSession>(std::make_unique<Session>(*this));
    }

private:
    struct Session final : MicrophoneSession {
        explicit Session(FakeMicrophone& of) : owner(of) {}
        ~Session() override { stop(); }
        void stop() override { owner.handler = nullptr; }
        FakeMicrophone& owner;
    };
};

/// System audio whose buffers the test delivers and whose answers it chooses.
class FakeSystemAudio final : public SystemAudioSource {
public:
    Result<std::optional<ShareableContent>> content = std::optional(ShareableContent{{QStringLiteral("speakers")}});
    std::optional<PlatformError> outputFailure;
    std::optional<PlatformError> startFailure;
    bool holdsStart = false; ///< keeps the start's completion until finishStart()
    bool holdsStop = false;  ///< the same of the stop's, until finishStop()
    SampleHandler handler;
    int contentRequests = 0;
    int stops = 0;

    void getShareableContent(ContentCompletion completion) override {
        ++contentRequests;
        completion(content);
    }
    std::shared_ptr<SystemAudioStream> makeStream(const ContentFilter&, const StreamConfiguration&) override {
        return std::make_shared<Stream>(*this);
    }
    void finishStart() { std::exchange(m_heldStart, nullptr)(startFailure); }
    void finishStop() { std::exchange(m_heldStop, nullptr)(); }

private:
    struct Stream final : SystemAudioStream {
        explicit Stream(FakeSystemAudio& of) : owner(of) {}
        ~Stream() override { owner.handler = nullptr; }
        Result<void> addStreamOutput(SerialQueue& queue, SampleHandler to) override {
            if (owner.outputFailure) return Failure{*owner.outputFailure};
            captureQueue = &queue;
            owner.handler = std::move(to);
            return {};
        }
        void startCapture(Completion completion) override {
            owner.m_heldStart = std::move(completion);
            if (!owner.holdsStart) owner.finishStart();
        }
        void stopCapture(Completion completion) override {
            ++owner.stops;
            owner.handler = nullptr;
            owner.m_heldStop = [queue = captureQueue, completion = std::move(completion)] {
                queue->async([completion] { completion(std::nullopt); });
            };
            if (!owner.holdsStop) owner.finishStop();
        }
        FakeSystemAudio& owner;
        SerialQueue* captureQueue = nullptr;
    };
    SystemAudioStream::Completion m_heldStart;
    std::function<void()> m_heldStop;
};

/// Writers that keep the blocks they are given.
class FakeWriters final : public AssetWriterFactory {
public:
    struct File {
        std::filesystem::path url;
        std::vector<float> samples;
        std::int64_t firstFrame = -1;
        AssetWriterStatus status = AssetWriterStatus::Unknown;
        AssetWriter::InterruptionHandler interrupted;
    };
    std::vector<std::filesystem::path> unwritable;
    AssetWriterStatus finalStatus = AssetWriterStatus::Completed;
    std::atomic<std::int64_t> freeBlocks = 700;
    std::function<bool(const std::function<void()>& whenReady)>
        isReady;                              ///< answers requests for media data; null: always
    std::vector<std::shared_ptr<File>> files; ///< capture queue, or when it is idle

    Result<std::shared_ptr<AssetWriter>> makeWriter(const std::filesystem::path& url,
                                                    const std::function<void(const std::filesystem::path&)>&) override {
        if (std::ranges::count(unwritable, url) > 0) return Failure{PlatformError::fromErrno(EACCES)};
        files.push_back(std::make_shared<File>());
        files.back()->url = url;
        return std::shared_ptr<AssetWriter>(std::make_shared<Writer>(*this, files.back()));
    }

private:
    struct Writer final : AssetWriter {
        Writer(FakeWriters& of, std::shared_ptr<File> to) : owner(of), file(std::move(to)) {}
        ~Writer() override {
            if (!finisher.joinable()) return;
            finisher.get_id() == std::this_thread::get_id() ? finisher.detach() : finisher.join();
        }
        AssetWriterStatus status() const override { return file->status; }
        std::int64_t framesInFile() const override { return static_cast<std::int64_t>(file->samples.size() / 2); }
        bool addInput(const AudioOutputSettings& settings) override {
            return settings.bitRate == 256000 && settings.channelCount == 2 && settings.sampleRateHz == 48000;
        }
        void setInterruptionHandler(InterruptionHandler handler) override { file->interrupted = std::move(handler); }
        bool startWriting() override {
            file->status = AssetWriterStatus::Writing;
            return true;
        }
        void startSession(MediaTime at) override { EXPECT_EQ(at.value, 0); }
        std::int64_t freeBlocks() const override { return owner.freeBlocks; }
        bool requestMediaData(std::int64_t, const std::function<void()>& whenReady) override {
            return !owner.isReady || owner.isReady(whenReady);
        }
        bool append(const SampleBuffer& block) override {
            EXPECT_EQ(block.sampleCount, kBlockFrames);
            EXPECT_EQ(block.presentationTime.timescale, kSampleRateHz);
            if (file->firstFrame < 0) file->firstFrame = block.presentationTime.value;
            const auto* samples = reinterpret_cast<const float*>(block.data.data());
            file->samples.insert(file->samples.end(), samples, samples + block.data.size() / sizeof(float));
            return true;
        }
        void markAsFinished() override {}
        void finishWriting(std::function<void()> completion) override {
            file->status = owner.finalStatus;
            finisher = std::thread(std::move(completion));
        }
        void cancelWriting() override { file->status = AssetWriterStatus::Cancelled; }
        FakeWriters& owner;
        std::shared_ptr<File> file;
        std::thread finisher;
    };
};

/// The program around the engine: answers as told and writes down what it is asked, in order.
class FakeHost final : public AudioCaptureEngine::Host {
public:
    using Path = std::filesystem::path;
    using Url = Result<Path, StorageError>;
    Url url = Path("/recordings/Meeting.m4a");
    Url supportUrl = Path("/support/Meeting.m4a");
    bool makesNotes = false;
    std::optional<CreateNoteResult> noteResult;
    std::function<void()> duringNote;

    Url generateFileURL() override { return url; }
    Url generateFileURLInApplicationSupport() override { return supportUrl; }
    void recordingStartsIn(const Path& folder) override { write("starts in " + folder.string()); }
    void earlierRecordingSetAside(const Path&, const Path&) override {}
    void appendToTestLog(WallTime, const Path& recording) override { write("log " + recording.string()); }
    void recordingDidComplete(const Path& recording) override { write("complete " + recording.string()); }
    std::optional<CreateNoteResult> createNote(const Path& recording, WallTime) override {
        write("note " + recording.string());
        if (duringNote) duringNote();
        return noteResult;
    }
    bool autoCreateNote() override { return makesNotes; }
    void showDiskFull() override { write("disk full"); }
    void showPermissionDenied() override { write("permission denied"); }
    void showNotesAutomationDenied() override { write("automation denied"); }
    void showAppleScriptFailure() override { write("script failure"); }

    std::vector<std::string> journal() const {
        const std::lock_guard lock(m_mutex);
        return m_journal;
    }
    bool has(const std::string& entry) const { return std::ranges::count(journal(), entry) > 0; }

private:
    void write(std::string entry) {
        const std::lock_guard lock(m_mutex);
        m_journal.push_back(std::move(entry));
    }
    mutable std::mutex m_mutex;
    std::vector<std::string> m_journal;
};

/// An engine with fakes where the machine and the program begin.
struct FakeMachine {
    std::shared_ptr<FakeMicrophone> microphone = std::make_shared<FakeMicrophone>();
    std::shared_ptr<FakeSystemAudio> systemAudio = std::make_shared<FakeSystemAudio>();
    std::shared_ptr<FakeWriters> writers = std::make_shared<FakeWriters>();
    std::shared_ptr<FakeHost> host = std::make_shared<FakeHost>();
    std::shared_ptr<AudioCaptureEngine> engine = AudioCaptureEngine::create({systemAudio, microphone, writers}, host);

    /// Both sources deliver the same stretch of time, each at one constant level.
    void deliver(std::int64_t firstFrame, std::int64_t frames, float system = 0.25F, float mic = 0.25F) const {
        const HostFramePos at{FrameCount(48'000 + firstFrame)};
        const MediaTime time = firstFrame == 0 ? MediaTime::atFrame(at) : MediaTime::insideFrame(at);
        engine->queue().sync([&] {
            for (const auto& [to, level] : {std::pair(&systemAudio->handler, system), {&microphone->handler, mic}}) {
                const std::vector<float> stereo(static_cast<std::size_t>(2 * frames), level);
                if (*to) (*to)({std::as_bytes(std::span(stereo)), &kInterleavedStereoFloat, time, frames});
            }
        });
    }
};

} // namespace quillet::test
