// The floor that a recorder stands on: AAC encoding alone, as recordings are encoded, of samples that are mixed
// already. Packets are counted and dropped: quillet-bench-encode MIXED.wav
#include "WavFile.h"
#include "capture/MediaTime.h"
#include "platform/linux/ffmpeg/AacEncoder.h"

#include <array>
#include <cstdio>
#include <memory>

using namespace quillet;
using namespace quillet::bench;

namespace {

constexpr long kWavHeaderBytes = 44; ///< as WavWriter writes it
constexpr int kBitsPerSecond = 256000;

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) fail("usage: quillet-bench-encode MIXED.wav");
    const std::unique_ptr<std::FILE, Close> in(std::fopen(argv[1], "rb"));
    if (!in || std::fseek(in.get(), kWavHeaderBytes, SEEK_SET) != 0) fail("cannot read the mixed file");
    const auto encoder = AacEncoder::create(kBitsPerSecond);
    if (!encoder) fail("the AAC encoder cannot be opened");

    std::array<float, kBlockSamples> interleaved{};
    StereoBlock block{};
    long long frames = 0;
    long long bytes = 0;
    const AacEncoder::PacketSink count = [&bytes](const AVPacket& packet) {
        bytes += packet.size;
        return Result<void>();
    };
    for (; std::fread(interleaved.data(), sizeof interleaved, 1, in.get()) == 1; frames += kBlockFrames) {
        separateChannels(interleaved, block);
        if (!(*encoder)->encode(block, count)) fail("the encoder refused a block");
    }
    if (!(*encoder)->drain(count)) fail("the encoder cannot be drained");
    std::printf("%lld frames, %lld bytes\n", frames, bytes);
    return 0;
}
