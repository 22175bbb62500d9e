#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

namespace quillet {

/// A moment on the machine's monotonic clock, as hostNow() reads it.
using HostTime = std::chrono::steady_clock::time_point;
using Seconds = std::chrono::duration<double>;

/// Finds, from the moments at which a device's frames arrive, by how many parts per million the device's clock differs
/// from the machine's. Arrivals are late by anything up to half a second and never early, so only the least late ones
/// count: the smallest lateness of the last four seconds drives a slow proportional-integral controller. Whoever owns
/// it stretches the device's frames by correctionPpm(), which in turn keeps the lateness near zero. One thread at a
/// time; it allocates nothing and cannot fail.
class ArrivalClock {
public:
    /// Lateness beyond this is lost audio, not drift; as far ahead of its arrival no frame is ever placed.
    static constexpr Seconds kDiscontinuity = std::chrono::milliseconds(60);

    /// Begins anew after a break in the stream. What was learned about the device's rate is kept.
    void restart(HostTime now);

    /// To be told once per arrival: how long after its last frame's place on the time line it came.
    void observe(HostTime now, Seconds lateness);

    /// More frames (positive) or fewer are to be made of the device's.
    [[nodiscard]] double correctionPpm() const { return m_correctionPpm; }

    /// How much audio has been lost on the way, when every arrival for more than a second has come too late: a stall
    /// alone ends with a burst that is on time again. Less than kDiscontinuity counts only when it is a skip and has
    /// been steady for longer.
    [[nodiscard]] std::optional<Seconds> lost() const;

    /// The time line has been moved forward, to make up for lost audio, or back (negative), by leaving some out.
    void movedForward(Seconds by);

private:
    static constexpr std::size_t kBuckets = 8;
    static constexpr std::size_t kBucketsToTellLoss = 2;
    static constexpr std::size_t kBucketsToTellSkip = 3;

    /// Whether somebody who is late by so much has missed one period of the sound server or two, and no more than that
    /// has happened. A server that changes its latency shifts what it delivers by other amounts.
    [[nodiscard]] static bool isSkip(Seconds lateness);
    void closeBucket(HostTime now);
    struct Range {
        Seconds least;
        Seconds most;
    };
    [[nodiscard]] Range lastMinima(std::size_t buckets) const;

    std::array<Seconds, kBuckets> m_minima{}; ///< least lateness of each past half second, a ring
    std::size_t m_filled = 0;                 ///< buckets since the restart, without limit
    Seconds m_minimum{};                      ///< of the half second under way
    bool m_observed = false;                  ///< anything in the half second under way
    HostTime m_restarted;
    HostTime m_bucketBegan;
    double m_integralPpm = 0;
    double m_correctionPpm = 0;
};

} // namespace quillet
