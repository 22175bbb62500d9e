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
/// How long to wait when the file writer's queue is full; what it then holds keeps it busy for about that long.
constexpr std::chrono::milliseconds kWriterPause{10};

std::int64_t roundUp(std::int64_t value, std::int64_t step) { return (value + step - 1) / step * step; }

} // namespace

/// A stretch of ticks on its way through the capture queue.
class FilePlayer::Batch final : public SerialQueue::Item {
public:
    Batch(FilePlayer& owner, std::int64_t mostTicks) : player(owner), ticks(mostTicks) {}

    void run() override {
        const std::int64_t blocks = ticks * kTickFrames / kBlockFrames + 1;
        const bool taken = !player.m_callbacks.canTakeBlocks || player.m_callbacks.canTakeBlocks(blocks);
        const Outcome outcome = taken ? player.deliverTicks(ticks) : Outcome::WriterIsFull;
        const std::lock_guard lock(player.m_mutex);
        player.m_outcome = outcome;
        player.m_changed.notify_all();
    }

    FilePlayer& player;
    const std::int64_t ticks;
};

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

FilePlayer::FilePlayer(Files files, Pace pace, std::optional<FrameCount> length) : m_pace(pace), m_length(length) {
    m_system.reader = std::move(files.systemAudio);
    m_microphone.reader = std::move(files.microphone);
    m_system.ended = !m_system.reader;
    m_microphone.ended = !m_microphone.reader;
}

FilePlayer::~FilePlayer() { stop(); }

void FilePlayer::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

/// The schedule begins when every side that has a file is running.
void FilePlayer::laneStarted(SerialQueue& queue) {
    const int lanes = (m_system.reader ? 1 : 0) + (m_microphone.reader ? 1 : 0);
    if (++m_lanesStarted != lanes) return;
    const bool besideLiveDevice = lanes == 1;
    if (besideLiveDevice) {
        const auto now = hostNow().time_since_epoch();
        m_begin = HostFramePos(std::chrono::duration_cast<FrameCount>(now));
    }
    m_thread = std::thread([this, &queue] { play(queue); });
}

void FilePlayer::play(SerialQueue& queue) {
    const auto begin = std::chrono::steady_clock::now();
    const bool paced = m_pace == Pace::RealTime;
    Batch batch(*this, paced ? 1 : kTicksPerFastBatch);
    Outcome outcome = Outcome::Delivered;
    while (outcome == Outcome::Delivered) {
        if (paced) {
            // Ahead of its time and on this thread: a slow disk must not keep a live device on the queue waiting.
            if (!readTick()) break;
            std::unique_lock lock(m_mutex);
            m_changed.wait_until(lock, begin + FrameCount((m_tick + 1) * kTickFrames), [this] { return m_stopping; });
        }
        outcome = handOver(queue, batch);
    }
    if (outcome == Outcome::Stopped) return;
    queue.async([weak = weak_from_this()] {
        if (const auto self = weak.lock(); self && self->m_callbacks.didEnd) self->m_callbacks.didEnd();
    });
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
    if (m_length && lane.playedFrames >= m_length->count()) lane.ended = true;
    const std::span<float> samples(lane.samples);
    copySanitized(samples.first(got * channels), samples.first(got * channels));
    std::fill(samples.begin() + static_cast<std::ptrdiff_t>(got * channels), samples.end(), 0.0F);
}

/// How far the schedule runs as far as is known: without end while a file still has samples.
std::int64_t FilePlayer::framesToPlay() const {
    if (!m_system.ended || !m_microphone.ended) return INT64_MAX / 2;
    return roundUp(std::max(m_system.playedFrames, m_microphone.playedFrames), kBlockFrames);
}

/// Passes the batch through the capture queue and waits until the writer has taken it.
FilePlayer::Outcome FilePlayer::handOver(SerialQueue& queue, Batch& batch) {
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        m_outcome.reset();
        queue.post(batch);
        m_changed.wait(lock, [this] { return m_outcome.has_value(); });
        if (*m_outcome != Outcome::WriterIsFull) return m_stopping ? Outcome::Stopped : *m_outcome;
        m_changed.wait_for(lock, kWriterPause, [this] { return m_stopping; });
    }
    return Outcome::Stopped;
}

/// At full speed the files are read here, tick by tick: samples that stay in this processor's cache on their way from
/// the file into the mix cost less than those that another thread has read ahead.
FilePlayer::Outcome FilePlayer::deliverTicks(std::int64_t ticks) {
    for (std::int64_t i = 0; i < ticks; ++i) {
        if (m_pace == Pace::AsFastAsPossible && !readTick()) return Outcome::Ended;
        deliver(m_system);
        deliver(m_microphone);
        ++m_tick;
    }
    return Outcome::Delivered;
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
