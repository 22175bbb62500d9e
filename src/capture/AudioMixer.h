#pragma once

#include "capture/CaptureStatistics.h"
#include "capture/FloatRing.h"
#include "capture/SampleBuffer.h"

#include <array>
#include <optional>

namespace quillet {

/// One mixed block of interleaved stereo.
using MixedBlock = std::array<float, 2 * kBlockFrames>;

/// Where mixed blocks go. Capture queue only.
class BlockSink {
public:
    virtual ~BlockSink() = default;
    /// Asked once per drain before the first block: false when no block can be taken at all now.
    virtual bool prepareForBlocks() = 0;
    /// Asked before every block: false leaves it in the rings until the next delivery.
    virtual bool isReadyForBlock() = 0;
    virtual void takeBlock(const MixedBlock& block, FramePos at) = 0;
};

/// Puts two sources on one time line and mixes them: each buffer is placed by its own presentation time into the ring
/// of its source, and as soon as both sources have come past the end of a block of 1,024 frames, the block is mixed
/// with a slowly adapting gain per source and handed on.
///
/// Placement reconciles nothing: what a source leaves out keeps the ring's content of 1.5 s before, so the sources
/// deliver without holes. A source more than 1.5 s behind the other is read too late. Capture queue only; no Qt;
/// nothing here allocates once reset() has run.
class AudioMixer {
public:
    static constexpr std::int64_t kRingFrames = 72000; ///< 1.5 s

    AudioMixer(BlockSink& sink, CaptureMeters& meters);

    /// The state at the start of a recording: empty rings, no time line yet, levels and gains at rest.
    void reset();
    /// Drops the rings: whatever is delivered from now on is ignored.
    void tearDownMixer();

    /// The first buffer sets frame 0 of the recording.
    void deliverSystemAudio(const SampleBuffer& buffer);
    /// Ignored until the first system-audio buffer has come.
    void deliverMicrophone(const SampleBuffer& buffer);

    [[nodiscard]] std::int64_t lastDrainedFrame() const { return m_lastDrainedFrame; }
    [[nodiscard]] float systemAutoGain() const { return m_systemAutoGain; }
    [[nodiscard]] float micAutoGain() const { return m_micAutoGain; }

private:
    enum class Channels { Both, FirstToBoth };

    void writeToSystemRing(const SampleBuffer& buffer);
    void writeToMicRing(const SampleBuffer& buffer);
    [[nodiscard]] std::optional<std::int64_t> startFrame(const SampleBuffer& buffer) const;
    void copySystemBufferToRing(const SampleBuffer& buffer, FloatRing& ring, std::int64_t startFrame);
    void copyMicBufferToRing(const SampleBuffer& buffer, FloatRing& ring, std::int64_t startFrame);
    /// Returns one past the last frame written; nothing when the buffer is unreadable.
    static std::optional<std::int64_t> copyToRing(const SampleBuffer& buffer, FloatRing& ring, std::int64_t startFrame,
                                                  Channels channels);
    void drainMixedBlocks();
    void mixBlock(float systemGain, float micGain);
    void updateAutoGains(float systemBlockRMS, float micBlockRMS);
    void restoreLevelsAndGains();

    BlockSink& m_sink;
    CaptureMeters& m_meters;
    MixedBlock m_block{};
    float m_fullScale = 1.0F; ///< no constant: with one, GCC 12 clamps in four instructions instead of one

    std::int64_t m_ringFrames = kRingFrames;
    std::optional<FloatRing> m_systemRing;
    std::optional<FloatRing> m_micRing;
    std::optional<MediaTime> m_sessionStartPTS;
    std::int64_t m_lastDrainedFrame = 0;
    std::int64_t m_latestSystemFrame = 0;
    std::int64_t m_latestMicFrame = 0;
    float m_systemLevelRMS = 0;
    float m_micLevelRMS = 0;
    float m_systemAutoGain = 0;
    float m_micAutoGain = 0;
};

} // namespace quillet
