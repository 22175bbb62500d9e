#pragma once

#include <QDataStream>
#include <QFile>
#include <QString>

#include <cmath>
#include <functional>
#include <numbers>

namespace quillet::test {

/// Writes 16-bit PCM whose samples, in full-scale units, follow from frame and channel.
inline void writeWav(const QString& path, int channels, int rateHz, qint64 frames,
                     const std::function<double(qint64 frame, int channel)>& sample) {
    QFile file(path);
    if (!file.open(QFile::WriteOnly)) qFatal("cannot write %s", qPrintable(path));
    QDataStream out(&file);
    out.setByteOrder(QDataStream::LittleEndian);
    const auto bytes = static_cast<quint32>(frames * channels * 2);
    const auto blockAlign = static_cast<quint16>(channels * 2);
    out.writeRawData("RIFF", 4);
    out << bytes + 36;
    out.writeRawData("WAVEfmt ", 8);
    out << quint32{16} << quint16{1} << static_cast<quint16>(channels) << static_cast<quint32>(rateHz)
        << static_cast<quint32>(rateHz * blockAlign) << blockAlign << quint16{16};
    out.writeRawData("data", 4);
    out << bytes;
    for (qint64 frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < channels; ++channel)
            out << static_cast<qint16>(std::lround(sample(frame, channel) * 32767));
    }
}

/// A sine of the amplitude in every channel.
inline void writeTone(const QString& path, int channels, int rateHz, double seconds, double frequencyHz,
                      double amplitude) {
    writeWav(path, channels, rateHz, static_cast<qint64>(seconds * rateHz), [&](qint64 frame, int) {
        return amplitude * std::sin(2 * std::numbers::pi * frequencyHz * static_cast<double>(frame) / rateHz);
    });
}

} // namespace quillet::test
