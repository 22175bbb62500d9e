#include "WavFile.h"

#include "capture/MediaTime.h"
#include "platform/AudioFileReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace quillet::bench {
namespace {

constexpr std::size_t kHeaderBytes = 44;

std::uint16_t bytesPerSample(WavFormat format) { return format == WavFormat::Int16 ? 2 : 4; }

} // namespace

void fail(const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    std::exit(1);
}

WavWriter::WavWriter(const std::filesystem::path& path, int channels, WavFormat format)
    : m_file(std::fopen(path.c_str(), "wb")), m_channels(channels), m_format(format) {
    if (!m_file) fail("cannot write " + path.string());
    writeHeader(0);
}

void WavWriter::writeHeader(std::uint32_t dataBytes) {
    std::array<char, kHeaderBytes> header{};
    std::size_t at = 0;
    const auto put = [&](const auto& value, std::size_t bytes) {
        std::memcpy(header.data() + at, &value, bytes);
        at += bytes;
    };
    const auto put16 = [&](std::uint32_t value) { put(value, 2); };
    const auto put32 = [&](std::uint32_t value) { put(value, 4); };
    const std::uint32_t frameBytes = static_cast<std::uint32_t>(m_channels) * bytesPerSample(m_format);
    put("RIFF", 4);
    put32(dataBytes + kHeaderBytes - 8);
    put("WAVEfmt ", 8);
    put32(16);
    put16(m_format == WavFormat::Int16 ? 1 : 3);
    put16(static_cast<std::uint32_t>(m_channels));
    put32(kSampleRateHz);
    put32(kSampleRateHz * frameBytes);
    put16(frameBytes);
    put16(8U * bytesPerSample(m_format));
    put("data", 4);
    put32(dataBytes);
    if (std::fwrite(header.data(), 1, header.size(), m_file.get()) != header.size()) fail("cannot write a WAV header");
}

void WavWriter::write(std::span<const float> interleaved) {
    const void* bytes = interleaved.data();
    if (m_format == WavFormat::Int16) {
        m_converted.resize(interleaved.size());
        std::transform(interleaved.begin(), interleaved.end(), m_converted.begin(), [](float sample) {
            return static_cast<std::int16_t>(std::lrint(std::clamp(sample, -1.0F, 1.0F) * 32767.0F));
        });
        bytes = m_converted.data();
    }
    const std::size_t size = interleaved.size() * bytesPerSample(m_format);
    if (std::fwrite(bytes, 1, size, m_file.get()) != size) fail("cannot write a WAV file: is the disk full?");
    m_dataBytes += size;
}

void WavWriter::finish() {
    if (m_dataBytes + kHeaderBytes > UINT32_MAX) fail("a WAV file cannot be that long");
    std::rewind(m_file.get());
    writeHeader(static_cast<std::uint32_t>(m_dataBytes));
    if (std::fflush(m_file.get()) != 0) fail("cannot write a WAV file: is the disk full?");
}

Audio readAudio(const std::filesystem::path& path) {
    auto reader = openAudioFile(path);
    if (!reader) fail(path.string() + ": " + reader.error().description.toStdString());
    Audio audio{.channels = (*reader)->channels(), .samples = {}};
    std::vector<float> chunk(static_cast<std::size_t>(kSampleRateHz * audio.channels));
    while (const std::size_t frames = (*reader)->read(chunk)) {
        const auto samples = static_cast<std::ptrdiff_t>(frames) * audio.channels;
        audio.samples.insert(audio.samples.end(), chunk.begin(), chunk.begin() + samples);
    }
    if (audio.samples.empty()) fail(path.string() + " holds no audio");
    return audio;
}

} // namespace quillet::bench
