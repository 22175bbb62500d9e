// The floor that a recorder stands on: AAC encoding alone, at the settings that recordings are made with, of samples
// that are mixed already. Packets are counted and dropped: quillet-bench-encode MIXED.wav
#include "WavFile.h"
#include "capture/MediaTime.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <array>
#include <cstdio>
#include <memory>

using namespace quillet;
using namespace quillet::bench;

namespace {

constexpr long kWavHeaderBytes = 44; ///< as WavWriter writes it

struct Freer {
    void operator()(std::FILE* file) const { std::fclose(file); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
template <typename T>
using Owned = std::unique_ptr<T, Freer>;

Owned<AVCodecContext> openEncoder() {
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    Owned<AVCodecContext> encoder(avcodec_alloc_context3(codec));
    if (!encoder) fail("libavcodec has no AAC encoder");
    encoder->sample_rate = kSampleRateHz;
    encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    encoder->bit_rate = 256000;
    encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&encoder->ch_layout, 2);
    bool taken = av_opt_set(encoder->priv_data, "aac_coder", "fast", 0) >= 0;
    for (const char* tool : {"aac_is", "aac_pns", "aac_tns"})
        taken = taken && av_opt_set_int(encoder->priv_data, tool, 0, 0) >= 0;
    if (!taken || avcodec_open2(encoder.get(), codec, nullptr) < 0) fail("the AAC encoder cannot be opened");
    return encoder;
}

std::int64_t drain(AVCodecContext& encoder, AVPacket& packet) {
    std::int64_t bytes = 0;
    while (avcodec_receive_packet(&encoder, &packet) >= 0) {
        bytes += packet.size;
        av_packet_unref(&packet);
    }
    return bytes;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) fail("usage: quillet-bench-encode MIXED.wav");
    const Owned<std::FILE> in(std::fopen(argv[1], "rb"));
    if (!in || std::fseek(in.get(), kWavHeaderBytes, SEEK_SET) != 0) fail("cannot read the mixed file");

    const auto encoder = openEncoder();
    const Owned<AVPacket> packet(av_packet_alloc());
    const Owned<AVFrame> frame(av_frame_alloc());
    frame->nb_samples = static_cast<int>(kBlockFrames);
    frame->format = encoder->sample_fmt;
    av_channel_layout_copy(&frame->ch_layout, &encoder->ch_layout);
    if (av_frame_get_buffer(frame.get(), 0) < 0) fail("out of memory");

    std::array<float, static_cast<std::size_t>(2 * kBlockFrames)> block{};
    std::int64_t frames = 0;
    std::int64_t bytes = 0;
    while (std::fread(block.data(), sizeof block, 1, in.get()) == 1) {
        if (av_frame_make_writable(frame.get()) < 0) fail("out of memory");
        for (std::size_t channel = 0; channel < 2; ++channel) {
            auto* plane = reinterpret_cast<float*>(frame->extended_data[channel]);
            for (std::size_t i = 0; i < static_cast<std::size_t>(kBlockFrames); ++i) plane[i] = block[2 * i + channel];
        }
        frame->pts = frames;
        frames += kBlockFrames;
        if (avcodec_send_frame(encoder.get(), frame.get()) < 0) fail("the encoder refused a block");
        bytes += drain(*encoder, *packet);
    }
    avcodec_send_frame(encoder.get(), nullptr);
    bytes += drain(*encoder, *packet);
    std::printf("%lld frames, %lld bytes\n", static_cast<long long>(frames), static_cast<long long>(bytes));
    return 0;
}
