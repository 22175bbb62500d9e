// Mixes two files exactly as a recording of them does, and writes what the encoder would get:
// quillet-bench-mix SYSTEM MICROPHONE OUT.wav
#include "WavFile.h"
#include "capture/AudioMixer.h"
#include "capture/FilePlayer.h"

using namespace quillet;
using namespace quillet::bench;

namespace {

class WavSink final : public BlockSink {
public:
    explicit WavSink(const std::filesystem::path& path) : m_out(path, 2, WavFormat::Float32) {}
    bool prepareForBlocks() override { return true; }
    bool isReadyForBlock() override { return true; }
    void takeBlock(const MixedBlock& block, FramePos) override { m_out.write(block); }
    void finish() { m_out.finish(); }

private:
    WavWriter m_out;
};

/// One tick of a file, silence behind its end.
std::vector<float> tickOf(AudioFileReader& reader, bool& ended) {
    const auto channels = static_cast<std::size_t>(reader.channels());
    std::vector<float> samples(static_cast<std::size_t>(FilePlayer::kTickFrames) * channels);
    std::size_t got = 0;
    while (!ended && got < samples.size()) {
        const std::size_t frames = reader.read(std::span(samples).subspan(got));
        got += frames * channels;
        ended = frames == 0;
    }
    return samples;
}

HostFramePos beginOf(std::int64_t tick) { return HostFramePos(FrameCount(tick * FilePlayer::kTickFrames)); }

SampleBuffer bufferOf(const std::vector<float>& samples, int channels, MediaTime presentationTime) {
    return {.data = std::as_bytes(std::span(samples)),
            .description = channels == 1 ? &kMonoFloat : &kInterleavedStereoFloat,
            .presentationTime = presentationTime,
            .sampleCount = FilePlayer::kTickFrames};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) fail("usage: quillet-bench-mix SYSTEM MICROPHONE OUT.wav");
    auto system = openAudioFile(argv[1]);
    auto microphone = openAudioFile(argv[2]);
    if (!system || !microphone) fail("cannot read the two files");

    WavSink sink(argv[3]);
    CaptureMeters meters;
    AudioMixer mixer(sink, meters);
    mixer.reset();
    bool systemEnded = false;
    bool microphoneEnded = false;
    for (std::int64_t tick = 0; !systemEnded || !microphoneEnded; ++tick) {
        const auto systemTick = tickOf(**system, systemEnded);
        const auto microphoneTick = tickOf(**microphone, microphoneEnded);
        const MediaTime inside = MediaTime::insideFrame(beginOf(tick));
        const MediaTime first = tick == 0 ? MediaTime::atFrame(beginOf(tick)) : inside;
        mixer.deliverSystemAudio(bufferOf(systemTick, (*system)->channels(), first));
        mixer.deliverMicrophone(bufferOf(microphoneTick, (*microphone)->channels(), inside));
    }
    sink.finish();
    return 0;
}
