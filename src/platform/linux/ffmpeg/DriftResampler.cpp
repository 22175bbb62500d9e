#include "platform/linux/ffmpeg/DriftResampler.h"

#include "capture/MediaTime.h"
#include "support/Require.h"

#include <cmath>
#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace quillet {
namespace {

constexpr std::size_t kFilterTaps = 32;
// The library's usual 2^10 positions between two samples are 128 KiB of filter, through which a drifting clock walks
// with cold caches. With 2^7 and linear interpolation, 1 and 10 kHz come out as clean (-101 dB), 20 kHz 3 dB less so.
constexpr int kPhaseBits = 7;
constexpr int kCorrectionFrames = 1'000'000; ///< ppm are frames per this many; renewed long before they are over
constexpr std::int64_t kDelayBase = std::int64_t{kSampleRateHz} * 1000;

struct FreeSwr {
    void operator()(SwrContext* swr) const { swr_free(&swr); }
};

class DriftResampler final : public RateConverter {
public:
    explicit DriftResampler(int channels) : m_channels(static_cast<std::size_t>(channels)) {
        AVChannelLayout layout{};
        av_channel_layout_default(&layout, channels);
        SwrContext* swr = nullptr;
        swr_alloc_set_opts2(&swr, &layout, AV_SAMPLE_FMT_FLT, kSampleRateHz, &layout, AV_SAMPLE_FMT_FLT, kSampleRateHz,
                            0, nullptr);
        m_swr.reset(swr);
        require(swr != nullptr, "no memory for a resampler");
        // Without linear interpolation between the filter's phases, 10 kHz comes out 30 dB dirtier.
        av_opt_set_int(swr, "flags", SWR_FLAG_RESAMPLE, 0);
        av_opt_set_int(swr, "linear_interp", 1, 0);
        av_opt_set_int(swr, "exact_rational", 0, 0);
        av_opt_set_int(swr, "phase_shift", kPhaseBits, 0);
        av_opt_set_int(swr, "filter_size", static_cast<std::int64_t>(kFilterTaps), 0);
        require(swr_init(swr) >= 0, "the resampler refuses 48 kHz float");
    }

    void reset() override {
        // Initialising again empties the filter; a correction under way ends with it.
        require(swr_init(m_swr.get()) >= 0, "the resampler refuses 48 kHz float");
        m_appliedPpm = 0;
        m_framesSinceApplied = 0;
    }

    void setCorrection(double ppm) override { m_ppm = static_cast<int>(std::lround(ppm)); }

    std::span<const float> convert(std::span<const float> interleaved) override {
        const auto frames = static_cast<int>(interleaved.size() / m_channels);
        if (m_ppm != m_appliedPpm || m_framesSinceApplied > kCorrectionFrames / 4) {
            swr_set_compensation(m_swr.get(), m_ppm, kCorrectionFrames);
            m_appliedPpm = m_ppm;
            m_framesSinceApplied = 0;
        }
        m_framesSinceApplied += frames;

        const auto room = static_cast<std::size_t>(frames) + kFilterTaps + static_cast<std::size_t>(frames / 500) + 16;
        if (m_output.size() < room * m_channels) m_output.resize(room * m_channels);
        const auto* input = reinterpret_cast<const std::uint8_t*>(interleaved.data());
        auto* output = reinterpret_cast<std::uint8_t*>(m_output.data());
        const int made = swr_convert(m_swr.get(), &output, static_cast<int>(room), &input, frames);
        require(made >= 0, "the resampler failed");
        return std::span(m_output).first(static_cast<std::size_t>(made) * m_channels);
    }

    double heldFrames() const override {
        static_assert(kDelayBase % kSampleRateHz == 0);
        constexpr std::int64_t kDelayUnitsPerFrame = kDelayBase / kSampleRateHz;
        const auto delay = static_cast<double>(swr_get_delay(m_swr.get(), kDelayBase));
        return delay / static_cast<double>(kDelayUnitsPerFrame);
    }

private:
    const std::size_t m_channels;
    std::unique_ptr<SwrContext, FreeSwr> m_swr;
    std::vector<float> m_output;
    int m_ppm = 0;
    int m_appliedPpm = 0;
    std::int64_t m_framesSinceApplied = 0;
};

} // namespace

std::unique_ptr<RateConverter> makeDriftResampler(int channels) { return std::make_unique<DriftResampler>(channels); }

} // namespace quillet
