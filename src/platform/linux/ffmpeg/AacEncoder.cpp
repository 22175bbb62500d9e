#include "platform/linux/ffmpeg/AacEncoder.h"

#include "capture/FourSamples.h"
#include "capture/MediaTime.h"

#include <cstring>

namespace quillet {
namespace {

constexpr int kChannels = 2;
constexpr float kLargestSample = 16.0F; ///< +24 dBFS; nothing that a mix produces comes near

FourSamples usable(FourSamples samples) { // NaN compares false
    return magnitude(samples) < allFour(kLargestSample) ? samples : FourSamples{};
}

void deinterleave(std::span<const float> interleaved, float* left, float* right) {
    static_assert(kBlockFrames % 4 == 0);
    for (std::size_t i = 0; i < static_cast<std::size_t>(kBlockFrames); i += 4) {
        const FourSamples a = usable(loadFour(interleaved.data() + 2 * i));
        const FourSamples b = usable(loadFour(interleaved.data() + 2 * i + 4));
        storeFour(left + i, __builtin_shufflevector(a, b, 0, 2, 4, 6));
        storeFour(right + i, __builtin_shufflevector(a, b, 1, 3, 5, 7));
    }
}

} // namespace

Result<std::unique_ptr<AacEncoder>> AacEncoder::create(int bitsPerSecond) {
    libav::beQuiet();
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    libav::CodecContext context(codec ? avcodec_alloc_context3(codec) : nullptr);
    libav::Frame frame(av_frame_alloc());
    libav::Packet packet(av_packet_alloc());
    if (!context || !frame || !packet) return libav::failure("no AAC encoder", AVERROR_ENCODER_NOT_FOUND);

    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = kSampleRateHz;
    context->time_base = {1, kSampleRateHz};
    context->bit_rate = bitsPerSecond;
    context->thread_count = 1;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER; // the file's movie box carries the configuration
    av_channel_layout_default(&context->ch_layout, kChannels);
    // The fast search is as good as the thorough one at a third of its cost, once these tools are off that it misuses:
    // with intensity stereo it destroys one frame in eight of ordinary meetings.
    libav::Options options{{"aac_coder", "fast"}, {"aac_is", "0"}, {"aac_pns", "0"}, {"aac_tns", "0"}};
    if (const int error = avcodec_open2(context.get(), codec, options.get()); error < 0)
        return libav::failure("the AAC encoder cannot be opened", error);
    if (!options.allTaken() || context->frame_size != kBlockFrames || context->initial_padding != kBlockFrames)
        return libav::failure("this AAC encoder is of another kind", AVERROR_ENCODER_NOT_FOUND);

    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->nb_samples = kBlockFrames;
    frame->sample_rate = kSampleRateHz;
    av_channel_layout_default(&frame->ch_layout, kChannels);
    if (const int error = av_frame_get_buffer(frame.get(), 0); error < 0)
        return libav::failure("no memory for the AAC encoder", error);
    return std::unique_ptr<AacEncoder>(new AacEncoder(std::move(context), std::move(frame), std::move(packet)));
}

Result<void> AacEncoder::encode(std::span<const float> interleaved, const PacketSink& sink) {
    if (const int error = av_frame_make_writable(m_frame.get()); error < 0)
        return libav::failure("no memory for the AAC encoder", error);
    auto* const left = reinterpret_cast<float*>(m_frame->data[0]);
    auto* const right = reinterpret_cast<float*>(m_frame->data[1]);
    if (interleaved.empty()) {
        std::memset(left, 0, kBlockFrames * sizeof(float));
        std::memset(right, 0, kBlockFrames * sizeof(float));
    } else {
        deinterleave(interleaved, left, right);
    }
    m_frame->pts = m_nextFrame;
    m_nextFrame += kBlockFrames;
    return send(m_frame.get(), sink);
}

Result<void> AacEncoder::drain(const PacketSink& sink) { return send(nullptr, sink); }

Result<void> AacEncoder::send(const AVFrame* frame, const PacketSink& sink) {
    if (const int error = avcodec_send_frame(m_context.get(), frame); error < 0)
        return libav::failure("the sound cannot be encoded", error);
    while (true) {
        const int error = avcodec_receive_packet(m_context.get(), m_packet.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) return {};
        if (error < 0) return libav::failure("the sound cannot be encoded", error);
        auto taken = sink(*m_packet);
        av_packet_unref(m_packet.get());
        if (!taken) return taken;
    }
}

} // namespace quillet
