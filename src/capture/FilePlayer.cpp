#include "capture/FilePlayer.h"

#include "platform/HostClock.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillet {
namespace {

/// At full speed that many go through the capture queue at once, 1 s: waking it for every tick would cost more than
/// mixing does.
constexpr std::int64_t kTicksPerFastBatch = 50;

std::int64_t roundUp(std::int64_t value, std::int64_t step) { return (value + step - 1) / step * step; }

} // namespace

// ---- the two sources ------------------------------------------------------------------------------------------------

class FilePlayer::SystemStream final : public SystemAudioStream {
public:
    explicit SystemStream(std::shared_ptr<FilePlayer> player) : m_player(std::move(player)) {}
    ~SystemStream() override { m_player->m_system.handler = nullptr; }

    Result<void> addStreamOutput(SerialQueue& queue, SampleHandler handler) override {
        m_queue = &queue;
        m_player->m_system.handler = std::move(handler);
        return {};
    }
    void startCapture(Completion completion) override {
        completion(std::nullopt);
        m_player->laneStarted(*m_queue);
    }
    void stopCapture(Completion completion) override {
        m_player->m_system.handler = nullptr;
        m_queue->async([completion = std::move(completion)] { completion(std::nullopt); });
    }

private:
    std::shared_ptr<FilePlayer> m_player;
    SerialQueue* m_queue = nullptr;
};

class FilePlayer::SystemSource final : public SystemAudioSource {
public:
    explicit SystemSource(std::shared_ptr<FilePlayer> player) : m_player(std::move(player)) {}
    void getShareableContent(ContentCompletion completion) override {
        completion(std::optional(ShareableContent{{QStringLiteral("file")}}));
    }
    std::shared_ptr<SystemAudioStream> makeStream(const ContentFilter&, const StreamConfiguration&) override {
        return std::make_shared<SystemStream>(m_player);
    }

private:
    std::shared_ptr<FilePlayer> m_player;
};

class FilePlayer::MicrophoneHandle final : public MicrophoneSession {
public:
    explicit MicrophoneHandle(std::shared_ptr<FilePlayer> player) : m_player(std::move(player)) {}
    ~MicrophoneHandle() override { m_player->m_microphone.handler = nullptr; }
    void stop() override { m_player->m_microphone.handler = nullptr; }

private:
    std::shared_ptr<FilePlayer> m_player;
};

class FilePlayer::Microphone final : public MicrophoneSource {
public:
    explicit Microphone(std::shared_ptr<FilePlayer> player) : m_player(std::move(player)) {}
    AuthorizationStatus authorizationStatus() override { return AuthorizationStatus::Authorized; }
    Result<std::unique_ptr<MicrophoneSession>, MicrophoneFailure> start(SerialQueue& queue,
                                                                        SampleHandler handler) override {
        m_player->m_microphone.handler = std::move(handler);
        m_player->laneStarted(queue);
        return std::unique_ptr<MicrophoneSession>(std::make_unique<MicrophoneHandle>(m_player));
    }

private:
    std::shared_ptr<FilePlayer> m_player;
};

std::shared_ptr<SystemAudioSource> FilePlayer::systemAudioSource() {
    return m_system.reader ? std::make_shared<SystemSource>(shared_from_this()) : nullptr;
}

std::shared_ptr<MicrophoneSource> FilePlayer::microphoneSource() {
    return m_microphone.reader ? std::make_shared<Microphone>(shared_from_this()) : nullptr;
}

// ---- the player -----------------------------------------------------------------------------------------------------

std::shared_ptr<FilePlayer> FilePlayer::create(Files files, Pace pace, std::optional<FrameCount> length) {
    return std::shared_ptr<FilePlayer>(new FilePlayer(std::move(files), pace, length));
}

FilePlayer::FilePlayer(Files files, Pace pace, std::optional<FrameCount> length)
    : m_pace(pace), m_length(length), m_besideLiveDevice(!files.systemAudio || !files.microphone) {
    m_system.reader = std::move(files.systemAudio);
    m_microphone.reader = std::move(files.microphone);
    m_system.ended = !m_system.reader;
    m_microphone.ended = !m_microphone.reader;
}

FilePlayer::~FilePlayer() { stop(); }

void FilePlayer::stop() {
    SerialQueue* queue = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        queue = std::exchange(m_queue, nullptr);
    }
    m_changed.notify_all();
    if (queue) queue->sync([] {}); // a batch that is on it is before this, and so is the start of the thread
    if (m_thread.joinable()) m_thread.join();
}

FilePlayer::ReadFailures FilePlayer::readFailures() const { return {m_system.failure, m_microphone.failure}; }

/// The schedule begins when every side that has a file is running.
void FilePlayer::laneStarted(SerialQueue& queue) {
    const int lanes = (m_system.reader ? 1 : 0) + (m_microphone.reader ? 1 : 0);
    if (++m_lanesStarted != lanes) return;
    if (m_besideLiveDevice) {
        const auto now = hostNow().time_since_epoch();
        m_begin = HostFramePos(std::chrono::duration_cast<FrameCount>(now));
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopping) return;
        m_queue = &queue;
    }
    m_postAgain = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->postBatch();
    };
    if (m_pace == Pace::AsFastAsPossible) return postBatch();
    m_thread = std::thread([this] { playInRealTime(); });
}

