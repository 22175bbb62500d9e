#pragma once

#include "platform/AudioFileReader.h"

#include <QString>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <span>
#include <vector>

namespace quillet::test {

/// All samples of an audio file, interleaved. Empty when it cannot be read.
inline std::vector<float> decode(const std::filesystem::path& file) {
    const auto reader = openAudioFile(file);
    if (!reader) return {};
    const auto channels = static_cast<std::size_t>((*reader)->channels());
    std::vector<float> all;
    std::vector<float> some(3000 * channels);
    while (const std::size_t frames = (*reader)->read(some))
        all.insert(all.end(), some.begin(), some.begin() + static_cast<std::ptrdiff_t>(frames * channels));
    return all;
}
inline std::vector<float> decode(const QString& file) { return decode(std::filesystem::path(file.toStdString())); }

/// The amplitude of one frequency in one channel of interleaved samples at 48 kHz.
inline double amplitude(std::span<const float> interleaved, int channel, double frequencyHz, int channels = 2) {
    const std::size_t frames = interleaved.size() / static_cast<std::size_t>(channels);
    double sine = 0;
    double cosine = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        const double angle = 2 * std::numbers::pi * frequencyHz * static_cast<double>(i) / 48000;
        const auto sample = interleaved[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(channel)];
        sine += std::sin(angle) * static_cast<double>(sample);
        cosine += std::cos(angle) * static_cast<double>(sample);
    }
    return 2 * std::hypot(sine, cosine) / static_cast<double>(std::max<std::size_t>(frames, 1));
}

} // namespace quillet::test
