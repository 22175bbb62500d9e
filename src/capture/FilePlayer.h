#pragma once

#include "capture/DeliveryPool.h"
#include "platform/AudioFileReader.h"
#include "platform/MicrophoneSource.h"
#include "platform/SystemAudioSource.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace quillet {

/// Plays audio files as the sources of a recording: one for the system audio, one for the microphone, or either beside
/// a live device.
///
/// Both files run on one fixed schedule, 960 frames of system audio and then 960 of the microphone, at either pace, so
/// that the same files give the same mix bit for bit. Nothing of two files is delivered that the file writer could not
/// take. A file that ends goes on as silence until the other has ended and its last frame has filled a block.
class FilePlayer final : public std::enable_shared_from_this<FilePlayer> {
public:
    enum class Pace { RealTime, AsFastAsPossible };

    /// Frames per delivery of each source: 20 ms.
    static constexpr std::int64_t kTickFrames = 960;

    struct Files {
        std::unique_ptr<AudioFileReader> systemAudio; ///< null: a live device delivers that side
        std::unique_ptr<AudioFileReader> microphone;
    };
    struct Callbacks {
        /// Capture queue: whether up to a second may be delivered now. If not, whenReady is called once, on any thread,
        /// when it may; not if the recording ends before. Not asked beside a live device: it cannot be held back, and a
        /// file that waited would be mixed with what the device delivers later.
        std::function<bool(const std::function<void()>& whenReady)> requestMediaData;
        /// Capture queue, once, unless it is stopped before: everything has been delivered.
        std::function<void()> didEnd;
    };
    /// A file that could not be read to its end.
    struct ReadFailure {
        FrameCount played; ///< before it
        PlatformError error;
    };
    struct ReadFailures {
        std::optional<ReadFailure> systemAudio;
        std::optional<ReadFailure> microphone;
    };

    /// With a length, the files end there at the latest.
    static std::shared_ptr<FilePlayer> create(Files files, Pace pace, std::optional<FrameCount> length);
    ~FilePlayer();

    /// Plays no further. Waits for what is on the capture queue, which must still be alive: call it before letting the
    /// queue go, not on the queue. Idempotent.
    void stop();

    /// After stop() only.
    [[nodiscard]] ReadFailures readFailures() const;

    /// Before the recording starts.
    void setCallbacks(Callbacks callbacks) { m_callbacks = std::move(callbacks); }

    /// Null for a side without a file.
    [[nodiscard]] std::shared_ptr<SystemAudioSource> systemAudioSource();
    [[nodiscard]] std::shared_ptr<MicrophoneSource> microphoneSource();

private:
    class SystemSource;
    class SystemStream;
    class Microphone;
    class MicrophoneHandle;
    /// A stretch of ticks on its way through the capture queue.
    struct Batch final : SerialQueue::Item {
        explicit Batch(FilePlayer& owner) : player(owner) {}
        void run() override { player.runBatch(); }
        FilePlayer& player;
    };

    /// One side: its file, and where its samples go once it has been started.
    struct Lane {
        std::unique_ptr<AudioFileReader> reader;
        SampleHandler handler; ///< capture queue; empty before the start and after the stop
        bool ended = false;
        std::int64_t playedFrames = 0;
        std::vector<float> samples; ///< of the tick that is due
        std::optional<ReadFailure> failure;
    };

    FilePlayer(Files files, Pace pace, std::optional<FrameCount> length);
    void laneStarted(SerialQueue& queue);
    void playInRealTime();
    void postBatch();
    void runBatch();
    [[nodiscard]] bool writerTakesMore() const;
    void deliverTicks();
    bool readTick();
    void fill(Lane& lane);
    [[nodiscard]] std::int64_t framesToPlay() const;
    void deliver(Lane& lane);

    // In real time the player's thread waits while the batch is on the capture queue: what both use, they use in turns.
    std::int64_t m_tick = 0; ///< that is due
    Lane m_system;
    Lane m_microphone;
    const Pace m_pace;
    const std::optional<FrameCount> m_length;
    const bool m_besideLiveDevice;
    Callbacks m_callbacks;
    std::function<void()> m_postAgain; ///< made once: asking the writer for every tick allocates nothing
    HostFramePos m_begin{};
    bool m_firstSystemBuffer = true; ///< capture queue
    int m_lanesStarted = 0;          ///< capture queue
    bool m_ended = false;            ///< nothing is left to deliver
    Batch m_batch{*this};

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    bool m_stopping = false;
    SerialQueue* m_queue = nullptr; ///< while there is something to play
    bool m_batchIsOut = false;      ///< on the queue, or waiting for the writer
    std::thread m_thread;           ///< in real time only
};

} // namespace quillet
