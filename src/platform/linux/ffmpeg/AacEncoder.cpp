#include "platform/linux/ffmpeg/AacEncoder.h"

#include "capture/FourSamples.h"
#include "capture/MediaTime.h"

#include <algorithm>
#include <array>

extern "C" {
#include <libavutil/opt.h>
}

namespace quillet {
namespace {

constexpr int kChannels = 2;
/// What lies above is next to inaudible; the bits that it would take lower the noise where there is something to hear
/// (by 2 dB for speech), and coding it takes a tenth of the time.
constexpr int kBandwidthHz = 18000;
constexpr float kAlikeDifference = 0.04F; ///< of the energy of the channels' sum: -14 dB
/// A block whose channels differ by less, -60 dBFS on average, holds nothing that one of them could mask in vain.
constexpr float kFaintDifference = 4e-6F * kBlockFrames;
/// What one packet is made of: the two blocks before the latest, which the encoder only looks ahead at, and to be safe
/// the latest as well.
constexpr int kBlocksPerPacket = 3;

float sum(FourSamples four) { return four[0] + four[1] + four[2] + four[3]; }

bool areAlike(const StereoBlock& block) {
    constexpr std::size_t kLanes = 8;
    static_assert(kBlockFrames % kLanes == 0);
    std::array<FourSamples, 2> sumEnergy{}, differenceEnergy{};
    for (std::size_t i = 0; i < block.left.size(); i += kLanes) {
        for (std::size_t v = 0; v < 2; ++v) {
            const FourSamples l = loadFour(block.left.data() + i + 4 * v);
            const FourSamples r = loadFour(block.right.data() + i + 4 * v);
            sumEnergy[v] += (l + r) * (l + r);
            differenceEnergy[v] += (l - r) * (l - r);
        }
    }
    const float difference = sum(differenceEnergy[0] + differenceEnergy[1]);
    return difference <= std::max(kAlikeDifference * sum(sumEnergy[0] + sumEnergy[1]), kFaintDifference);
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
    context->cutoff = kBandwidthHz;
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
    frame->linesize[0] = static_cast<int>(sizeof(StereoBlock::Channel));
    // With a reference of its own, though to nothing, the frame passes for one whose samples need not be copied.
    frame->buf[0] = av_buffer_create(
        nullptr, 0, [](void*, std::uint8_t*) {}, nullptr, AV_BUFFER_FLAG_READONLY);
    if (!frame->buf[0]) return libav::failure("no memory for the AAC encoder", AVERROR(ENOMEM));
    return std::unique_ptr<AacEncoder>(new AacEncoder(std::move(context), std::move(frame), std::move(packet)));
}

Result<void> AacEncoder::encode(const StereoBlock& block, const PacketSink& sink) {
    m_frame->data[0] = reinterpret_cast<std::uint8_t*>(const_cast<float*>(block.left.data()));
    m_frame->data[1] = reinterpret_cast<std::uint8_t*>(const_cast<float*>(block.right.data()));
    chooseStereoCoding(areAlike(block));
    m_frame->pts = m_nextFrame;
    m_nextFrame += kBlockFrames;
    auto done = send(m_frame.get(), sink);
    // The block is the caller's again from here on: the encoder has copied what it still needs.
    if (done && av_buffer_get_ref_count(m_frame->buf[0]) != 1)
        return libav::failure("this AAC encoder keeps its input", AVERROR(ENOSYS));
    return done;
}

/// Whether to code the channels' sum and difference, or each by itself, the encoder finds out for every band of every
/// packet, in a tenth to a quarter of its time. Of channels that are alike, as those of most meetings are, the answer
/// is known. It reads this option for every packet; should it ever refuse the change, only time is lost.
void AacEncoder::chooseStereoCoding(bool alike) {
    constexpr std::int64_t kBySumAndDifference = 1, kAsItFinds = -1;
    const bool wereAlike = m_blocksAlike == kBlocksPerPacket;
    m_blocksAlike = alike ? std::min(m_blocksAlike + 1, kBlocksPerPacket) : 0;
    const bool areAlike = m_blocksAlike == kBlocksPerPacket;
    if (areAlike == wereAlike) return;
    av_opt_set_int(m_context->priv_data, "aac_ms", areAlike ? kBySumAndDifference : kAsItFinds, 0);
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
