#include "capture/CaptureStatistics.h"

#include <algorithm>

namespace quillet {
namespace {
constexpr auto kRelaxed = std::memory_order_relaxed;
}

void CaptureMeters::Source::addBlock(float blockPeak, float blockRms, FrameCount length) {
    m_peak.store(std::max(m_peak.load(kRelaxed), blockPeak), kRelaxed);
    m_level.store(blockRms, kRelaxed);
    const std::int64_t silent = blockPeak > 0 ? 0 : m_silentFrames.load(kRelaxed) + length.count();
    m_silentFrames.store(silent, kRelaxed);
    m_longestSilentFrames.store(std::max(m_longestSilentFrames.load(kRelaxed), silent), kRelaxed);
}

void CaptureMeters::Source::reset() {
    m_peak = 0;
    m_level = 0;
    m_silentFrames = 0;
    m_longestSilentFrames = 0;
}

SourceStatistics CaptureMeters::Source::read() const {
    return {.peak = m_peak.load(kRelaxed),
            .level = m_level.load(kRelaxed),
            .digitalSilence = FrameCount(m_silentFrames.load(kRelaxed)),
            .longestSilence = FrameCount(m_longestSilentFrames.load(kRelaxed))};
}

void CaptureMeters::reset() {
    system.reset();
    microphone.reset();
    mixedFrames = 0;
    blocksDropped = 0;
}

CaptureStatistics CaptureMeters::read() const {
    return {.mixed = FrameCount(mixedFrames.load(kRelaxed)),
            .finished = FrameCount(finishedFrames.load(kRelaxed)),
            .blocksDropped = blocksDropped.load(kRelaxed),
            .system = system.read(),
            .microphone = microphone.read()};
}

} // namespace quillet
