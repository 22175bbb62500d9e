// How audible an encoder's noise is: quillet-bench-quality REFERENCE DECODED...
//
// For each file one line: noise-to-mask ratio in dB, disturbed frames in per cent, segmental signal-to-noise ratio in
// dB, and by how many frames the file lies later than the reference. Frames of 2,048 samples (Hann, half overlapped)
// are put into half-Bark bands; the mask of a band is the reference's energy spread by 27 dB per Bark downwards and
// 12 dB per Bark upwards, lowered by max(3, z / 4) dB at Bark z, and never below the threshold in quiet (full scale
// taken as 96 dB SPL). The ratio is the mean of noise over mask, in energy; a frame is disturbed when a band's noise
// lies more than 1.5 dB above its mask. A simple model: good for comparing encoders, not a substitute for listening.
#include "WavFile.h"
#include "capture/MediaTime.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <numbers>

using namespace quillet;
using namespace quillet::bench;

namespace {

constexpr std::size_t kWindow = 2048;
constexpr std::size_t kBins = kWindow / 2;
constexpr std::size_t kBands = 49;                    ///< half a Bark each, to about 20 kHz
constexpr double kSilentFrameEnergy = 1e-7 * kWindow; ///< -70 dB of full scale: nothing to be heard in it
constexpr double kFullScaleSpl = 96;
constexpr double kDisturbing = 1.41; ///< 1.5 dB
constexpr std::int64_t kMaxLag = 4096;

using Bands = std::array<double, kBands>;

double fromDecibels(double decibels) { return std::pow(10.0, decibels / 10.0); }
double binHz(std::size_t bin) { return static_cast<double>(bin) * kSampleRateHz / kWindow; }
double bark(double hz) { return 13.0 * std::atan(0.00076 * hz) + 3.5 * std::atan(hz * hz / (7500.0 * 7500.0)); }

std::size_t bandOf(std::size_t bin) { return std::min(static_cast<std::size_t>(2.0 * bark(binHz(bin))), kBands - 1); }

void fft(std::vector<std::complex<double>>& data) {
    const std::size_t n = data.size();
    for (std::size_t i = 1, j = 0; i < n; ++i) {
        std::size_t bit = n >> 1U;
        for (; j & bit; bit >>= 1U) j ^= bit;
        j ^= bit;
        if (i < j) std::swap(data[i], data[j]);
    }
    for (std::size_t length = 2; length <= n; length *= 2) {
        const auto step = std::polar(1.0, -2.0 * std::numbers::pi / static_cast<double>(length));
        for (std::size_t begin = 0; begin < n; begin += length) {
            std::complex<double> turn = 1;
            for (std::size_t i = begin; i < begin + length / 2; ++i, turn *= step) {
                const auto odd = turn * data[i + length / 2];
                data[i + length / 2] = data[i] - odd;
                data[i] += odd;
            }
        }
    }
}

class Model {
public:
    Model() : m_window(kWindow), m_band(kBins), m_work(kWindow) {
        for (std::size_t i = 0; i < kWindow; ++i)
            m_window[i] = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / kWindow);
        for (std::size_t bin = 0; bin < kBins; ++bin) {
            m_band[bin] = bandOf(bin);
            const double kHz = std::max(binHz(bin), 20.0) / 1000.0;
            const double spl = 3.64 * std::pow(kHz, -0.8) - 6.5 * std::exp(-0.6 * (kHz - 3.3) * (kHz - 3.3)) +
                               0.001 * std::pow(kHz, 4.0);
            // A full-scale sine has the energy (window / 4)^2 in its bin.
            m_quiet[m_band[bin]] += fromDecibels(spl - kFullScaleSpl) * (kWindow / 4.0) * (kWindow / 4.0);
        }
    }

    /// Energy per band of one channel's windowed frame.
    template <typename SampleAt>
    Bands bands(SampleAt sampleAt) {
        for (std::size_t i = 0; i < kWindow; ++i) m_work[i] = m_window[i] * sampleAt(i);
        fft(m_work);
        Bands energy{};
        for (std::size_t bin = 1; bin < kBins; ++bin) energy[m_band[bin]] += std::norm(m_work[bin]);
        return energy;
    }