/// Reads ahead of time and on this thread: a slow disk must not keep a live device on the queue waiting.
void FilePlayer::playInRealTime() {
    const auto begin = std::chrono::steady_clock::now();
    while (readTick()) {
        std::unique_lock lock(m_mutex);
        m_changed.wait_until(lock, begin + FrameCount((m_tick + 1) * kTickFrames), [this] { return m_stopping; });
        lock.unlock();
        postBatch();
        lock.lock();
        m_changed.wait(lock, [this] { return !m_batchIsOut || m_stopping; });
        if (m_stopping) return;
    }
    m_ended = true;
    postBatch(); // tells so
}

/// Any thread.
void FilePlayer::postBatch() {
    const std::lock_guard lock(m_mutex);
    if (m_stopping || !m_queue) return;
    m_batchIsOut = true;
    m_queue->post(m_batch);
}

/// Capture queue.
void FilePlayer::runBatch() {
    const bool someoneListens = m_system.handler || m_microphone.handler;
    if (!someoneListens) return; // the recording has been stopped; nobody needs the rest
    if (!m_ended) {
        if (!writerTakesMore()) return;
        deliverTicks();
    }
    if (m_ended && m_callbacks.didEnd) m_callbacks.didEnd();
    if (!m_ended && m_pace == Pace::AsFastAsPossible) {
        // Asked before posting: the writer's thread, which has just posted this batch, may still be holding the mutex.
        if (writerTakesMore()) postBatch();
        return;
    }
    const std::lock_guard lock(m_mutex);
    m_batchIsOut = false;
    if (m_ended) m_queue = nullptr;
    m_changed.notify_all();
}

/// Else it says when.
bool FilePlayer::writerTakesMore() const {
    return m_besideLiveDevice || !m_callbacks.requestMediaData || m_callbacks.requestMediaData(m_postAgain);
}

/// At full speed the files are read here, tick by tick: samples that stay in this processor's cache on their way from
/// the file into the mix cost less than those that another thread has read ahead.
void FilePlayer::deliverTicks() {
    const std::int64_t ticks = m_pace == Pace::AsFastAsPossible ? kTicksPerFastBatch : 1;
    for (std::int64_t i = 0; i < ticks && !m_ended; ++i) {
        m_ended = m_pace == Pace::AsFastAsPossible && !readTick();
        if (m_ended) break;
        deliver(m_system);
        deliver(m_microphone);
        ++m_tick;
    }
}

/// Reads what both sides play next. False, and there is nothing to deliver, when the schedule has ended.
bool FilePlayer::readTick() {
    fill(m_system);
    fill(m_microphone);
    return m_tick * kTickFrames < framesToPlay(); // known only now: a file may have ended just here
}

/// Reads the next tick of one side; behind its end, silence.
void FilePlayer::fill(Lane& lane) {
    if (!lane.reader) return;
    const auto channels = static_cast<std::size_t>(lane.reader->channels());
    lane.samples.resize(static_cast<std::size_t>(kTickFrames) * channels);
    const std::int64_t left = m_length ? m_length->count() - lane.playedFrames : kTickFrames;
    const auto wanted = static_cast<std::size_t>(std::clamp<std::int64_t>(left, 0, kTickFrames));
    std::size_t got = 0;
    while (!lane.ended && got < wanted) {
        const std::size_t frames =
            lane.reader->read(std::span(lane.samples).subspan(got * channels, (wanted - got) * channels));
        got += frames;
        lane.ended = frames == 0;
    }
    lane.playedFrames += static_cast<std::int64_t>(got);
    if (const auto error = lane.ended && !lane.failure ? lane.reader->readError() : std::nullopt)
        lane.failure = ReadFailure{.played = FrameCount(lane.playedFrames), .error = *error};
    if (m_length && lane.playedFrames >= m_length->count()) lane.ended = true;
    const std::span<float> samples(lane.samples);
    std::fill(samples.begin() + static_cast<std::ptrdiff_t>(got * channels), samples.end(), 0.0F);
}

/// How far the schedule runs as far as is known: without end while a file still has samples.
std::int64_t FilePlayer::framesToPlay() const {
    if (!m_system.ended || !m_microphone.ended) return INT64_MAX / 2;
    return roundUp(std::max(m_system.playedFrames, m_microphone.playedFrames), kBlockFrames);
}

void FilePlayer::deliver(Lane& lane) {
    if (!lane.handler) return;
    const HostFramePos at = m_begin + FrameCount(m_tick * kTickFrames);
    const bool setsFrameZero = &lane == &m_system && std::exchange(m_firstSystemBuffer, false);
    lane.handler({.data = std::as_bytes(std::span<const float>(lane.samples)),
                  .description = lane.reader->channels() == 1 ? &kMonoFloat : &kInterleavedStereoFloat,
                  .presentationTime = setsFrameZero ? MediaTime::atFrame(at) : MediaTime::insideFrame(at),
                  .sampleCount = kTickFrames});
}

} // namespace quillet
