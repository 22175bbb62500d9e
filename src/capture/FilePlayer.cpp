#include "capture/FilePlayer.h"

#include "platform/HostClock.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillet {
namespace {

/// At full speed a batch of 0.2 s goes over to the capture queue at once: a hop per tick would cost more than mixing.
constexpr std::int64_t kTicksPerFastBatch = 10;
/// How long to wait when the file writer's queue is full; it holds many seconds, so it does not run dry meanwhile.
constexpr std::chrono::milliseconds kWriterPause{5};

std::int64_t roundUp(std::int64_t value, std::int64_t step) { return (value + step - 1) / step * step; }

} // namespace

/// A stretch of ticks on its way through the capture queue.
class FilePlayer::Batch final : public SerialQueue::Item {
public:
    enum class Outcome { Delivered, WriterIsFull };

    explicit Batch(FilePlayer& owner) : player(owner) {}

    void run() override {
        const std::int64_t blocks = ticks * kTickFrames / kBlockFrames + 1;
        outcome = Outcome::WriterIsFull;
        if (!player.m_callbacks.canTakeBlocks || player.m_callbacks.canTakeBlocks(blocks)) {
            for (std::int64_t tick = 0; tick < ticks; ++tick) {
                player.deliver(player.m_system, tick, firstTick + tick);
                player.deliver(player.m_microphone, tick, firstTick + tick);
            }
            outcome = Outcome::Delivered;
        }
        const std::lock_guard lock(player.m_mutex);
        player.m_batchUnderWay = false;
        player.m_changed.notify_all();
    }

    FilePlayer& player;
    std::int64_t firstTick = 0;
    std::int64_t ticks = 0;
    Outcome outcome = Outcome::Delivered;
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
    const std::int64_t ticksPerBatch = m_pace == Pace::RealTime ? 1 : kTicksPerFastBatch;
    m_thread = std::thread([this, &queue, ticksPerBatch] { play(queue, ticksPerBatch); });
}

void FilePlayer::play(SerialQueue& queue, std::int64_t ticksPerBatch) {
    const auto begin = std::chrono::steady_clock::now();
    Batch batch(*this);
    for (std::int64_t tick = 0; tick * kTickFrames < framesToPlay(); tick += batch.ticks) {
        batch.firstTick = tick;
        batch.ticks = ticksPerBatch;
        fill(m_system, batch.ticks);
        fill(m_microphone, batch.ticks);
        // Only now is it known whether a file ended in here: the last batch stops where the last block is full.
        batch.ticks = std::min(batch.ticks, roundUp(framesToPlay(), kTickFrames) / kTickFrames - tick);
        if (m_pace == Pace::RealTime) {
            std::unique_lock lock(m_mutex);
            m_changed.wait_until(lock, begin + FrameCount((tick + 1) * kTickFrames), [this] { return m_stopping; });
        }
        if (!handOver(queue, batch)) return;
    }
    queue.async([weak = weak_from_this()] {
        if (const auto self = weak.lock(); self && self->m_callbacks.didEnd) self->m_callbacks.didEnd();
    });
}

/// Reads the next ticks of one side; behind its end, silence.
void FilePlayer::fill(Lane& lane, std::int64_t ticks) {
    if (!lane.reader) return;
    const auto channels = static_cast<std::size_t>(lane.reader->channels());
    lane.samples.resize(static_cast<std::size_t>(ticks * kTickFrames) * channels);
    std::size_t wanted = static_cast<std::size_t>(ticks * kTickFrames);
    if (m_length)
        wanted = static_cast<std::size_t>(
            std::clamp<std::int64_t>(m_length->count() - lane.playedFrames, 0, static_cast<std::int64_t>(wanted)));
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

/// Passes the batch through the capture queue and waits for it. False when the player is to stop.
bool FilePlayer::handOver(SerialQueue& queue, Batch& batch) {
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        m_batchUnderWay = true;
        queue.post(batch);
        m_changed.wait(lock, [this] { return !m_batchUnderWay; });
        if (batch.outcome == Batch::Outcome::Delivered) return !m_stopping;
        m_changed.wait_for(lock, kWriterPause, [this] { return m_stopping; });
    }
    return false;
}

void FilePlayer::deliver(Lane& lane, std::int64_t tickInBatch, std::int64_t tick) {
    if (!lane.handler) return;
    const auto channels = static_cast<std::size_t>(lane.reader->channels());
    const std::size_t samplesPerTick = static_cast<std::size_t>(kTickFrames) * channels;
    const auto samples = std::span<const float>(lane.samples)
                             .subspan(static_cast<std::size_t>(tickInBatch) * samplesPerTick, samplesPerTick);
    const HostFramePos at = m_begin + FrameCount(tick * kTickFrames);
    const bool setsFrameZero = &lane == &m_system && std::exchange(m_firstSystemBuffer, false);
    lane.handler({.data = std::as_bytes(samples),
                  .description = channels == 1 ? &kMonoFloat : &kInterleavedStereoFloat,
                  .presentationTime = setsFrameZero ? MediaTime::atFrame(at) : MediaTime::insideFrame(at),
                  .sampleCount = kTickFrames});
}

} // namespace quillet
