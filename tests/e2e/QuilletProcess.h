#pragma once

#include "platform/AudioFileReader.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <vector>

namespace quillet::test {

/// The program under test with folders of its own.
class QuilletProcess {
public:
    QuilletProcess() {
        m_environment.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral("config")));
    }
    ~QuilletProcess() {
        if (process.state() == QProcess::NotRunning) return;
        process.kill();
        process.waitForFinished();
    }

    [[nodiscard]] QString folder(const QString& name = {}) const { return m_home.filePath(name); }
    [[nodiscard]] QString defaultFolder() const { return folder(QStringLiteral("data/quillet/Recordings")); }
    void setEnvironment(const QString& name, const QString& value) { m_environment.insert(name, value); }

    void start(const QStringList& arguments) {
        process.setProcessEnvironment(m_environment);
        process.start(QStringLiteral(QUILLET_BINARY), arguments);
        ASSERT_TRUE(process.waitForStarted());
    }
    /// The exit status; -1 when it did not end in time or was killed.
    int finish(int deadlineMs = 60000) {
        if (!process.waitForFinished(deadlineMs)) return -1;
        output = QString::fromUtf8(process.readAllStandardOutput());
        errors = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    int run(const QStringList& arguments, int deadlineMs = 60000) {
        start(arguments);
        return finish(deadlineMs);
    }
    [[nodiscard]] QJsonObject json() const { return QJsonDocument::fromJson(output.toUtf8()).object(); }

    QProcess process;
    QString output;
    QString errors;

private:
    QTemporaryDir m_home;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
};

/// All samples of a recording, interleaved stereo. Empty when it cannot be read.
inline std::vector<float> decode(const QString& path) {
    auto reader = openAudioFile(path.toStdString());
    if (!reader || (*reader)->channels() != 2) return {};
    std::vector<float> all;
    std::vector<float> some(20000);
    while (const std::size_t frames = (*reader)->read(some))
        all.insert(all.end(), some.begin(), some.begin() + static_cast<std::ptrdiff_t>(2 * frames));
    return all;
}

/// The amplitude of one frequency in one channel of interleaved stereo at 48 kHz.
inline double amplitude(std::span<const float> stereo, int channel, double frequencyHz) {
    const std::size_t frames = stereo.size() / 2;
    double sine = 0;
    double cosine = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        const double angle = 2 * std::numbers::pi * frequencyHz * static_cast<double>(i) / 48000;
        sine += std::sin(angle) * static_cast<double>(stereo[2 * i + static_cast<std::size_t>(channel)]);
        cosine += std::cos(angle) * static_cast<double>(stereo[2 * i + static_cast<std::size_t>(channel)]);
    }
    return 2 * std::hypot(sine, cosine) / static_cast<double>(std::max<std::size_t>(frames, 1));
}

} // namespace quillet::test
