#include "platform/linux/ffmpeg/FragmentMuxer.h"

#include "capture/MediaTime.h"
#include "storage/m4a/Movie.h"

#include <string>
#include <utility>

namespace quillet {
namespace {

constexpr int kStagingBytes = 32 * 1024;
constexpr std::size_t kUsualBytes = 192 * 1024; ///< eight fragments of 0.68 s at 256 kbit/s

Failure<PlatformError> cannotPack(int error) { return libav::failure("the sound cannot be packed", error); }

} // namespace

Result<std::unique_ptr<FragmentMuxer>> FragmentMuxer::create(const AVCodecContext& encoder) {
    std::unique_ptr<FragmentMuxer> muxer(new FragmentMuxer);
    muxer->m_output.reserve(kUsualBytes);
    // The name is never opened; its ending keeps the muxer from warning about it.
    if (const int error = avformat_alloc_output_context2(&muxer->m_format, nullptr, "ipod", "recording.m4a"); error < 0)
        return libav::failure("no MPEG-4 muxer", error);
    AVFormatContext* const format = muxer->m_format;
    auto* const staging = static_cast<unsigned char*>(av_malloc(kStagingBytes));
    format->pb =
        staging ? avio_alloc_context(staging, kStagingBytes, 1, muxer.get(), nullptr, &collect, nullptr) : nullptr;
    AVStream* const stream = avformat_new_stream(format, nullptr);
    if (!format->pb || !stream) {
        if (!format->pb) av_free(staging);
        return libav::failure("no memory for the muxer", AVERROR(ENOMEM));
    }
    format->pb->seekable = 0;
    format->flush_packets = 0;
    if (const int error = avcodec_parameters_from_context(stream->codecpar, &encoder); error < 0)
        return libav::failure("the muxer cannot be set up", error);
    stream->time_base = {1, kSampleRateHz};
    const std::string mark = std::string(m4a::kWriterMark) + " " + QUILLET_VERSION;
    av_dict_set(&format->metadata, "encoding_tool", mark.c_str(), 0);

    // Only with the movie box delayed does the file tell of the encoder's priming; only with a movie timescale of the
    // sample rate does it tell so exactly.
    libav::Options options{{"movflags", "delay_moov+default_base_moof+frag_custom+skip_trailer"},
                           {"movie_timescale", "48000"}};
    if (const int error = avformat_write_header(format, options.get()); error < 0)
        return libav::failure("the muxer cannot be set up", error);
    return muxer;
}

FragmentMuxer::~FragmentMuxer() {
    if (!m_format) return;
    if (m_format->pb) {
        av_freep(&m_format->pb->buffer);
        avio_context_free(&m_format->pb);
    }
    avformat_free_context(m_format);
}

Result<void> FragmentMuxer::add(const AVPacket& packet) {
    if (m_packetsWaiting == m_packets.size()) m_packets.emplace_back(av_packet_alloc());
    AVPacket* const waiting = m_packets[m_packetsWaiting].get();
    if (!waiting || av_packet_copy_props(waiting, &packet) < 0) return cannotPack(AVERROR(ENOMEM));
    waiting->stream_index = 0;
    waiting->size = packet.size;
    m_packetBytes.insert(m_packetBytes.end(), packet.data, packet.data + packet.size);
    ++m_packetsWaiting;
    return {};
}

Result<void> FragmentMuxer::packWaiting() {
    std::uint8_t* bytes = m_packetBytes.data();
    for (std::size_t i = 0; i < m_packetsWaiting; ++i) {
        AVPacket& packet = *m_packets[i];
        packet.data = bytes;
        bytes += packet.size;
        if (const int error = av_write_frame(m_format, &packet); error < 0) return cannotPack(error);
        av_packet_unref(&packet);
    }
    m_packetBytes.clear();
    return {};
}

Result<void> FragmentMuxer::endFragment() {
    if (m_packetsWaiting == 0) return {};
    if (std::exchange(m_taken, false)) {
        m_output.clear();
        m_sizes.clear();
    }
    const std::size_t begin = m_output.size();
    if (auto packed = packWaiting(); !packed) return packed;
    // The very first flush yields the movie box alone and keeps the packets.
    const int flushes = m_startWritten ? 1 : 2;
    for (int i = 0; i < flushes; ++i) {
        if (const int error = av_write_frame(m_format, nullptr); error < 0) return cannotPack(error);
    }
    avio_flush(m_format->pb);
    m_startWritten = true;
    m_sizes.push_back({m_output.size() - begin, static_cast<int>(std::exchange(m_packetsWaiting, 0))});
    return {};
}

m4a::Fragments FragmentMuxer::take() {
    if (std::exchange(m_taken, true)) return {};
    return {m_output, m_sizes};
}

int FragmentMuxer::collect(void* opaque, std::uint8_t* bytes, int count) noexcept {
    auto& output = static_cast<FragmentMuxer*>(opaque)->m_output;
    const auto* const first = reinterpret_cast<const std::byte*>(bytes);
    output.insert(output.end(), first, first + count);
    return count;
}

} // namespace quillet
