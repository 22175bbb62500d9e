#include "capture/DeliveryPool.h"
#include "capture/MediaTime.h"
#include "platform/AudioFileReader.h"
#include "platform/linux/ffmpeg/FfmpegInput.h"

#include <algorithm>
#include <array>
#include <utility>
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

/// The size of a frame of sound in packets that hold samples just as the decoder would give them; 0 for all others.
int plainFrameBytes(const AVCodecContext& decoder) {
    const AVCodecID plain[] = {AV_NE(AV_CODEC_ID_PCM_S16BE, AV_CODEC_ID_PCM_S16LE),
                               AV_NE(AV_CODEC_ID_PCM_F32BE, AV_CODEC_ID_PCM_F32LE)};
    if (!std::ranges::count(plain, decoder.codec_id)) return 0;
    return av_get_bytes_per_sample(decoder.sample_fmt) * decoder.ch_layout.nb_channels;
}

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
          m_channels(m_decoder->ch_layout.nb_channels == 1 ? 1 : 2),
          m_plainFrameBytes(plainFrameBytes(*m_decoder)) {}

    int channels() const override { return m_channels; }
    std::size_t read(std::span<float> interleaved) override;
    std::optional<PlatformError> readError() const override {
        if (m_input->readError() == 0) return std::nullopt;
        return PlatformError::fromErrno(m_input->readError());
    }

private:
    bool decodeFrame();
    bool takePacketAsFrame();
    std::size_t convertFrame(std::span<float> interleaved);
    std::size_t takeHeld(std::span<float> interleaved);
    void prepareFor(const SourceFormat& format);
    [[nodiscard]] int framesLeft() const { return m_frame->nb_samples - m_converted; }

    const std::unique_ptr<FfmpegInput> m_input;
    const libav::CodecContext m_decoder;
    const libav::Packet m_packet;
    const libav::Frame m_frame; ///< the latest decoded
    int m_converted = 0;        ///< of it, in frames of sound
    const int m_channels;
    int m_plainFrameBytes; ///< 0: packets go through the decoder
    SourceFormat m_format;
    Swr m_converter;
    bool m_anySampleIsPossible = false; ///< such as no number at all; files of integers hold none
    bool m_inputEnded = false;
    bool m_decoderEnded = false;
};

std::size_t FfmpegAudioFileReader::read(std::span<float> interleaved) {
    const auto channels = static_cast<std::size_t>(m_channels);
    const std::size_t wanted = interleaved.size() / channels * channels;
    std::size_t done = 0;
    while (done < wanted) {
        if (framesLeft() == 0 && !m_decoderEnded) {
            m_decoderEnded = !decodeFrame();
            continue;
        }
        const auto rest = interleaved.subspan(done, wanted - done);
        const auto format = SourceFormat::of(*m_frame);
        if (framesLeft() > 0 && format == m_format) {
            done += convertFrame(rest) * channels;
        } else if (const std::size_t held = takeHeld(rest)) { // before a new converter takes over, or at the end
            done += held * channels;
        } else if (framesLeft() > 0) {
            prepareFor(format);
        } else {
            break;
        }
    }
    const std::span<float> samples = interleaved.first(done);
    if (m_anySampleIsPossible) copySanitized(samples, samples);
    return done / channels;
}

void FfmpegAudioFileReader::prepareFor(const SourceFormat& format) {
    m_format = format;
    // Sound in the middle of a file may have other channels than its header said, and too many of them.
    m_converter = format.channels <= FfmpegInput::kMostChannels ? makeConverter(format, m_channels) : nullptr;
    const auto sample = av_get_packed_sample_fmt(static_cast<AVSampleFormat>(format.sampleFormat));
    m_anySampleIsPossible = m_anySampleIsPossible || sample == AV_SAMPLE_FMT_FLT || sample == AV_SAMPLE_FMT_DBL;
}

