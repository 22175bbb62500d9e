#pragma once

#include "platform/common/StereoBlock.h"
#include "platform/linux/ffmpeg/Libav.h"
#include "support/Result.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace quillet {

/// AAC-LC, 48 kHz stereo, up to 18 kHz, by libavcodec. Takes blocks of 1,024 frames and hands out packets, the first
/// of which is priming: N blocks make N + 1 packets. One thread at a time.
class AacEncoder {
public:
    [[nodiscard]] static Result<std::unique_ptr<AacEncoder>> create(int bitsPerSecond);

    using PacketSink = std::function<Result<void>(const AVPacket&)>;
    [[nodiscard]] Result<void> encode(const StereoBlock& block, const PacketSink& sink);
    /// After the last block: hands out what the encoder still holds.
    [[nodiscard]] Result<void> drain(const PacketSink& sink);

    [[nodiscard]] const AVCodecContext& context() const { return *m_context; }

private:
    AacEncoder(libav::CodecContext context, libav::Frame frame, libav::Packet packet)
        : m_context(std::move(context)), m_frame(std::move(frame)), m_packet(std::move(packet)) {}
    void chooseStereoCoding(bool alike);
    Result<void> send(const AVFrame* frame, const PacketSink& sink);

    libav::CodecContext m_context;
    libav::Frame m_frame;
    libav::Packet m_packet;
    std::int64_t m_nextFrame = 0;
    int m_blocksAlike = 0; ///< the latest, whose channels are nearly the same; counted as far as it matters
};

} // namespace quillet
