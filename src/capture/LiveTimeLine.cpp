#include "capture/LiveTimeLine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostHeldFrames = 2 * kSampleRateHz;
constexpr std::size_t kPieceFrames = 2048; ///< what one call of the converter gets, and one delivery
constexpr HostTime::duration kFillInterval = 20ms;
constexpr HostTime::duration kHeldUp = 10ms; ///< a timer that comes later than that was held up
constexpr HostTime::duration kTimeToRead = 100ms;
constexpr std::array<float, kPieceFrames * 2> kSilence{};

/// A moment in host frames. As a double it is exact to a thousandth of a frame for years of uptime.
double framesAt(HostTime time) { return Seconds(time.time_since_epoch()).count() * kSampleRateHz; }

HostFramePos wholeFrame(double hostFrames) { return HostFramePos(FrameCount(std::llround(std::floor(hostFrames)))); }

double countOf(HostFramePos position) { return static_cast<double>(position.time_since_epoch().count()); }

constexpr double kPatienceFrames = LiveTimeLine::kPatience.count() * kSampleRateHz;
constexpr HostTime::duration kGone = 5s;
constexpr double kGoneDelayFrames = 0.25 * kSampleRateHz;
constexpr double kAgreementFrames = 0.001 * kSampleRateHz;
constexpr double kFramesAhead = ArrivalClock::kDiscontinuity.count() * kSampleRateHz;
/// What a device that is well has not delivered yet.
constexpr std::int64_t kUsualDelayFrames = kSampleRateHz / 10;

} // namespace

LiveTimeLine::LiveTimeLine(int channels, std::unique_ptr<RateConverter> converter, Deliver deliver, HostTime started)
    : m_channels(static_cast<std::size_t>(channels)),
      m_converter(std::move(converter)),
      m_deliver(std::move(deliver)),
      m_next(wholeFrame(framesAt(started)) - FrameCount(1)),
      m_lastArrival(started) {
    m_held.reserve(kMostHeldFrames * m_channels);
    emitSilence(1);
}

std::int64_t LiveTimeLine::heldFrames() const { return static_cast<std::int64_t>(m_held.size() / m_channels); }

void LiveTimeLine::append(HostTime now, std::span<const float> interleaved) {
    const auto frames = static_cast<std::int64_t>(interleaved.size() / m_channels);
    if (frames == 0) return;
    if (m_state == State::Locked) {
        const double end = countOf(m_next) + m_converter->heldFrames() + static_cast<double>(frames);
        const double surplus = end - framesAt(now);
        // What is too early repeats what has been made up for: without the cut it would delay everything after it. Once
        // something must be cut, all that is too early is.
        m_isCutting = surplus > (m_isCutting ? 0 : kFramesAhead);
        const auto cut = m_isCutting ? std::min(std::llround(surplus), static_cast<long long>(frames)) : 0;
        if (cut > 0) m_clock.movedForward(FrameCount(-cut));
        convertAndEmit(interleaved.subspan(static_cast<std::size_t>(cut) * m_channels));
    } else {
        if (m_heldEnd == 0) m_holdingSince = now;
        const std::size_t room = kMostHeldFrames * m_channels;
        const auto kept = interleaved.last(std::min(interleaved.size(), room));
        const std::size_t excess = m_held.size() + kept.size() > room ? m_held.size() + kept.size() - room : 0;
        m_held.erase(m_held.begin(), m_held.begin() + static_cast<std::ptrdiff_t>(excess));
        m_held.insert(m_held.end(), kept.begin(), kept.end());
        m_heldEnd += frames;
    }
    m_lastArrival = now;
}

void LiveTimeLine::appendHole(HostTime now, std::size_t frames) {
    while (frames > 0) {
        const std::size_t part = std::min(frames, kSilenceFrames);
        append(now, std::span(kSilence).first(part * m_channels));
        frames -= part;
    }
}

void LiveTimeLine::arrived(HostTime now) {
    if (m_state == State::Anchoring) {
        if (m_heldEnd == 0) return;
        const double origin = framesAt(now) - static_cast<double>(m_heldEnd);
        if (m_holdingSince == now) m_origins.fill(std::numeric_limits<double>::infinity());
        const Seconds held = now - m_holdingSince;
        double& earliest = m_origins[held < kLinking ? 0 : held < (kLinking + kAnchoring) / 2 ? 1 : 2];
        earliest = std::min(earliest, origin);
        if (now - m_holdingSince >= kAnchoring) lock(now);
        return;
    }
    const double lateFrames = framesAt(now) - countOf(m_next) - m_converter->heldFrames();
    m_clock.observe(now, Seconds(lateFrames / kSampleRateHz));
    if (const auto lost = m_clock.lost()) {
        const auto frames = std::llround(lost->count() * kSampleRateHz);
        emitSilence(frames);
        m_clock.movedForward(FrameCount(frames));
    }
    m_converter->setCorrection(m_clock.correctionPpm());
}

