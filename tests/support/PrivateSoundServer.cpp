#include "support/PrivateSoundServer.h"

#include "support/Require.h"

#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>

#include <cmath>
#include <csignal>
#include <numbers>

namespace quillet {
namespace {

constexpr int kStartLimitMs = 40'000; ///< the script gives up and says why before this
constexpr int kStopLimitMs = 10'000;
constexpr double kToneAmplitude = 0.25;

QString serversFolder() { return qEnvironmentVariable("QUILLET_SOUND_SERVERS"); }

} // namespace

std::string PrivateSoundServer::whyUnavailable() {
    const QString folder = serversFolder();
    if (folder.isEmpty()) return "QUILLET_SOUND_SERVERS does not name a folder made by scripts/fetch-sound-servers";
    if (!QFileInfo::exists(folder + QStringLiteral("/usr/bin/pulseaudio")))
        return "QUILLET_SOUND_SERVERS names a folder without sound servers: " + folder.toStdString();
    return {};
}

const char* PrivateSoundServer::nameOf(Kind kind) { return kind == Kind::PulseAudio ? "PulseAudio" : "PipeWire"; }

PrivateSoundServer::PrivateSoundServer(Kind kind) : m_kind(kind) {
    require(m_runtime.isValid(), "no temporary folder for a sound server");
    const QByteArray runtime = m_runtime.path().toLocal8Bit();
    qputenv("PULSE_SERVER", "unix:" + runtime + "/pulse/native");
    qputenv("PULSE_COOKIE", runtime + "/cookie");
    QByteArray path = qgetenv("PATH");
    const QByteArray clients = serversFolder().toLocal8Bit() + "/bin:";
    if (!path.startsWith(clients)) qputenv("PATH", clients + path);
}

PrivateSoundServer::~PrivateSoundServer() { stop(); }

void PrivateSoundServer::start() {
    // The command reads its input to the end, so that the server ends with this process however that ends.
    m_script.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_script.start(QStringLiteral(QUILLET_SCRIPTS "/sound-server"),
                   {QStringLiteral("--runtime"), m_runtime.path(),
                    m_kind == Kind::PulseAudio ? QStringLiteral("pulseaudio") : QStringLiteral("pipewire"),
                    serversFolder(), QStringLiteral("--"), QStringLiteral("sh"), QStringLiteral("-c"),
                    QStringLiteral("echo ready; exec cat")});
    require(m_script.waitForReadyRead(kStartLimitMs) && m_script.readLine() == "ready\n",
            "the private sound server did not start");
}

void PrivateSoundServer::stop() {
    stopPlayers();
    if (m_script.state() == QProcess::NotRunning) return;
    m_script.closeWriteChannel();
    if (!m_script.waitForFinished(kStopLimitMs)) m_script.terminate();
    m_script.waitForFinished(kStopLimitMs);
}

void PrivateSoundServer::kill() {
    signalServers(SIGKILL);
    stop();
}

void PrivateSoundServer::freeze() { signalServers(SIGSTOP); }

void PrivateSoundServer::thaw() { signalServers(SIGCONT); }

void PrivateSoundServer::signalServers(int signal) {
    QFile pids(m_runtime.filePath(QStringLiteral("pids")));
    require(pids.open(QIODevice::ReadOnly), "the private sound server is not running");
    while (!pids.atEnd()) {
        const int pid = pids.readLine().trimmed().toInt();
        if (pid > 0) ::kill(pid, signal);
    }
}

QString PrivateSoundServer::control(const QStringList& arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral("pactl"), arguments);
    require(process.waitForFinished(kStopLimitMs) && process.exitCode() == 0, "pactl failed");
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

void PrivateSoundServer::play(const QString& output, const std::vector<float>& mono) {
    QFile file(m_runtime.filePath(QString::number(++m_files) + QStringLiteral(".raw")));
    require(file.open(QIODevice::WriteOnly), "no file for a sound");
    const auto bytes = static_cast<qint64>(mono.size() * sizeof(float));
    require(file.write(reinterpret_cast<const char*>(mono.data()), bytes) == bytes, "no room for a sound");
    file.close();

    auto player = std::make_unique<QProcess>();
    player->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    player->start(QStringLiteral("paplay"),
                  {QStringLiteral("--raw"), QStringLiteral("--format=float32le"), QStringLiteral("--rate=48000"),
                   QStringLiteral("--channels=1"), QStringLiteral("--latency-msec=100"),
                   QStringLiteral("--device=") + output, file.fileName()});
    require(player->waitForStarted(), "paplay does not start");
    m_players.push_back(std::move(player));
}

void PrivateSoundServer::stopPlayers() {
    for (const auto& player : m_players) {
        player->terminate();
        player->waitForFinished(kStopLimitMs);
    }
    m_players.clear();
}

std::vector<float> tone(double frequencyHz, double seconds) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * 48000));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequencyHz * static_cast<double>(i) / 48000;
        samples[i] = static_cast<float>(kToneAmplitude * std::sin(phase));
    }
    return samples;
}

} // namespace quillet
