#include "platform/common/QueuedAssetWriter.h"

#include "platform/ThreadName.h"
#include "platform/common/BlockQueue.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <signal.h>
#include <system_error>
#include <thread>

namespace quillet {
namespace {

constexpr std::size_t kQueuedBlocks = 704; ///< 15 s: longer than a busy disk keeps one waiting
constexpr StereoBlock kSilence{};
/// More silence than that between two blocks is no gap but a broken clock, and would fill the disk.
constexpr std::int64_t kLongestGapFrames = std::int64_t{24} * 3600 * kSampleRateHz;

/// What the writer's thread and the writer share. The thread may outlive the writer, and the other way round.
struct WriterState {
    enum class Ending { NotYet, Finish, Cancel, Abandon };

    WriterState(std::unique_ptr<BlockRecorder> blockRecorder, std::size_t blocksPerBatch)
        : queue(kQueuedBlocks, blocksPerBatch), recorder(std::move(blockRecorder)) {}

    BlockQueue queue;
    std::unique_ptr<BlockRecorder> recorder; ///< the thread's alone; gone once the file is closed
    std::atomic<AssetWriterStatus> status = AssetWriterStatus::Unknown;
    std::atomic<std::int64_t> framesInFile = 0;

    std::mutex mutex;
    std::condition_variable endingChosen;
    std::atomic<Ending> ending = Ending::NotYet; ///< changes under the mutex
    AssetWriter::InterruptionHandler onInterruption;
    std::function<void()> completion;
    std::shared_ptr<AssetWriter> keepAlive; ///< from finishWriting() until the completion has returned
};

/// Everything that the writer's thread does, from the first block to the completion.
class WriterThread {
public:
    explicit WriterThread(WriterState& state) : m_state(state) {}
    void run();

private:
    using Ending = WriterState::Ending;
    Result<void> record();
    Result<void> recordBlock(const BlockQueue::Front& front);
    void closeFinished(const Result<void>& recorded);
    Ending waitForEnding();
    [[nodiscard]] bool isCancelled() const { return m_state.ending.load() == Ending::Cancel; }

    WriterState& m_state;
};

void WriterThread::run() {
    const Result<void> recorded = record();
    // A full disk ends the file at once, whenever the owner gets round to ending the recording.
    if (!recorded && !isCancelled()) closeFinished(recorded);
    switch (waitForEnding()) {
    case Ending::Finish: {
        if (m_state.recorder) closeFinished(recorded);
        const auto completion = std::move(m_state.completion);
        if (completion) completion();
        break;
    }
    case Ending::Cancel:
        if (m_state.recorder) m_state.recorder->remove();
        break;
    case Ending::Abandon:
    case Ending::NotYet:
        break;
    }
    m_state.recorder.reset();
    const std::shared_ptr<AssetWriter> last = std::move(m_state.keepAlive);
}

/// Until the queue is closed and empty, or something fails.
Result<void> WriterThread::record() {
    BlockRecorder& recorder = *m_state.recorder;
    while (const std::size_t blocks = m_state.queue.waitForBatch()) {
        for (std::size_t i = 0; i < blocks; ++i) {
            auto done = recordBlock(m_state.queue.front());
            if (!done) return done;
            if (isCancelled()) return {};
            m_state.queue.pop();
        }
        if (m_state.queue.holdsBatch()) continue; // more is waiting in memory anyway
        if (auto done = recorder.flush(); !done) return done;
    }
    return recorder.framesWritten() > 0 && !isCancelled() ? recorder.drain() : Result<void>();
}

Result<void> WriterThread::recordBlock(const BlockQueue::Front& front) {
    BlockRecorder& recorder = *m_state.recorder;
    while (recorder.framesWritten() < front.firstFrame && !isCancelled()) {
        if (auto done = recorder.write(kSilence); !done) return done;
    }
    return recorder.write(front.block);
}

/// Makes the file what it will be, closes it, sets the status and tells what went wrong.
void WriterThread::closeFinished(const Result<void>& recorded) {
    m_state.queue.close();
    BlockRecorder& recorder = *m_state.recorder;
    std::optional<PlatformError> error = recorded ? std::nullopt : std::optional(recorded.error());
    auto status = AssetWriterStatus::Failed;
    if (recorder.framesStored() > 0) {
        const auto finished = recorder.finish();
        if (finished || !recorded) status = AssetWriterStatus::Completed;
        if (!finished && !error) error = finished.error();
        m_state.framesInFile = finished ? *finished : recorder.framesStored();
    }
    if (m_state.framesInFile == 0) recorder.remove(); // there is nothing in it, not even its first moments
    m_state.recorder.reset();
    {
        const std::lock_guard lock(m_state.mutex);
        m_state.status = status;
    }
    const auto handler = std::move(m_state.onInterruption);
    if (error && handler) handler(*error);
}

WriterThread::Ending WriterThread::waitForEnding() {
    std::unique_lock lock(m_state.mutex);
    m_state.endingChosen.wait(lock, [this] { return m_state.ending != Ending::NotYet; });
    return m_state.ending;
}

/// Signals belong to the program's other threads. A size limit reached in particular must come as an error of write().
void blockSignals() {
    sigset_t signals;
    sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF})
        sigdelset(&signals, fault);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

class QueuedAssetWriter final : public AssetWriter, public std::enable_shared_from_this<QueuedAssetWriter> {
public:
    explicit QueuedAssetWriter(std::shared_ptr<WriterState> shared)
        : m_state(std::move(shared)), m_thread([state = m_state] {
              blockSignals();
              nameThisThread("m4a-writer");
              WriterThread(*state).run();
          }) {}
    ~QueuedAssetWriter() override;

