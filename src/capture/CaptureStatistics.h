#pragma once

#include "capture/MediaTime.h"

#include <atomic>
#include <cstdint>

namespace quillet {

/// Silence of this length is worth a word: real rooms and real lines are never exactly zero.
inline constexpr FrameCount kNoticeableSilence = std::chrono::seconds(10);

/// What one source of a recording has carried so far.
struct SourceStatistics {
    float peak = 0;               ///< largest magnitude since the start; 1.0 is full scale
    float level = 0;              ///< RMS of the last mixed block, before gain; 0.01 stands for anything quieter
    FrameCount digitalSilence{0}; ///< how long it has been exactly zero up to now
    FrameCount longestSilence{0}; ///< the longest such stretch
};

/// A look at a recording under way or just ended.
struct CaptureStatistics {
    FrameCount mixed{0};            ///< length of the file's time line so far
    FrameCount finished{0};         ///< what the recording that was finished last plays
    std::int64_t blocksDropped = 0; ///< blocks that the file did not get: skipped by the catch-up, or not taken
    SourceStatistics system;
    SourceStatistics microphone;
};

/// The same, written on the capture queue and read from any thread. The fields are independent of each other.
class CaptureMeters {
public:
    class Source {
    public:
        /// Capture queue, once per block.
        void addBlock(float blockPeak, float blockRms, FrameCount length);
        void reset();
        [[nodiscard]] SourceStatistics read() const;

    private:
        std::atomic<float> m_peak = 0;
        std::atomic<float> m_level = 0;
        std::atomic<std::int64_t> m_silentFrames = 0;
        std::atomic<std::int64_t> m_longestSilentFrames = 0;
    };

    Source system;
    Source microphone;
    std::atomic<std::int64_t> mixedFrames = 0;
    std::atomic<std::int64_t> blocksDropped = 0;
    std::atomic<std::int64_t> finishedFrames = 0;

    /// For the next recording, while the last one may not be finished yet.
    void reset();
    [[nodiscard]] CaptureStatistics read() const;
};

} // namespace quillet
