#include "capture/ArrivalClock.h"

#include "capture/MediaTime.h"

#include <algorithm>
#include <cmath>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr Seconds kBucket = 500ms;

constexpr Seconds kPeriod = FrameCount(1024); ///< PipeWire's usual one, and the fragment that is asked for
constexpr Seconds kSteadiness = 1ms;          ///< how exactly the lateness shows and keeps what has been skipped

// The time constant grows from brisk to calm: at first the device's rate is unknown, and two hundred parts per million
// would carry the position off by three milliseconds before the calm controller had found them.
constexpr double kFirstTimeConstantSeconds = 6;
constexpr double kTimeConstantSeconds = 20;
constexpr double kTimeConstantGrowth = 0.1; ///< seconds per second since the restart

constexpr double kLargestIntegralPpm = 500;
constexpr double kLargestCorrectionPpm = 1000; ///< still inaudible: two hundredths of a semitone

} // namespace

bool ArrivalClock::isSkip(Seconds lateness) {
    if (lateness > kDiscontinuity) return false;
    const double periods = std::round(lateness / kPeriod);
    return periods >= 1 && std::abs((lateness - periods * kPeriod).count()) <= kSteadiness.count();
}

void ArrivalClock::restart(HostTime now) {
    m_filled = 0;
    m_observed = false;
    m_restarted = now;
    m_bucketBegan = now;
    m_correctionPpm = m_integralPpm;
}

void ArrivalClock::observe(HostTime now, Seconds lateness) {
    m_minimum = m_observed ? std::min(m_minimum, lateness) : lateness;
    m_observed = true;
    if (now - m_bucketBegan >= kBucket) closeBucket(now);
}

void ArrivalClock::closeBucket(HostTime now) {
    m_minima[m_filled % kBuckets] = m_minimum;
    ++m_filled;
    const Seconds elapsed = now - m_bucketBegan;
    m_bucketBegan = now;
    m_observed = false;

    const Seconds error =
        *std::min_element(m_minima.begin(), m_minima.begin() + std::ptrdiff_t(std::min(m_filled, kBuckets)));
    if (error > kDiscontinuity) return; // soon made up for by inserted frames, and no sign of the rate
    if (m_filled <= kBucketsToTellSkip && isSkip(error)) return; // perhaps so; stretching would make it hard to see

    // Critically damped: the proportional gain is the inverse time constant, the integral one a quarter of its square.
    const double timeConstant = std::min(
        kTimeConstantSeconds, kFirstTimeConstantSeconds + kTimeConstantGrowth * Seconds(now - m_restarted).count());
    const double gain = 1e6 / timeConstant;
    // An error that takes the largest correction already tells nothing of the rate; adding it up would overshoot.
    if (std::abs(gain * error.count() + m_integralPpm) < kLargestCorrectionPpm)
        m_integralPpm = std::clamp(m_integralPpm + gain / (4 * timeConstant) * error.count() * elapsed.count(),
                                   -kLargestIntegralPpm, kLargestIntegralPpm);
    m_correctionPpm = std::clamp(gain * error.count() + m_integralPpm, -kLargestCorrectionPpm, kLargestCorrectionPpm);
}

std::optional<Seconds> ArrivalClock::lost() const {
    if (m_filled < kBucketsToTellLoss) return std::nullopt;
    const Seconds loss = lastMinima(kBucketsToTellLoss).least;
    if (loss > kDiscontinuity) return loss;
    if (m_filled < kBucketsToTellSkip) return std::nullopt;
    // A skip shows before it is corrected. What is being stretched away passes a period's length on its way down.
    if (m_correctionPpm > kLargestIntegralPpm) return std::nullopt;
    const auto [least, most] = lastMinima(kBucketsToTellSkip);
    if (!isSkip(least) || most - least > kSteadiness) return std::nullopt;
    return least;
}

ArrivalClock::Range ArrivalClock::lastMinima(std::size_t buckets) const {
    Range range{Seconds::max(), Seconds::min()};
    for (std::size_t back = 1; back <= buckets; ++back) {
        const Seconds minimum = m_minima[(m_filled - back) % kBuckets];
        range = {std::min(range.least, minimum), std::max(range.most, minimum)};
    }
    return range;
}

void ArrivalClock::movedForward(Seconds by) {
    // What lies before the loss was in place; only from here on does the lateness count again.
    m_filled = 0;
    if (m_observed) m_minimum -= by;
}

} // namespace quillet
