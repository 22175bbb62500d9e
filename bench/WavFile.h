#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace quillet::bench {

/// The two sample formats that the benchmarks exchange.
enum class WavFormat { Int16, Float32 };

/// Ends the program with a message: a benchmark that cannot do its work has no result.
[[noreturn]] void fail(const std::string& message);

/// Writes a 48 kHz WAV below 4 GiB. The sizes in its header are filled in by finish(). One thread.
class WavWriter {
public:
    WavWriter(const std::filesystem::path& path, int channels, WavFormat format);
    void write(std::span<const float> interleaved);
    void finish();

private:
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void writeHeader(std::uint32_t dataBytes);

    std::unique_ptr<std::FILE, Closer> m_file;
    const int m_channels;
    const WavFormat m_format;
    std::uint64_t m_dataBytes = 0;
    std::vector<std::int16_t> m_converted;
};

/// Everything of an audio file, as the program itself reads it, interleaved at 48 kHz.
struct Audio {
    int channels = 0;
    std::vector<float> samples;
    [[nodiscard]] std::size_t frames() const { return samples.size() / static_cast<std::size_t>(channels); }
};
[[nodiscard]] Audio readAudio(const std::filesystem::path& path);

} // namespace quillet::bench
