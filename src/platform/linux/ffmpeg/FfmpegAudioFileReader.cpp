#include "capture/MediaTime.h"
#include "platform/AudioFileReader.h"
#include "platform/linux/ffmpeg/FfmpegInput.h"

#include <algorithm>
#include <cstring>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace quillet {
namespace {

struct FreeSwr {
    void operator()(SwrContext* context) const { swr_free(&context); }
};
using Swr = std::unique_ptr<SwrContext, FreeSwr>;

/// A channel layout that frees what it may own.
struct Layout {
    AVChannelLayout value{};
    Layout() = default;
    explicit Layout(int channels) { av_channel_layout_default(&value, channels); }
    ~Layout() { av_channel_layout_uninit(&value); }
    Layout(const Layout&) = delete;
    Layout& operator=(const Layout&) = delete;
};

/// What a converter is made for.
struct SourceFormat {
    int rateHz = 0;
    int sampleFormat = AV_SAMPLE_FMT_NONE;
    int channels = 0;
    std::uint64_t channelMask = 0; ///< 0: the file does not say which is which
    bool operator==(const SourceFormat&) const = default;

    static SourceFormat of(const AVFrame& frame) {
        const bool named = frame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE;
        return {frame.sample_rate, frame.format, frame.ch_layout.nb_channels, named ? frame.ch_layout.u.mask : 0};
    }
};

Swr allocate(const SourceFormat& from, AVChannelLayout& fromLayout, int toChannels) {
    Layout to(toChannels);
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &to.value, AV_SAMPLE_FMT_FLT, kSampleRateHz, &fromLayout,
                        static_cast<AVSampleFormat>(from.sampleFormat), from.rateHz, 0, nullptr);
    return Swr(context);
}

/// For channels without known places: the even ones to the left, the odd ones to the right, in equal parts.
Swr allocateForUnknownPlaces(const SourceFormat& from, int toChannels) {
    if (from.channels > FfmpegInput::kMostChannels) return nullptr;
    Layout layout;
    av_channel_layout_from_mask(&layout.value, (std::uint64_t{1} << from.channels) - 1);
    Swr swr = allocate(from, layout.value, toChannels);
    const auto channels = static_cast<std::size_t>(from.channels);
    std::vector<double> matrix(channels * static_cast<std::size_t>(toChannels));
    for (std::size_t i = 0; i < channels; ++i) {
        const std::size_t to = toChannels == 1 ? 0 : i % 2;
        const int mixedIntoOne = toChannels == 1 ? from.channels : (from.channels + 1 - static_cast<int>(to)) / 2;
        matrix[to * channels + i] = 1.0 / mixedIntoOne;
    }
    if (!swr || swr_set_matrix(swr.get(), matrix.data(), from.channels) < 0) return nullptr;
    return swr_init(swr.get()) >= 0 ? std::move(swr) : nullptr;
}

Swr makeConverter(const SourceFormat& from, int toChannels) {
    Layout layout(from.channels);
    if (from.channelMask != 0) av_channel_layout_from_mask(&layout.value, from.channelMask);
    // One channel or two pass as they are, wherever the file says that their loudspeakers stand.
    if (from.channels == toChannels) av_channel_layout_default(&layout.value, from.channels);
    Swr swr = allocate(from, layout.value, toChannels);
    if (swr && swr_init(swr.get()) >= 0) return swr;
    return allocateForUnknownPlaces(from, toChannels);
}

class FfmpegAudioFileReader final : public AudioFileReader {
public:
    FfmpegAudioFileReader(std::unique_ptr<FfmpegInput> input, libav::CodecContext decoder, libav::Packet packet,
                          libav::Frame frame)
        : m_input(std::move(input)),
          m_decoder(std::move(decoder)),
          m_packet(std::move(packet)),
          m_frame(std::move(frame)),
          m_channels(m_decoder->ch_layout.nb_channels == 1 ? 1 : 2) {}

    int channels() const override { return m_channels; }
    std::size_t read(std::span<float> interleaved) override;
    std::optional<PlatformError> readError() const override {
        if (m_input->readError() == 0) return std::nullopt;
        return PlatformError::fromErrno(m_input->readError());
    }

private:
    enum class More { Yes, AtEnd };
    More refill();
    bool decodeFrame();
    void convert(const AVFrame* frame);
    [[nodiscard]] std::span<const float> ready() const {
        return std::span(m_ready).subspan(m_taken, m_filled - m_taken);
    }

