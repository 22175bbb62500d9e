#pragma once

#include "capture/AudioMixer.h"
#include "capture/CaptureStatistics.h"
#include "notes/CreateNoteResult.h"
#include "platform/AssetWriter.h"
#include "platform/MicrophoneSource.h"
#include "platform/SystemAudioSource.h"
#include "storage/RecordingFileManagerError.h"
#include "support/DateTexts.h"
#include "support/Published.h"
#include "support/SerialQueue.h"

#include <QString>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

namespace quillet {

/// Records a meeting: opens the microphone and the system audio, mixes them and writes the file, and sees the file
/// through to its log line, its notice and its note.
///
/// start and stop may be called from any thread and return at once; the work is done on the serial capture queue. What
/// the interface shows (the Published members) is set on the main thread only. The engine does not guard against a
/// second start: RecordingControl stands before it. Everything that fails while starting ends in lastError and, where
/// the user has to act, in an alert; what fails while recording never loses what was recorded before.
class AudioCaptureEngine final : public std::enable_shared_from_this<AudioCaptureEngine>, private BlockSink {
public:
    /// What the engine asks of the machine.
    struct Hardware {
        std::shared_ptr<SystemAudioSource> systemAudio;
        std::shared_ptr<MicrophoneSource> microphone;
        std::shared_ptr<AssetWriterFactory> writers;
    };

    /// What the engine asks of the program around it. The thread is named at each question.
    class Host {
    public:
        virtual ~Host() = default;
        /// Where this recording goes. Capture queue.
        virtual Result<std::filesystem::path, StorageError> generateFileURL() = 0;
        virtual Result<std::filesystem::path, StorageError> generateFileURLInApplicationSupport() = 0;
        /// A recording is about to be made in the folder: a good moment to repair what a crash left there. Capture
        /// queue; must not wait for the repair.
        virtual void recordingStartsIn(const std::filesystem::path& folder) = 0;
        /// What had the new recording's name has another one from here on. Capture queue; must not wait for the disk.
        virtual void earlierRecordingSetAside(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
        /// The recording's own finishing thread, as the two below.
        virtual void appendToTestLog(WallTime timestamp, const std::filesystem::path& recording) = 0;
        virtual void recordingDidComplete(const std::filesystem::path& recording) = 0;
        /// Absent when no note was attempted. May take as long as the notes application does.
        virtual std::optional<CreateNoteResult> createNote(const std::filesystem::path& recording,
                                                           WallTime recordedAt) = 0;
        /// The user's choice at this moment. Capture queue.
        virtual bool autoCreateNote() = 0;
        /// The alerts. Main thread.
        virtual void showDiskFull() = 0;
        virtual void showPermissionDenied() = 0;
        virtual void showNotesAutomationDenied() = 0;
        virtual void showAppleScriptFailure() = 0;
    };

    static std::shared_ptr<AudioCaptureEngine> create(Hardware hardware, std::shared_ptr<Host> host);
    ~AudioCaptureEngine() override;

    void startRecording();
    void stopRecording();

    /// From the moment the stream has started until the file is finished or the start has failed.
    Published<bool> isRecording{false};
    /// When the stream started; absent when not recording.
    Published<std::optional<WallTime>> recordingStartDate;
    /// The last failure, for the user; cleared at every start.
    Published<std::optional<QString>> lastError;
    /// What it says when there is no output to record.
    static constexpr QLatin1String kNoDisplayAvailable{"No display available for system audio capture."};
    /// The file of the current or last recording.
    Published<std::optional<std::filesystem::path>> outputURL;

    /// Any thread.
    [[nodiscard]] CaptureStatistics statistics() const { return m_meters.read(); }

    /// Capture queue: whether sources that can be held back may deliver up to a second now. If not, as that would run
    /// far ahead of the encoder (the writer's long queue is there for live sources on a slow disk), whenReady is called
    /// once, on any thread, when they may; not if the recording ends before. True when there is no file to wait for.
    bool requestMediaData(const std::function<void()>& whenReady);
    [[nodiscard]] SerialQueue& queue() { return m_queue; }

    /// Waits until no recording is being finished any more, its note included, and whatever went wrong with it is on
    /// its way to the main thread. Not on the capture queue, nor on the main thread while its event loop is needed by
    /// the note.
    void waitUntilFinished();

private:
    /// As long as anyone holds it, a recording has been told to stop and is not finished yet.
    using Unfinished = std::shared_ptr<void>;

    AudioCaptureEngine(Hardware hardware, std::shared_ptr<Host> host);

    void performStartRecording();
    bool startMicCapture();
    [[nodiscard]] SampleHandler toMixer(void (AudioMixer::*deliver)(const SampleBuffer&));
    void continueWithContent(const Result<std::optional<ShareableContent>>& content);
    void streamDidStart(const std::optional<PlatformError>& error);
    void performStopRecording();
    void streamDidStop(const SystemAudioStream* stream, const Unfinished& unfinished);

    bool prepareForBlocks() override;
    bool isReadyForBlock() override;
    void takeBlock(const MixedBlock& block, FramePos at) override;
    bool setupWriterAndInputFromFirstMixedBlock();
    bool setupWriter(const std::filesystem::path& candidate);
    static std::optional<SampleBuffer> createPCMSampleBuffer(const MixedBlock& block, FramePos ptsFrame);
    void writingWasInterrupted(std::int64_t writerNumber, const PlatformError& error);
    void finalizeWriter(const Unfinished& unfinished);
    void writerDidFinish(const AssetWriter& writer, const std::filesystem::path& recording, bool makeNote);
    [[nodiscard]] Unfinished countUnfinished();

    void setRecordingOnMain(bool recording, std::optional<WallTime> startDate);
    void setErrorOnMain(const QString& message);
    void clearErrorOnMain();
    void setOutputURL(std::optional<std::filesystem::path> url);
    void alertOnMain(void (Host::*show)());
    /// Runs the work on the capture queue if the engine still lives then.
    void onQueue(std::function<void(AudioCaptureEngine&)> work);

    const Hardware m_hardware;
    const std::shared_ptr<Host> m_host;
    CaptureMeters m_meters;

    // Capture queue only.
    AudioMixer m_mixer{*this, m_meters};
    std::unique_ptr<MicrophoneSession> m_captureSession;
    std::shared_ptr<SystemAudioStream> m_stream;
    std::shared_ptr<AssetWriter> m_assetWriter;
    std::int64_t m_writersMade = 0; ///< names the newest; an address could be that of an earlier one
    std::optional<std::filesystem::path> m_outputURL;
    bool m_hasReceivedFirstBuffer = false;

    struct UnfinishedCount {
        std::mutex mutex;
        std::condition_variable isZero;
        int value = 0;
    };
    /// Of recordings from their stop until their file and note are finished; who counts down may outlive the engine.
    const std::shared_ptr<UnfinishedCount> m_unfinished = std::make_shared<UnfinishedCount>();

    SerialQueue m_queue{"corvane.audio-capture"}; ///< last: its thread ends before the rest goes
};

} // namespace quillet
