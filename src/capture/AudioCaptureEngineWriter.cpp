// The engine's way to the file: made with the first block, fed block by block, finished after both sources have
// stopped.

#include "capture/AudioCaptureEngine.h"
#include "support/MainThread.h"

#include <cerrno>
#include <system_error>

namespace quillet {
namespace {

/// How far sources that can be held back may run ahead of the encoder before the next second of theirs is asked for:
/// 0.7 s keeps it busy at little memory.
constexpr std::int64_t kMostBlocksAhead = 32;

} // namespace

bool AudioCaptureEngine::requestMediaData(const std::function<void()>& whenReady) {
    return !m_assetWriter || m_assetWriter->requestMediaData(kMostBlocksAhead, whenReady);
}

bool AudioCaptureEngine::prepareForBlocks() {
    if (!m_assetWriter) {
        if (m_hasReceivedFirstBuffer) return false; // one attempt per recording
        m_hasReceivedFirstBuffer = true;
        if (!setupWriterAndInputFromFirstMixedBlock()) {
            setErrorOnMain(QStringLiteral("Failed to setup audio writer."));
            return false;
        }
    }
    return m_assetWriter->status() == AssetWriterStatus::Writing;
}

bool AudioCaptureEngine::isReadyForBlock() { return m_assetWriter->isReadyForMoreMediaData(); }

void AudioCaptureEngine::takeBlock(const MixedBlock& block, FramePos at) {
    const auto buffer = createPCMSampleBuffer(block, at);
    if (!buffer || !m_assetWriter->append(*buffer)) m_meters.blocksDropped += 1;
}

bool AudioCaptureEngine::setupWriterAndInputFromFirstMixedBlock() {
    if (m_outputURL && setupWriter(*m_outputURL)) return true;
    // Asked anew: the name carries the minute of the first block.
    const auto fallback = m_host->generateFileURLInApplicationSupport();
    if (!fallback || fallback.value() == m_outputURL || !setupWriter(*fallback)) return false;
    setOutputURL(*fallback);
    m_host->recordingStartsIn(fallback->parent_path());
    return true;
}

bool AudioCaptureEngine::setupWriter(const std::filesystem::path& candidate) {
    auto writer = m_hardware.writers->makeWriter(candidate, [this, &candidate](const std::filesystem::path& earlier) {
        m_host->earlierRecordingSetAside(candidate, earlier);
    });
    if (!writer) return false;
    if (!(*writer)->addInput(AudioOutputSettings{})) {
        (*writer)->cancelWriting();
        return false;
    }
    (*writer)->setInterruptionHandler([weak = weak_from_this(), number = ++m_writersMade](const PlatformError& error) {
        if (const auto engine = weak.lock())
            engine->onQueue([number, error](AudioCaptureEngine& self) { self.writingWasInterrupted(number, error); });
    });
    (*writer)->startWriting();
    (*writer)->startSession({0, kSampleRateHz});
    m_assetWriter = std::move(writer.value());
    return true;
}

std::optional<SampleBuffer> AudioCaptureEngine::createPCMSampleBuffer(const MixedBlock& block, FramePos ptsFrame) {
    return SampleBuffer{.data = std::as_bytes(std::span(block)),
                        .description = &kInterleavedStereoFloat,
                        .presentationTime = {ptsFrame.time_since_epoch().count(), kSampleRateHz},
                        .sampleCount = kBlockFrames};
}

/// The disk is full or gone: the file ends here. Going on would show a recording that is none.
void AudioCaptureEngine::writingWasInterrupted(std::int64_t writerNumber, const PlatformError& error) {
    alertOnMain(&Host::showDiskFull);
    setErrorOnMain(error.code == EFBIG ? QStringLiteral("The recording ended because its file has reached the largest "
                                                        "size that its folder allows.")
                                       : RecordingFileManagerError::insufficientDiskSpace(0).errorDescription());
    if (m_assetWriter && writerNumber == m_writersMade) performStopRecording(); // else that one has stopped already
}

void AudioCaptureEngine::finalizeWriter(const Unfinished& unfinished) {
    if (!m_assetWriter) return setRecordingOnMain(false, std::nullopt);
    const std::shared_ptr<AssetWriter> writer = std::move(m_assetWriter);
    writer->markAsFinished();
    const bool makeNote = m_host->autoCreateNote();
    // The writer is the recording's own from here on, so that the next recording can start while this one finishes.
    writer->finishWriting([weak = weak_from_this(), writer, url = m_outputURL.value_or(""), makeNote,
                           held = Unfinished(unfinished)]() mutable {
        if (const auto engine = weak.lock()) engine->writerDidFinish(*writer, url, makeNote);
        held.reset();
    });
}

void AudioCaptureEngine::writerDidFinish(const AssetWriter& writer, const std::filesystem::path& recording,
                                         bool makeNote) {
    const bool completed = writer.status() == AssetWriterStatus::Completed;
    m_meters.finishedFrames = writer.framesInFile();
    std::error_code ignored;
    if (completed && std::filesystem::exists(recording, ignored))
        m_host->appendToTestLog(std::chrono::system_clock::now(), recording);
    setRecordingOnMain(false, std::nullopt);
    if (completed) m_host->recordingDidComplete(recording);
    if (makeNote) {
        const auto result = m_host->createNote(recording, std::chrono::system_clock::now());
        if (result && !result->success)
            alertOnMain(result->isAutomationDenied ? &Host::showNotesAutomationDenied : &Host::showAppleScriptFailure);
    }
}

AudioCaptureEngine::Unfinished AudioCaptureEngine::countUnfinished() {
    const std::lock_guard lock(m_unfinished->mutex);
    ++m_unfinished->value;
    return {nullptr, [count = m_unfinished](void*) {
                const std::lock_guard counting(count->mutex);
                --count->value;
                count->isZero.notify_all();
            }};
}

void AudioCaptureEngine::waitUntilFinished() {
    m_queue.sync([] {}); // a stop asked for before is under way from here on
    {
        std::unique_lock lock(m_unfinished->mutex);
        m_unfinished->isZero.wait(lock, [this] { return m_unfinished->value == 0; });
    }
    m_queue.sync([] {}); // a file that ended early says so by way of this queue
}

} // namespace quillet
