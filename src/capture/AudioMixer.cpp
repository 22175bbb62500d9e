#include "capture/AudioMixer.h"

#include "capture/FourSamples.h"
#include "support/Require.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace quillet {
namespace {

constexpr float kMixFactor = 0.5F; ///< two full-scale sources at gain 1 add up to full scale
constexpr float kLevelFloor = 0.0001F;
constexpr float kLevelSmoothing = 0.15F;
constexpr float kTargetLevel = 0.2F;
constexpr float kSystemTrim = 0.7F; ///< the others a little below one's own voice
constexpr float kMinGain = 0.25F;
constexpr float kMaxGain = 2.0F;
constexpr float kGainSmoothing = 0.2F;
constexpr float kInt16Scale = 1.0F / 32768.0F;

float clampGain(float gain) { return gain <= kMinGain ? kMinGain : gain > kMaxGain ? kMaxGain : gain; }

/// A value out of bytes of any alignment; 0 where they end too early.
template <typename T>
T readAt(std::span<const std::byte> bytes, std::size_t offset) {
    T value{};
    if (offset + sizeof(T) <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

float sampleAt(std::span<const std::byte> bytes, std::size_t offset, bool isFloat) {
    return isFloat ? readAt<float>(bytes, offset)
                   : static_cast<float>(readAt<std::int16_t>(bytes, offset)) * kInt16Scale;
}

struct StereoFrame {
    float left = 0;
    float right = 0;
};

/// One frame of any format, for the formats that the fast copies below do not know.
StereoFrame frameAt(const SampleBuffer& buffer, std::size_t frame, bool bothChannels) {
    const AudioStreamDescription& format = *buffer.description;
    if (format.formatID != kFormatLinearPCM || format.channelsPerFrame == 0) return {};
    const bool isFloat = (format.formatFlags & kFormatFlagFloat) != 0;
    const std::size_t offset = frame * format.bytesPerFrame;
    const float left = sampleAt(buffer.data, offset, isFloat);
    if (!bothChannels || format.channelsPerFrame == 1) return {left, left};
    return {left, sampleAt(buffer.data, offset + (isFloat ? sizeof(float) : sizeof(std::int16_t)), isFloat)};
}

bool isFloatPcm(const AudioStreamDescription& format, std::uint32_t channels) {
    return format.formatID == kFormatLinearPCM && (format.formatFlags & kFormatFlagFloat) &&
           format.channelsPerFrame == channels && format.bytesPerFrame == channels * sizeof(float);
}

/// What a stretch of samples adds up to, in eight lanes: a fixed order, so that the same input gives the same bits in
/// every build.
struct Measures {
    static constexpr std::size_t kVectors = 2;
    static constexpr std::size_t kLanes = 4 * kVectors;
    using Lanes = std::array<FourSamples, kVectors>;
    Lanes systemSquares{}, micSquares{}, systemPeaks{}, micPeaks{};
};
static_assert(2 * kBlockFrames % Measures::kLanes == 0 && 2 * AudioMixer::kRingFrames % Measures::kLanes == 0,
              "a block is whole lanes, also where the ring wraps");

struct Scales {
    float system; ///< to multiply with
    float mic;
    float limit; ///< of the sum, either way
};

/// Mixes a stretch of samples and measures both sources.
void mixStretch(const float* system, const float* mic, float* out, std::size_t samples, Scales by, Measures& total) {
    Measures sums = total; // a copy that stays in registers, for the output might overlap the original
    for (std::size_t i = 0; i < samples; i += Measures::kLanes) {
        for (std::size_t v = 0; v < Measures::kVectors; ++v) {
            const FourSamples a = loadFour(system + i + 4 * v);
            const FourSamples b = loadFour(mic + i + 4 * v);
            const FourSamples mixed = by.system * a + by.mic * b;
            storeFour(out + i + 4 * v, smaller(larger(mixed, allFour(-by.limit)), allFour(by.limit)));
            sums.systemSquares[v] += a * a;
            sums.micSquares[v] += b * b;
            sums.systemPeaks[v] = larger(magnitude(a), sums.systemPeaks[v]);
            sums.micPeaks[v] = larger(magnitude(b), sums.micPeaks[v]);
        }
    }
    total = sums;
}

float sum(const Measures::Lanes& lanes) {
    float total = 0;
    for (const FourSamples& four : lanes)
        for (std::size_t i = 0; i < 4; ++i) total += four[i];
    return total;
}

float largest(const Measures::Lanes& lanes) {
    float found = 0;
    for (const FourSamples& four : lanes)
        for (std::size_t i = 0; i < 4; ++i) found = std::max(found, four[i]);
    return found;
}

float blockRms(float sumOfSquares) {
    const float meanOfChannels = sumOfSquares * 0.5F;
    return std::sqrt(std::max(meanOfChannels / static_cast<float>(kBlockFrames), kLevelFloor));
}

} // namespace

AudioMixer::AudioMixer(BlockSink& sink, CaptureMeters& meters) : m_sink(sink), m_meters(meters) {
    restoreLevelsAndGains();
}

void AudioMixer::reset() {
    m_sessionStartPTS.reset();
    m_lastDrainedFrame = 0;
    m_latestSystemFrame = 0;
    m_latestMicFrame = 0;
    restoreLevelsAndGains();
    m_ringFrames = kRingFrames;
    m_systemRing.emplace(m_ringFrames);
    m_micRing.emplace(m_ringFrames);
    m_meters.reset();
}

void AudioMixer::tearDownMixer() {
    m_systemRing.reset();
    m_micRing.reset();
    restoreLevelsAndGains();
}

void AudioMixer::restoreLevelsAndGains() {
    m_systemLevelRMS = kTargetLevel;
    m_micLevelRMS = kTargetLevel;
    m_systemAutoGain = kSystemTrim;
    m_micAutoGain = 1.0F;
}

void AudioMixer::deliverSystemAudio(const SampleBuffer& buffer) {
    if (!m_sessionStartPTS) m_sessionStartPTS = buffer.presentationTime;
    writeToSystemRing(buffer);
}

void AudioMixer::deliverMicrophone(const SampleBuffer& buffer) {
    if (!m_sessionStartPTS) return;
    writeToMicRing(buffer);
}

void AudioMixer::writeToSystemRing(const SampleBuffer& buffer) {
    if (!m_systemRing || !m_micRing) return;
    const auto start = startFrame(buffer);
    if (!start) return;
    copySystemBufferToRing(buffer, *m_systemRing, *start);
    drainMixedBlocks();
}

void AudioMixer::writeToMicRing(const SampleBuffer& buffer) {
    if (!m_micRing) return;
    const auto start = startFrame(buffer);
    if (!start) return;
    copyMicBufferToRing(buffer, *m_micRing, *start);
    drainMixedBlocks();
}

std::optional<std::int64_t> AudioMixer::startFrame(const SampleBuffer& buffer) const {
    if (!m_sessionStartPTS) return std::nullopt;
    const double delta = buffer.presentationTime.seconds() - m_sessionStartPTS->seconds();
    if (delta < 0) return std::nullopt;
    const double frame = delta * static_cast<double>(kSampleRateHz);
    require(std::isfinite(frame) && frame < 9.2e18, "a sample buffer's presentation time is not a time");
    return static_cast<std::int64_t>(frame);
}

void AudioMixer::copySystemBufferToRing(const SampleBuffer& buffer, FloatRing& ring, std::int64_t startFrame) {
    if (const auto end = copyToRing(buffer, ring, startFrame, Channels::Both))
        m_latestSystemFrame = std::max(m_latestSystemFrame, *end);
}

void AudioMixer::copyMicBufferToRing(const SampleBuffer& buffer, FloatRing& ring, std::int64_t startFrame) {
    if (const auto end = copyToRing(buffer, ring, startFrame, Channels::FirstToBoth))
        m_latestMicFrame = std::max(m_latestMicFrame, *end);
}

std::optional<std::int64_t> AudioMixer::copyToRing(const SampleBuffer& buffer, FloatRing& ring, std::int64_t startFrame,
                                                   Channels channels) {
    if (!buffer.description || !buffer.data.data() || buffer.description->bytesPerFrame == 0) return std::nullopt;
    const auto frames = static_cast<std::int64_t>(buffer.data.size() / buffer.description->bytesPerFrame);
    const bool stereo = channels == Channels::Both && isFloatPcm(*buffer.description, 2);
    const bool mono = isFloatPcm(*buffer.description, 1);

    for (std::int64_t done = 0; done < frames;) {
        const FloatRing::Run run = ring.runAt(startFrame + done, frames - done);
        const auto runFrames = static_cast<std::size_t>(run.frames);
        const auto first = static_cast<std::size_t>(done);
        if (stereo) {
            std::memcpy(run.samples, buffer.data.data() + first * 8, runFrames * 8);
        } else if (mono) {
            for (std::size_t i = 0; i < runFrames; ++i) {
                float sample = 0;
                std::memcpy(&sample, buffer.data.data() + (first + i) * sizeof(float), sizeof(float));
                run.samples[2 * i] = sample;
                run.samples[2 * i + 1] = sample;
            }
        } else {
            for (std::size_t i = 0; i < runFrames; ++i) {
                const StereoFrame frame = frameAt(buffer, first + i, channels == Channels::Both);
                run.samples[2 * i] = frame.left;
                run.samples[2 * i + 1] = frame.right;
            }
        }
        done += run.frames;
    }
    return startFrame + frames;
}

void AudioMixer::drainMixedBlocks() {
    if (!m_systemRing || !m_micRing) return;
    const std::int64_t available = std::min(m_latestSystemFrame, m_latestMicFrame);
    if (available < 1) return;

    const std::int64_t floor = std::max<std::int64_t>(available - m_ringFrames, 0);
    if (m_lastDrainedFrame < floor) {
        const std::int64_t resume = floor - floor % kBlockFrames;
        m_meters.blocksDropped += (resume - m_lastDrainedFrame) / kBlockFrames;
        m_lastDrainedFrame = resume;
    }
    if (!m_sessionStartPTS) m_sessionStartPTS = MediaTime{0, kSampleRateHz};
    // The file is made for the first whole block, so that less than one leaves none behind.
    if (m_lastDrainedFrame + kBlockFrames > available || !m_sink.prepareForBlocks()) return;

    // One reading for the whole drain: what the blocks below measure counts from the next delivery on.
    const float systemGain = m_systemAutoGain;
    const float micGain = m_micAutoGain;
    while (m_lastDrainedFrame + kBlockFrames <= available) {
        if (!m_sink.isReadyForBlock()) break;
        mixBlock(systemGain, micGain);
        m_sink.takeBlock(m_block, FramePos(FrameCount(m_lastDrainedFrame)));
        m_lastDrainedFrame += kBlockFrames;
        m_meters.mixedFrames.store(m_lastDrainedFrame, std::memory_order_relaxed);
    }
}

void AudioMixer::mixBlock(float systemGain, float micGain) {
    Measures sums;
    for (std::int64_t done = 0; done < kBlockFrames;) {
        // Both rings have the same capacity, so that both wrap at the same frame.
        const FloatRing::Run system = m_systemRing->runAt(m_lastDrainedFrame + done, kBlockFrames - done);
        const FloatRing::Run mic = m_micRing->runAt(m_lastDrainedFrame + done, kBlockFrames - done);
        mixStretch(system.samples, mic.samples, m_block.data() + 2 * done, static_cast<std::size_t>(2 * system.frames),
                   {.system = systemGain * kMixFactor, .mic = micGain * kMixFactor, .limit = m_fullScale}, sums);
        done += system.frames;
    }
    const float systemRms = blockRms(sum(sums.systemSquares));
    const float micRms = blockRms(sum(sums.micSquares));
    updateAutoGains(systemRms, micRms);

    const FrameCount length(kBlockFrames);
    m_meters.system.addBlock(largest(sums.systemPeaks), systemRms, length);
    m_meters.microphone.addBlock(largest(sums.micPeaks), micRms, length);
}

void AudioMixer::updateAutoGains(float systemBlockRMS, float micBlockRMS) {
    m_systemLevelRMS += (systemBlockRMS - m_systemLevelRMS) * kLevelSmoothing;
    m_micLevelRMS += (micBlockRMS - m_micLevelRMS) * kLevelSmoothing;
    const float systemTarget = clampGain(kTargetLevel / std::max(m_systemLevelRMS, kLevelFloor) * kSystemTrim);
    const float micTarget = clampGain(kTargetLevel / std::max(m_micLevelRMS, kLevelFloor));
    m_systemAutoGain += (systemTarget - m_systemAutoGain) * kGainSmoothing;
    m_micAutoGain += (micTarget - m_micAutoGain) * kGainSmoothing;
}

} // namespace quillet
