#pragma once

#include "support/Files.h"

#include <QDataStream>
#include <QString>

#include <cmath>
#include <functional>
#include <numbers>
#include <type_traits>
#include <vector>

namespace quillet::test {

/// A RIFF file that promises more than there is by so many bytes. Its samples are floats or integers, as given; bytes
/// may be anything.
template <typename Sample>
QByteArray wav(int rateHz, int channels, const std::vector<Sample>& samples, std::size_t missing = 0,
               std::size_t sampleBytes = sizeof(Sample)) {
    const std::size_t bytes = samples.size() * sizeof(Sample);
    const auto promised = static_cast<quint32>(bytes + missing);
    const auto frameBytes = static_cast<quint16>(static_cast<std::size_t>(channels) * sampleBytes);
    QByteArray file;
    QDataStream out(&file, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << promised + 36;
    out.writeRawData("WAVEfmt ", 8);
    out << quint32{16} << quint16{std::is_floating_point_v<Sample> ? 3 : 1} << static_cast<quint16>(channels)
        << static_cast<quint32>(rateHz) << static_cast<quint32>(rateHz * frameBytes) << frameBytes
        << static_cast<quint16>(8 * sampleBytes);
    out.writeRawData("data", 4);
    out << promised;
    return file.append(reinterpret_cast<const char*>(samples.data()), static_cast<qsizetype>(bytes));
}

/// Writes 16-bit PCM whose samples, in full-scale units, follow from frame and channel.
inline void writeWav(const QString& path, int channels, int rateHz, qint64 frames,
                     const std::function<double(qint64 frame, int channel)>& sample) {
    std::vector<qint16> samples;
    for (qint64 frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < channels; ++channel)
            samples.push_back(static_cast<qint16>(std::lround(sample(frame, channel) * 32767)));
    }
    makeFile(path, wav(rateHz, channels, samples));
}

/// A sine of the amplitude in every channel.
inline void writeTone(const QString& path, int channels, int rateHz, double seconds, double frequencyHz,
                      double amplitude) {
    writeWav(path, channels, rateHz, static_cast<qint64>(seconds * rateHz), [&](qint64 frame, int) {
        return amplitude * std::sin(2 * std::numbers::pi * frequencyHz * static_cast<double>(frame) / rateHz);
    });
}

} // namespace quillet::test
