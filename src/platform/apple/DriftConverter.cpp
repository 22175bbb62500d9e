#include "platform/apple/DriftConverter.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace quillet::apple {
namespace {

constexpr std::size_t kTaps = 32;
constexpr std::size_t kCentre = kTaps / 2 - 1; ///< the tap that falls on the frame itself when nothing is shifted
/// Between two of these the coefficients are interpolated; so many keep the error of that 120 dB down at 10 kHz.
constexpr std::size_t kPhases = 512;
constexpr double kWindowShape = 9.0; ///< Kaiser's beta: side lobes 90 dB down

using Coefficients = std::array<float, kTaps>;
using Table = std::array<Coefficients, kPhases + 1>;

/// The modified Bessel function of the first kind and order zero, by its series.
double besselI0(double x) {
    double term = 1;
    double sum = 1;
    for (int k = 1; term > sum * 1e-15; ++k) {
        term *= (x / 2 / k) * (x / 2 / k);
        sum += term;
    }
    return sum;
}

double window(double distance) {
    constexpr double kReach = kTaps / 2.0;
    const double part = distance / kReach;
    if (std::abs(part) >= 1) return 0;
    return besselI0(kWindowShape * std::sqrt(1 - part * part)) / besselI0(kWindowShape);
}

double sinc(double x) { return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x); }

const Table& table() {
    static const Table coefficients = [] {
        Table made{};
        for (std::size_t phase = 0; phase <= kPhases; ++phase) {
            const double shift = static_cast<double>(phase) / kPhases;
            std::array<double, kTaps> exact{};
            double sum = 0;
            for (std::size_t tap = 0; tap < kTaps; ++tap) {
                const double distance = static_cast<double>(tap) - static_cast<double>(kCentre) - shift;
                // The sine of a multiple of pi is not quite zero in floating point.
                const bool onFrame = phase == 0 || phase == kPhases;
                exact[tap] = onFrame && std::abs(distance) > 0.5 ? 0 : sinc(distance) * window(distance);
                sum += exact[tap];
            }
            for (std::size_t tap = 0; tap < kTaps; ++tap) made[phase][tap] = static_cast<float>(exact[tap] / sum);
        }
        return made;
    }();
    return coefficients;
}

class DriftConverter final : public RateConverter {
public:
    explicit DriftConverter(int channels) : m_channels(static_cast<std::size_t>(channels)) { reset(); }

    void reset() override {
        m_frames.assign(kCentre * m_channels, 0.0F);
        m_position = 0;
    }

    void setCorrection(double ppm) override { m_step = 1 / (1 + ppm * 1e-6); }

    std::span<const float> convert(std::span<const float> interleaved) override {
        m_frames.insert(m_frames.end(), interleaved.begin(), interleaved.end());
        m_ready.clear();
        while (static_cast<std::size_t>(m_position) + kTaps <= count()) {
            appendFrame();
            m_position += m_step;
        }
        const auto gone = static_cast<std::size_t>(m_position);
        m_frames.erase(m_frames.begin(), m_frames.begin() + static_cast<std::ptrdiff_t>(gone * m_channels));
        m_position -= static_cast<double>(gone);
        return m_ready;
    }

    double heldFrames() const override { return static_cast<double>(count()) - kCentre - m_position; }

private:
    [[nodiscard]] std::size_t count() const { return m_frames.size() / m_channels; }

    void appendFrame() {
        const auto whole = static_cast<std::size_t>(m_position);
        const double phase = (m_position - static_cast<double>(whole)) * kPhases;
        const auto lower = static_cast<std::size_t>(phase);
        const auto part = static_cast<float>(phase - static_cast<double>(lower));
        const Coefficients& below = table()[lower];
        const Coefficients& above = table()[lower + 1];
        for (std::size_t channel = 0; channel < m_channels; ++channel) {
            const float* const samples = m_frames.data() + whole * m_channels + channel;
            float sum = 0;
            for (std::size_t tap = 0; tap < kTaps; ++tap) {
                const float coefficient = below[tap] + (above[tap] - below[tap]) * part;
                sum += samples[tap * m_channels] * coefficient;
            }
            m_ready.push_back(sum);
        }
    }

    const std::size_t m_channels;
    std::vector<float> m_frames; ///< those that a frame to come needs
    std::vector<float> m_ready;
    double m_position = 0; ///< of the next frame's first tap in m_frames
    double m_step = 1;
};

} // namespace

std::unique_ptr<RateConverter> makeDriftConverter(int channels) { return std::make_unique<DriftConverter>(channels); }

} // namespace quillet::apple