    [[nodiscard]] Bands mask(const Bands& signal) const {
        Bands result = m_quiet;
        for (std::size_t to = 0; to < kBands; ++to) {
            const double z = 0.5 * static_cast<double>(to);
            double spread = 0;
            for (std::size_t from = 0; from < kBands; ++from) {
                const double distance = z - 0.5 * static_cast<double>(from);
                spread += signal[from] * fromDecibels(distance < 0 ? 27.0 * distance : -12.0 * distance);
            }
            result[to] += spread * fromDecibels(-std::max(3.0, z / 4.0));
        }
        return result;
    }

private:
    std::vector<double> m_window;
    std::vector<std::size_t> m_band;
    std::vector<std::complex<double>> m_work;
    Bands m_quiet{};
};

/// By how many frames the decoded file lies later, by correlation over a second in the middle.
std::int64_t lagOf(const Audio& reference, const Audio& decoded) {
    const auto length = static_cast<std::int64_t>(std::min(reference.frames(), decoded.frames()));
    const std::int64_t begin = length / 2;
    if (begin < kMaxLag + kSampleRateHz) fail("a file is too short to compare");
    std::int64_t best = 0;
    double bestSum = -1;
    for (std::int64_t lag = -kMaxLag; lag <= kMaxLag; ++lag) {
        double sum = 0;
        for (std::int64_t i = begin; i < begin + kSampleRateHz / 2; ++i)
            sum += reference.samples[static_cast<std::size_t>(2 * i)] *
                   decoded.samples[static_cast<std::size_t>(2 * (i + lag))];
        if (sum > bestSum) {
            bestSum = sum;
            best = lag;
        }
    }
    return best;
}

struct Verdict {
    double noiseToMaskDb = 0;
    double disturbedPercent = 0;
    double segmentalSnrDb = 0;
};

Verdict compare(const Audio& reference, const Audio& decoded, std::int64_t lag) {
    Model model;
    double ratioSum = 0;
    double snrSum = 0;
    std::int64_t frames = 0;
    std::int64_t disturbed = 0;
    const auto length = static_cast<std::int64_t>(std::min(reference.frames(), decoded.frames())) - kMaxLag;
    for (std::int64_t begin = kMaxLag; begin + static_cast<std::int64_t>(kWindow) <= length; begin += kWindow / 2) {
        for (std::int64_t channel = 0; channel < 2; ++channel) {
            const auto original = [&](std::size_t i) {
                return static_cast<double>(reference.samples[static_cast<std::size_t>(2 * begin + channel) + 2 * i]);
            };
            const auto noise = [&](std::size_t i) {
                return decoded.samples[static_cast<std::size_t>(2 * (begin + lag) + channel) + 2 * i] - original(i);
            };
            double signalEnergy = 0;
            double noiseEnergy = 1e-12;
            for (std::size_t i = 0; i < kWindow; ++i) {
                signalEnergy += original(i) * original(i);
                noiseEnergy += noise(i) * noise(i);
            }
            if (signalEnergy < kSilentFrameEnergy) continue;

            const Bands mask = model.mask(model.bands(original));
            const Bands error = model.bands(noise);
            double sum = 0;
            double worst = 0;
            for (std::size_t band = 0; band < kBands; ++band) {
                sum += error[band] / mask[band];
                worst = std::max(worst, error[band] / mask[band]);
            }
            ratioSum += sum / kBands;
            snrSum += std::clamp(10.0 * std::log10(signalEnergy / noiseEnergy), 0.0, 60.0);
            disturbed += worst > kDisturbing ? 1 : 0;
            ++frames;
        }
    }
    if (frames == 0) fail("there is nothing to hear in the reference");
    const auto count = static_cast<double>(frames);
    return {10.0 * std::log10(ratioSum / count), 100.0 * static_cast<double>(disturbed) / count, snrSum / count};
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) fail("usage: quillet-bench-quality REFERENCE DECODED...");
    const Audio reference = readAudio(argv[1]);
    for (int i = 2; i < argc; ++i) {
        const Audio decoded = readAudio(argv[i]);
        if (reference.channels != 2 || decoded.channels != 2) fail("only stereo is compared");
        const std::int64_t lag = lagOf(reference, decoded);
        const Verdict verdict = compare(reference, decoded, lag);
        std::printf("%.2f %.2f %.2f %lld\n", verdict.noiseToMaskDb, verdict.disturbedPercent, verdict.segmentalSnrDb,
                    static_cast<long long>(lag));
    }
    return 0;
}