    const std::unique_ptr<FfmpegInput> m_input;
    const libav::CodecContext m_decoder;
    const libav::Packet m_packet;
    const libav::Frame m_frame;
    const int m_channels;
    SourceFormat m_format;
    Swr m_converter;
    std::vector<float> m_ready; ///< converted; of which m_filled are valid and m_taken are gone
    std::size_t m_filled = 0;
    std::size_t m_taken = 0;
    bool m_inputEnded = false;
    bool m_decoderEnded = false;
};

std::size_t FfmpegAudioFileReader::read(std::span<float> interleaved) {
    const auto channels = static_cast<std::size_t>(m_channels);
    const std::size_t wanted = interleaved.size() / channels * channels;
    std::size_t done = 0;
    while (done < wanted) {
        if (ready().empty() && refill() == More::AtEnd) break;
        const auto part = ready().first(std::min(ready().size(), wanted - done));
        std::memcpy(interleaved.data() + done, part.data(), part.size_bytes());
        done += part.size();
        m_taken += part.size();
    }
    return done / channels;
}

/// Makes ready what the next frame yields, which a resampler may decide to be nothing.
FfmpegAudioFileReader::More FfmpegAudioFileReader::refill() {
    m_filled = m_taken = 0;
    if (m_decoderEnded) return More::AtEnd;
    if (!decodeFrame()) {
        m_decoderEnded = true;
        convert(nullptr);
        return ready().empty() ? More::AtEnd : More::Yes;
    }
    if (const SourceFormat format = SourceFormat::of(*m_frame); format != m_format) {
        convert(nullptr); // what the old resampler still holds
        m_format = format;
        m_converter = makeConverter(format, m_channels);
    }
    convert(m_frame.get());
    av_frame_unref(m_frame.get());
    return More::Yes;
}

/// Damaged packets are passed over: the rest of the file may be sound.
bool FfmpegAudioFileReader::decodeFrame() {
    while (true) {
        const int error = avcodec_receive_frame(m_decoder.get(), m_frame.get());
        if (error >= 0) {
            if (m_frame->nb_samples > 0 && m_frame->sample_rate >= FfmpegInput::kLeastRateHz) return true;
            av_frame_unref(m_frame.get());
            continue;
        }
        if (error == AVERROR_EOF || m_inputEnded) return false;
        if (m_input->nextPacket(*m_packet)) {
            avcodec_send_packet(m_decoder.get(), m_packet.get());
            av_packet_unref(m_packet.get());
        } else {
            m_inputEnded = true;
            avcodec_send_packet(m_decoder.get(), nullptr);
        }
    }
}

/// Appends to what is ready. Null: the end of what the resampler holds.
void FfmpegAudioFileReader::convert(const AVFrame* frame) {
    if (!m_converter) return;
    const int mostFrames = swr_get_out_samples(m_converter.get(), frame ? frame->nb_samples : 0);
    if (mostFrames <= 0) return;
    const auto channels = static_cast<std::size_t>(m_channels);
    const std::size_t needed = m_filled + static_cast<std::size_t>(mostFrames) * channels;
    if (m_ready.size() < needed) m_ready.resize(needed);
    auto* out = reinterpret_cast<std::uint8_t*>(m_ready.data() + m_filled);
    // The library's own declaration lacks a const here.
    auto** const in = frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr;
    const int frames = swr_convert(m_converter.get(), &out, mostFrames, in, frame ? frame->nb_samples : 0);
    if (frames > 0) m_filled += static_cast<std::size_t>(frames) * channels;
}

Failure<PlatformError> cannotDecode(const FfmpegInput& input) {
    const char* name = avcodec_get_name(input.stream().codecpar->codec_id);
    return Failure{PlatformError{AVERROR_DECODER_NOT_FOUND,
                                 QStringLiteral("its sound cannot be decoded (%1)").arg(QString::fromLatin1(name))}};
}

} // namespace

Result<std::unique_ptr<AudioFileReader>> openAudioFile(const std::filesystem::path& path) {
    auto input = FfmpegInput::open(path);
    if (!input) return Failure{input.error()};
    const AVStream& stream = (*input)->stream();
    const AVCodec* const codec = avcodec_find_decoder(stream.codecpar->codec_id);
    libav::CodecContext decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    libav::Packet packet(av_packet_alloc());
    libav::Frame frame(av_frame_alloc());
    if (!decoder || !packet || !frame || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0)
        return cannotDecode(**input);
    decoder->pkt_timebase = stream.time_base; // for leaving out exactly what the file declares as padding
    decoder->thread_count = 1;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0) return cannotDecode(**input);
    return std::unique_ptr<AudioFileReader>(std::make_unique<FfmpegAudioFileReader>(
        std::move(*input), std::move(decoder), std::move(packet), std::move(frame)));
}

} // namespace quillet
