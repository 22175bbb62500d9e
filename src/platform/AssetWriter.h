#pragma once

#include "capture/SampleBuffer.h"
#include "support/Result.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

namespace quillet {

enum class AssetWriterStatus { Unknown, Writing, Completed, Failed, Cancelled };

/// Output settings of the file's one audio track.
struct AudioOutputSettings {
    std::uint32_t formatID = 0x61616320; ///< 'aac ': MPEG-4 AAC-LC
    int sampleRateHz = kSampleRateHz;
    int channelCount = 2;
    int bitRate = 256000; ///< bits per second
};

/// Writes one MPEG-4 audio file. Encoding and the disk run on a thread of the writer's own behind a bounded queue of
/// 10 to 20 seconds; no call here waits for either.
///
/// Calls come from the capture queue, in the order addInput, startWriting, startSession, append…, then either
/// markAsFinished and finishWriting, or cancelWriting. status() and framesInFile() may be read from any thread.
///
/// A full disk or a device error while writing ends the file early: what was encoded is finished into a playable file,
/// the status becomes Completed, the interruption handler is told why, once, and finishWriting() still ends as usual.
/// Where the disk does not allow even that, what has reached it is left as it is, playable in fragments, for a repair.
/// The status is Failed when nothing but the finish went wrong, or the file holds nothing to play and is removed.
class AssetWriter {
public:
    using InterruptionHandler = std::function<void(PlatformError)>;

    virtual ~AssetWriter() = default;

    [[nodiscard]] virtual AssetWriterStatus status() const = 0;
    /// How many frames the ended file plays: fewer than were appended when the disk was full. Of one that
    /// could not be finished, how many a repair can save; 0 when there is no file any more. Final with the status.
    [[nodiscard]] virtual std::int64_t framesInFile() const = 0;
    /// False when the settings cannot be met. The input always expects media in real time.
    virtual bool addInput(const AudioOutputSettings& settings) = 0;
    /// On the writer's thread, at most once; set before startWriting().
    virtual void setInterruptionHandler(InterruptionHandler handler) = 0;
    virtual bool startWriting() = 0;
    virtual void startSession(MediaTime atSourceTime) = 0;

    /// How many more blocks of 1,024 frames the queue takes right now; 0 unless writing.
    [[nodiscard]] virtual std::int64_t freeBlocks() const = 0;
    [[nodiscard]] bool isReadyForMoreMediaData() const { return freeBlocks() > 0; }
    /// For sources that can be held back: whether at most that many blocks, one batch of the writer's or more, wait for
    /// the encoder. If not, whenReady is called once, as soon as it is so, on the writer's thread. A new request
    /// replaces the last; the end of writing, for whatever reason, withdraws it: the sources are being stopped then.
    virtual bool requestMediaData(std::int64_t mostWaitingBlocks, const std::function<void()>& whenReady) = 0;
    /// Copies one block of interleaved stereo floats. Its presentation time is a multiple of 1,024 frames at timescale
    /// 48,000, not before the end of the previous block; what was left out between them becomes silence in the file.
    virtual bool append(const SampleBuffer& block) = 0;

    virtual void markAsFinished() = 0;
    /// The completion runs once, on a thread of this recording that nothing else waits for; status() is final by then.
    /// The writer keeps itself alive until it has returned.
    virtual void finishWriting(std::function<void()> completion) = 0;
    /// Ends writing and removes the file.
    virtual void cancelWriting() = 0;
};

/// Makes writers. Capture queue only.
class AssetWriterFactory {
public:
    virtual ~AssetWriterFactory() = default;
    /// Creates the file, readable by its owner only. A finished file of that name is set aside first under a name of
    /// its own, and tell hears which; one that is still being written by anyone is a failure.
    virtual Result<std::shared_ptr<AssetWriter>>
    makeWriter(const std::filesystem::path& url,
               const std::function<void(const std::filesystem::path& earlier)>& tell) = 0;
};

} // namespace quillet