    AssetWriterStatus status() const override { return m_state->status; }
    std::int64_t framesInFile() const override { return m_state->framesInFile; }
    bool addInput(const AudioOutputSettings& settings) override;
    void setInterruptionHandler(InterruptionHandler handler) override;
    bool startWriting() override;
    void startSession(MediaTime atSourceTime) override;
    std::int64_t freeBlocks() const override;
    bool requestMediaData(std::int64_t mostWaitingBlocks, const std::function<void()>& whenReady) override;
    bool append(const SampleBuffer& block) override;
    void markAsFinished() override { m_state->queue.close(); }
    void finishWriting(std::function<void()> completion) override;
    void cancelWriting() override;

private:
    void end(WriterState::Ending ending, std::function<void()> completion, std::shared_ptr<AssetWriter> keepAlive);

    const std::shared_ptr<WriterState> m_state;
    bool m_hasInput = false;
    std::int64_t m_sessionStart = 0; ///< frames at 48 kHz
    std::int64_t m_nextFrame = 0;    ///< since the start of the session
    std::thread m_thread;            ///< last: it runs as soon as it is made
};

QueuedAssetWriter::~QueuedAssetWriter() {
    end(WriterState::Ending::Abandon, {}, {});
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

bool QueuedAssetWriter::addInput(const AudioOutputSettings& settings) {
    const AudioOutputSettings possible;
    m_hasInput = !m_hasInput && settings.formatID == possible.formatID &&
                 settings.sampleRateHz == possible.sampleRateHz && settings.channelCount == possible.channelCount &&
                 settings.bitRate == possible.bitRate;
    return m_hasInput;
}

void QueuedAssetWriter::setInterruptionHandler(InterruptionHandler handler) {
    m_state->onInterruption = std::move(handler); // the thread looks at it after the first block only
}

bool QueuedAssetWriter::startWriting() {
    auto expected = AssetWriterStatus::Unknown;
    return m_hasInput && m_state->status.compare_exchange_strong(expected, AssetWriterStatus::Writing);
}

/// The frame that a time falls on.
std::int64_t frameAt(MediaTime time) {
    const std::int64_t whole = time.value / time.timescale;
    return whole * kSampleRateHz + (time.value % time.timescale) * kSampleRateHz / time.timescale;
}

void QueuedAssetWriter::startSession(MediaTime atSourceTime) { m_sessionStart = frameAt(atSourceTime); }

std::int64_t QueuedAssetWriter::freeBlocks() const {
    return status() == AssetWriterStatus::Writing ? static_cast<std::int64_t>(m_state->queue.freeBlocks()) : 0;
}

bool QueuedAssetWriter::requestMediaData(std::int64_t mostWaitingBlocks, const std::function<void()>& whenReady) {
    return m_state->queue.request(static_cast<std::size_t>(mostWaitingBlocks), whenReady);
}

bool QueuedAssetWriter::append(const SampleBuffer& block) {
    if (status() != AssetWriterStatus::Writing || block.sampleCount != kBlockFrames ||
        block.data.size() != kBlockSamples * sizeof(float) || block.presentationTime.timescale <= 0)
        return false;
    const std::int64_t firstFrame = frameAt(block.presentationTime) - m_sessionStart;
    if (firstFrame < m_nextFrame || firstFrame % kBlockFrames != 0) return false;
    if (firstFrame - m_nextFrame > kLongestGapFrames) return false;
    const auto* const samples = reinterpret_cast<const float*>(block.data.data());
    if (!m_state->queue.append(firstFrame, std::span<const float, kBlockSamples>(samples, kBlockSamples))) return false;
    m_nextFrame = firstFrame + kBlockFrames;
    return true;
}

void QueuedAssetWriter::finishWriting(std::function<void()> completion) {
    end(WriterState::Ending::Finish, std::move(completion), shared_from_this());
}

void QueuedAssetWriter::cancelWriting() { end(WriterState::Ending::Cancel, {}, shared_from_this()); }

/// Only the first ending counts. Cancelling comes too late for a file that an error has ended already.
void QueuedAssetWriter::end(WriterState::Ending ending, std::function<void()> completion,
                            std::shared_ptr<AssetWriter> keepAlive) {
    {
        const std::lock_guard lock(m_state->mutex);
        if (m_state->ending != WriterState::Ending::NotYet) return;
        m_state->ending = ending;
        m_state->completion = std::move(completion);
        m_state->keepAlive = std::move(keepAlive);
        const AssetWriterStatus now = m_state->status;
        const bool ended = now == AssetWriterStatus::Completed || now == AssetWriterStatus::Failed;
        if (ending == WriterState::Ending::Cancel && !ended) m_state->status = AssetWriterStatus::Cancelled;
    }
    m_state->queue.close();
    m_state->endingChosen.notify_one();
}

} // namespace

Result<std::shared_ptr<AssetWriter>> makeQueuedAssetWriter(std::unique_ptr<BlockRecorder> recorder,
                                                           std::size_t blocksPerBatch) {
    const auto state = std::make_shared<WriterState>(std::move(recorder), blocksPerBatch);
    try {
        return std::shared_ptr<AssetWriter>(std::make_shared<QueuedAssetWriter>(state));
    } catch (const std::system_error& error) { // no more threads
        state->recorder->remove();
        return Failure{PlatformError{error.code().value(), QString::fromUtf8(error.what())}};
    }
}

} // namespace quillet
