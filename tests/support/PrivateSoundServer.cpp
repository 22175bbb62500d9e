#include "support/PrivateSoundServer.h"

#include "support/Require.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <cmath>
#include <csignal>
#include <numbers>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

constexpr int kStartLimitMs = 40'000; ///< the script gives up and says why before this
constexpr int kStopLimitMs = 10'000;
constexpr qsizetype kLogTail = 2000;
constexpr double kToneAmplitude = 0.25;

QString serversFolder() { return qEnvironmentVariable("QUILLET_SOUND_SERVERS"); }

} // namespace

/// A command with pipes to and from it; ends with its owner.
class PrivateSoundServer::Child : public QProcess {
public:
    explicit Child(QStringList command) {
        setProcessChannelMode(QProcess::ForwardedErrorChannel);
        const QString program = command.takeFirst();
        start(program, command);
        require(waitForStarted(), "a child process does not start");
    }
    ~Child() override {
        terminate();
        waitForFinished(kStopLimitMs);
    }
    /// What it has printed when it ends, or when the time is over.
    QByteArray everything() {
        waitForFinished(kStopLimitMs);
        return readAll();
    }
};

std::string PrivateSoundServer::whyUnavailable() {
    const QString folder = serversFolder();
    if (folder.isEmpty()) return "QUILLET_SOUND_SERVERS does not name a folder made by scripts/fetch-sound-servers";
    if (!QFileInfo::exists(folder + u"/usr/bin/pulseaudio"_s))
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
    m_script =
        std::make_unique<Child>(QStringList{u"" QUILLET_SCRIPTS "/sound-server"_s, u"--runtime"_s, m_runtime.path(),
                                            m_kind == Kind::PulseAudio ? u"pulseaudio"_s : u"pipewire"_s,
                                            serversFolder(), u"--"_s, u"sh"_s, u"-c"_s, u"echo ready; exec cat"_s});
    while (!m_script->canReadLine() && m_script->waitForReadyRead(kStartLimitMs)) continue;
    require(m_script->readLine() == "ready\n", "the private sound server did not start");
}

void PrivateSoundServer::stop() {
    m_players.clear();
    if (!m_script) return;
    m_script->closeWriteChannel();
    m_script->everything();
    m_script.reset();
}

void PrivateSoundServer::kill() {
    signalServers(SIGKILL);
    stop();
}

void PrivateSoundServer::freeze() { signalServers(SIGSTOP); }

void PrivateSoundServer::thaw() { signalServers(SIGCONT); }

void PrivateSoundServer::signalServers(int signal) {
    QFile pids(m_runtime.filePath(u"pids"_s));
    require(pids.open(QIODevice::ReadOnly), "the private sound server is not running");
    while (!pids.atEnd()) {
        const int pid = pids.readLine().trimmed().toInt();
        if (pid > 0) ::kill(pid, signal);
    }
}

QString PrivateSoundServer::control(const QStringList& arguments) {
    Child child(QStringList{u"pactl"_s} + arguments);
    const QByteArray printed = child.everything();
    require(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0, "pactl failed");
    return QString::fromUtf8(printed).trimmed();
}

std::string PrivateSoundServer::state() {
    Child child({u"sh"_s, u"-c"_s, u"pactl list short; pactl info"_s});
    std::string text = child.everything().toStdString();
    for (const char* log : {"wireplumber.log", "pipewire.log", "pipewire-pulse.log", "pulseaudio.log"}) {
        QFile file(m_runtime.filePath(QLatin1String(log)));
        if (!file.open(QIODevice::ReadOnly)) continue;
        text += std::string(log) + ":\n" + file.readAll().right(kLogTail).toStdString();
    }
    return text;
}

void PrivateSoundServer::play(const QString& output, const std::vector<float>& mono) {
    QFile file(m_runtime.filePath(QString::number(++m_files) + u".raw"_s));
    require(file.open(QIODevice::WriteOnly), "no file for a sound");
    const auto bytes = static_cast<qint64>(mono.size()) * qint64{sizeof(float)};
    require(file.write(reinterpret_cast<const char*>(mono.data()), bytes) == bytes, "no room for a sound");
    file.close();

    const QString command = u"paplay --raw --format=float32le --rate=48000 --channels=1 --latency-msec=100 --device="_s;
    m_players.push_back(std::make_unique<Child>((command + output).split(u' ') + QStringList{file.fileName()}));
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
