// Makes speech of any length out of a short recording: quillet-bench-speech IN OUT.wav SECONDS CHANNELS SEED
//
// The recording is repeated with pauses of different lengths, at levels between -14 and +2 dB, over a faint noise, as
// a meeting with near and far speakers would be. The same arguments give the same file.
#include "WavFile.h"
#include "capture/MediaTime.h"

#include <cmath>
#include <cstdlib>
#include <random>

using namespace quillet;
using namespace quillet::bench;

namespace {

constexpr float kNoiseAmplitude = 0.0008F; ///< -62 dB of full scale: a quiet room
constexpr float kRightOverLeft = 0.8F;     ///< a speaker a little to the left

class Meeting {
public:
    Meeting(Audio voice, unsigned seed) : m_voice(std::move(voice)), m_random(seed) { nextTurn(); }

    /// The next sample of the voice, before noise.
    float next() {
        if (m_at == m_voice.frames() + m_pauseFrames) nextTurn();
        const std::size_t frame = m_at++;
        return frame < m_voice.frames() ? m_gain * m_voice.samples[frame * static_cast<std::size_t>(m_voice.channels)]
                                        : 0.0F;
    }
    float noise() {
        // xorshift is enough for noise, and drawing two hundred million samples takes seconds only.
        m_noise ^= m_noise << 13U;
        m_noise ^= m_noise >> 17U;
        m_noise ^= m_noise << 5U;
        return kNoiseAmplitude * (static_cast<float>(m_noise) * 0x1p-31F - 1.0F);
    }

private:
    void nextTurn() {
        const auto decibels = static_cast<float>(m_random() % 1601) / 100.0F - 14.0F;
        m_gain = std::pow(10.0F, decibels / 20.0F);
        m_pauseFrames = m_random() % (2 * kSampleRateHz);
        m_at = 0;
    }

    Audio m_voice;
    std::mt19937 m_random; ///< its sequence is the same everywhere, which the standard's distributions do not promise
    std::uint32_t m_noise = 0x9E3779B9U;
    std::size_t m_at = 0;
    std::size_t m_pauseFrames = 0;
    float m_gain = 1;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 6) fail("usage: quillet-bench-speech IN OUT.wav SECONDS CHANNELS SEED");
    const std::int64_t seconds = std::atoll(argv[3]);
    const int channels = std::atoi(argv[4]);
    Meeting meeting(readAudio(argv[1]), static_cast<unsigned>(std::atoi(argv[5])));
    WavWriter out(argv[2], channels, WavFormat::Int16);

    std::vector<float> second(static_cast<std::size_t>(kSampleRateHz * channels));
    for (std::int64_t done = 0; done < seconds; ++done) {
        for (std::size_t i = 0; i < second.size();) {
            const float voice = meeting.next();
            second[i++] = voice + meeting.noise();
            if (channels == 2) second[i++] = kRightOverLeft * voice + meeting.noise();
        }
        out.write(second);
    }
    out.finish();
    return 0;
}
