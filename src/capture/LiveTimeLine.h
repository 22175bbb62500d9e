#pragma once

#include "capture/ArrivalClock.h"
#include "capture/MediaTime.h"
#include "capture/RateConverter.h"

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace quillet {

/// Places what arrives from a live device on the machine's monotonic clock: one unbroken run of frames, each where it
/// sounded. It follows the device's clock by stretching, fills lost audio and silent devices with silence, drops audio
/// for which silence has already been delivered, and finds its place anew after every break. It is never more than
/// about a second behind the present nor 60 ms ahead of it. Owned by a recording stream and used on that stream's
/// thread only, but for the end; it allocates nothing after construction, apart from the converter's own warm-up.
class LiveTimeLine {
public:
    /// Takes frames that begin at the position and returns how many it took; what it leaves is owed to it as silence.
    using Deliver = std::function<std::size_t(HostFramePos position, std::span<const float> interleaved)>;

    /// How long a device may be silent before silence takes its place: more than twice the longest delay ever seen
    /// without a loss, and well within what the other source can wait for. After five seconds it counts as gone, and
    /// its silence runs a quarter of a second behind.
    static constexpr Seconds kPatience = std::chrono::seconds(1);
    /// How long arrivals are watched before the first of them is placed.
    static constexpr Seconds kAnchoring = std::chrono::milliseconds(400);
    /// How much of that passes before a server that has just linked a stream has settled, mostly.
    static constexpr Seconds kLinking = std::chrono::milliseconds(100);

    /// Delivers a frame of silence at once, the last before the start: from there on the other source's sound can be
    /// placed, while this one's first is still held back.
    LiveTimeLine(int channels, std::unique_ptr<RateConverter> converter, Deliver deliver, HostTime started);

    /// Frames that were taken from the device at this moment; arrived() ends the moment's series.
    void append(HostTime now, std::span<const float> interleaved);
    /// The device reports that so many frames are missing here.
    void appendHole(HostTime now, std::size_t frames);
    void arrived(HostTime now);

    /// What comes next does not continue what came before: another device, or a buffer that ran over.
    void interrupted();

    /// Keeps the time line moving when nothing arrives. Call it at nextTick(), and say when it was due: one that comes
    /// late does nothing, because the whole program was held up then, and what the device has delivered meanwhile has
    /// yet to be read. The next one, a moment later, counts. More often does no harm.
    void tick(HostTime due, HostTime now);
    /// The recording ends now: what is held back is delivered, and a device that is silent at this moment gets its
    /// silence up to here, because without it the last second of the other side would not be mixed.
    void finish(HostTime now);
    [[nodiscard]] HostTime nextTick(HostTime now) const;

private:
    static constexpr std::size_t kSilenceFrames = 960;
    enum class State { Anchoring, Locked };

    void lock(HostTime now);
    [[nodiscard]] double originOfHeld() const;
    void keepUp(HostTime now);
    void emit(std::span<const float> interleaved);
    void emitSilence(std::int64_t frames, std::size_t framesPerPiece = kSilenceFrames);
    void payOwed();
    void convertAndEmit(std::span<const float> interleaved);
    [[nodiscard]] std::int64_t heldFrames() const;

    const std::size_t m_channels;
    const std::unique_ptr<RateConverter> m_converter;
    const Deliver m_deliver;
    ArrivalClock m_clock;

    State m_state = State::Anchoring;
    HostFramePos m_next;     ///< where the next frame belongs
    std::int64_t m_owed = 0; ///< frames before m_next that nobody has taken
    bool m_wasHeldUp = false;
    HostTime m_lastArrival;

    std::vector<float> m_held; ///< while anchoring: what has arrived
    HostTime m_holdingSince;
    std::int64_t m_heldEnd = 0; ///< frames arrived since the hold began, also those that did not fit
    /// The earliest place, in host frames, that the first of them can have, by the arrivals while the server was
    /// linking the stream, in the first half of the time after that, and in the second; infinite before the first of
    /// each.
    std::array<double, 3> m_origins{};
    bool m_isCutting = false;
};

} // namespace quillet
