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
/// that the same files give the same mix bit for bit. Nothing is delivered that the file writer could not take. A file
/// that ends goes on as silence until the other has ended and its last frame has filled a block.
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
        /// Capture queue: whether the file writer takes that many blocks now.
        std::function<bool(std::int64_t blocks)> canTakeBlocks;
        /// Capture queue, once: everything has been delivered.
        std::function<void()> didEnd;
    };

    /// With a length, the files end there at the latest.
    static std::shared_ptr<FilePlayer> create(Files files, Pace pace, std::optional<FrameCount> length);
    ~FilePlayer();

    /// Plays no further. Waits for the capture queue, which must still be alive: call it before letting the queue go,
    /// not on the queue. Idempotent.
    void stop();

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
    class Batch;

    enum class Outcome { Delivered, WriterIsFull, Ended, Stopped };

    /// One side: its file, and where its samples go once it has been started.
    struct Lane {
        std::unique_ptr<AudioFileReader> reader;
        SampleHandler handler; ///< capture queue; empty before the start and after the stop
        bool ended = false;
        std::int64_t playedFrames = 0;
        std::vector<float> samples; ///< of the tick that is due
    };

    FilePlayer(Files files, Pace pace, std::optional<FrameCount> length);
    void laneStarted(SerialQueue& queue);
    void play(SerialQueue& queue);
    bool readTick();
    void fill(Lane& lane);
    [[nodiscard]] std::int64_t framesToPlay() const;
    Outcome handOver(SerialQueue& queue, Batch& batch);
    Outcome deliverTicks(std::int64_t ticks);
    void deliver(Lane& lane);

    // The player's thread waits while a batch is on the capture queue: what both use, they use in turns.
    std::int64_t m_tick = 0; ///< that is due
    Lane m_system;
    Lane m_microphone;
    const Pace m_pace;
    const std::optional<FrameCount> m_length;
    Callbacks m_callbacks;
    HostFramePos m_begin{};
    bool m_firstSystemBuffer = true; ///< capture queue
    int m_lanesStarted = 0;          ///< capture queue

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopping = false;          ///< under the mutex
    std::optional<Outcome> m_outcome; ///< of the last batch; under the mutex
    std::thread m_thread;
};

} // namespace quillet