/// False at the end. Damaged packets are passed over: the rest of the file may be sound.
bool FfmpegAudioFileReader::decodeFrame() {
    m_converted = 0;
    av_frame_unref(m_frame.get());
    while (true) {
        const int error = avcodec_receive_frame(m_decoder.get(), m_frame.get());
        if (error >= 0) {
            if (m_frame->nb_samples > 0 && m_frame->sample_rate >= FfmpegInput::kLeastRateHz) return true;
            av_frame_unref(m_frame.get());
            continue;
        }
        if (error == AVERROR_EOF || m_inputEnded) return false;
        if (m_input->nextPacket(*m_packet)) {
            if (takePacketAsFrame()) return true;
            avcodec_send_packet(m_decoder.get(), m_packet.get());
            av_packet_unref(m_packet.get());
        } else {
            m_inputEnded = true;
            avcodec_send_packet(m_decoder.get(), nullptr);
        }
    }
}

/// Spares plain samples the way through the decoder, which costs as much as converting them. Once a container says
/// something else of a packet, such as that a part of what follows is padding, the decoder gets all: it knows how to
/// follow, and remembers it from one packet to the next.
bool FfmpegAudioFileReader::takePacketAsFrame() {
    if (m_packet->side_data_elems > 0 || (m_packet->flags & AV_PKT_FLAG_DISCARD)) m_plainFrameBytes = 0;
    const int frames = m_plainFrameBytes > 0 ? m_packet->size / m_plainFrameBytes : 0;
    if (frames == 0 || av_channel_layout_copy(&m_frame->ch_layout, &m_decoder->ch_layout) < 0) return false;
    m_frame->format = m_decoder->sample_fmt;
    m_frame->sample_rate = m_decoder->sample_rate;
    m_frame->nb_samples = frames;
    m_frame->data[0] = m_packet->data;
    m_frame->buf[0] = std::exchange(m_packet->buf, nullptr);
    av_packet_unref(m_packet.get());
    return true;
}

/// As many frames as there is room for out of the decoded frame; fewer, or none, while a resampler fills. Sound that
/// cannot be converted is left out.
std::size_t FfmpegAudioFileReader::convertFrame(std::span<float> interleaved) {
    if (!m_converter) {
        m_converted = m_frame->nb_samples;
        return 0;
    }
    const auto room = static_cast<std::int64_t>(interleaved.size()) / m_channels;
    // No more than fits: the converter would have to keep the rest.
    const std::int64_t needed = std::max<std::int64_t>(room * m_format.rateHz / kSampleRateHz, 1);
    const int frames = static_cast<int>(std::min<std::int64_t>(needed, framesLeft()));
    const auto sampleFormat = static_cast<AVSampleFormat>(m_format.sampleFormat);
    const bool planar = av_sample_fmt_is_planar(sampleFormat) != 0;
    const int planes = planar ? m_format.channels : 1;
    const int bytesPerFrame = av_get_bytes_per_sample(sampleFormat) * (planar ? 1 : m_format.channels);
    std::array<const std::uint8_t*, FfmpegInput::kMostChannels> in{};
    for (int i = 0; i < planes; ++i)
        in[static_cast<std::size_t>(i)] = m_frame->extended_data[i] + std::ptrdiff_t{m_converted} * bytesPerFrame;
    m_converted += frames;
    auto* out = reinterpret_cast<std::uint8_t*>(interleaved.data());
    const int made = swr_convert(m_converter.get(), &out, static_cast<int>(room), in.data(), frames);
    return static_cast<std::size_t>(std::max(made, 0));
}

/// What a resampler still holds of the sound that it was given.
std::size_t FfmpegAudioFileReader::takeHeld(std::span<float> interleaved) {
    auto* out = reinterpret_cast<std::uint8_t*>(interleaved.data());
    const int room = static_cast<int>(interleaved.size()) / m_channels;
    const int made = m_converter ? swr_convert(m_converter.get(), &out, room, nullptr, 0) : 0;
    return static_cast<std::size_t>(std::max(made, 0));
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