void LiveTimeLine::lock(HostTime now) {
    const double first = originOfHeld() + static_cast<double>(m_heldEnd - heldFrames());
    const HostFramePos begin = wholeFrame(first);
    const std::int64_t gap = (begin - m_next).count();
    emitSilence(std::max<std::int64_t>(gap, 0));
    const std::int64_t covered = std::min(std::max<std::int64_t>(-gap, 0), heldFrames());
    m_state = State::Locked;
    m_clock.restart(now);
    m_converter->reset();
    m_converter->setCorrection(m_clock.correctionPpm());
    convertAndEmit(std::span(std::as_const(m_held)).subspan(static_cast<std::size_t>(covered) * m_channels));
    m_held.clear();
    m_heldEnd = 0;
}

/// What came before a skipped period, or before the server has settled, would place everything behind it too early. It
/// is placed too late itself instead, when what came later agrees. When that does not, the server is only busy.
double LiveTimeLine::originOfHeld() const {
    const auto [whileLinking, then, last] = m_origins;
    const bool settled = std::abs(then - last) < kAgreementFrames; // false while either is infinite
    return settled ? std::min(then, last) : std::min({whileLinking, then, last});
}

void LiveTimeLine::interrupted() {
    m_state = State::Anchoring;
    m_isCutting = false;
    m_held.clear();
    m_heldEnd = 0;
}

void LiveTimeLine::tick(HostTime due, HostTime now) {
    m_wasHeldUp = !m_wasHeldUp && now - due > kHeldUp; // never twice in a row: it may be so for the whole meeting
    if (m_wasHeldUp) return;
    if (m_state == State::Locked) {
        if (now - m_lastArrival < kPatience) return;
        interrupted();
    }
    if (m_heldEnd > 0 && now - m_holdingSince >= kAnchoring) {
        lock(now);
    } else {
        keepUp(now);
    }
    payOwed();
}

HostTime LiveTimeLine::nextTick(HostTime now) const {
    if (m_wasHeldUp) return now + kTimeToRead;
    if (m_state == State::Anchoring || m_owed > 0) return now + kFillInterval;
    return m_lastArrival + std::chrono::duration_cast<HostTime::duration>(kPatience);
}

void LiveTimeLine::finish(HostTime now) {
    if (m_state == State::Anchoring && m_heldEnd > 0) lock(now);
    const std::int64_t behind = (wholeFrame(framesAt(now)) - m_next).count();
    // In large pieces: the receiver has only so many buffers, and none of them comes back before this is through.
    if (behind > kUsualDelayFrames) emitSilence(behind, kPieceFrames);
    payOwed();
}

/// The present minus the patience, and no further: what a stalled device still delivers late is then not lost. From one
/// that is gone nothing comes late, and the other source's sound must not wait on its way to the disk.
void LiveTimeLine::keepUp(HostTime now) {
    const double delay = now - m_lastArrival >= kGone ? kGoneDelayFrames : kPatienceFrames;
    emitSilence((wholeFrame(framesAt(now) - delay) - m_next).count());
}

void LiveTimeLine::convertAndEmit(std::span<const float> interleaved) {
    // In pieces, so that a long burst does not make the converter grow.
    while (!interleaved.empty()) {
        const auto piece = interleaved.first(std::min(interleaved.size(), kPieceFrames * m_channels));
        emit(m_converter->convert(piece));
        interleaved = interleaved.subspan(piece.size());
    }
}

void LiveTimeLine::emit(std::span<const float> interleaved) {
    const auto frames = static_cast<std::int64_t>(interleaved.size() / m_channels);
    payOwed();
    const std::int64_t taken =
        m_owed > 0 || frames == 0 ? 0 : static_cast<std::int64_t>(m_deliver(m_next, interleaved));
    m_owed += frames - taken;
    m_next += FrameCount(frames);
}

void LiveTimeLine::emitSilence(std::int64_t frames, std::size_t framesPerPiece) {
    while (frames > 0) {
        const auto part = std::min(frames, static_cast<std::int64_t>(framesPerPiece));
        emit(std::span(kSilence).first(static_cast<std::size_t>(part) * m_channels));
        frames -= part;
    }
}

void LiveTimeLine::payOwed() {
    while (m_owed > 0) {
        const auto part = std::min(m_owed, static_cast<std::int64_t>(kSilenceFrames));
        const std::size_t taken = m_deliver(m_next - FrameCount(m_owed),
                                            std::span(kSilence).first(static_cast<std::size_t>(part) * m_channels));
        m_owed -= static_cast<std::int64_t>(taken);
        if (static_cast<std::int64_t>(taken) < part) return;
    }
}

} // namespace quillet
