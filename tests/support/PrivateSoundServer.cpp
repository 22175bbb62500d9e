#include "support/PrivateSoundServer.h"

#include "support/Require.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <numbers>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillet {
namespace {

constexpr int kStartLimitMs = 40'000; ///< the script gives up and says why before this
constexpr int kStopLimitMs = 10'000;
constexpr qsizetype kLogTail = 2000;
constexpr double kToneAmplitude = 0.25;

QString serversFolder() { return qEnvironmentVariable("QUILLET_SOUND_SERVERS"); }

} // namespace

/// A process with pipes to and from it. Not QProcess, whose way of forking leaves the thread sanitizer blind to locks.
class PrivateSoundServer::Child {
public:
    explicit Child(const QStringList& command) {
        int input[2];
        int output[2];
        require(pipe2(input, O_CLOEXEC) == 0 && pipe2(output, O_CLOEXEC) == 0, "no pipes for a child process");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);

        std::vector<std::string> words;
        for (const QString& word : command) words.push_back(word.toStdString());
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        require(posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ) == 0,
                "a child process does not start");
        posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        m_input = input[1];
        m_output = output[0];
    }
    ~Child() {
        closeInput();
        if (m_pid > 0) {
            ::kill(m_pid, SIGTERM);
            wait();
        }
        ::close(m_output);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void closeInput() {
        if (m_input >= 0) ::close(m_input);
        m_input = -1;
    }

    /// What it prints, up to the end or to the stop; nothing more after the time limit.
    std::string read(char stop, int limitMs) {
        std::string text;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
        while (true) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            pollfd readable{.fd = m_output, .events = POLLIN, .revents = 0};
            if (poll(&readable, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0))) <= 0) return text;
            char character = 0;
            if (::read(m_output, &character, 1) != 1 || character == stop) return text;
            text.push_back(character);
        }
    }

    /// Its exit status; blocks until it has ended.
    int wait() {
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t m_pid = 0;
    int m_input = -1;
    int m_output = -1;
};

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
    m_script = std::make_unique<Child>(QStringList{
        QStringLiteral(QUILLET_SCRIPTS "/sound-server"), QStringLiteral("--runtime"), m_runtime.path(),
        m_kind == Kind::PulseAudio ? QStringLiteral("pulseaudio") : QStringLiteral("pipewire"), serversFolder(),
        QStringLiteral("--"), QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("echo ready; exec cat")});
    require(m_script->read('\n', kStartLimitMs) == "ready", "the private sound server did not start");
}

void PrivateSoundServer::stop() {
    m_players.clear();
    if (!m_script) return;
    m_script->closeInput();
    m_script->read('\0', kStopLimitMs); // its end
    m_script.reset();
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
    Child child(QStringList{QStringLiteral("pactl")} + arguments);
    const std::string printed = child.read('\0', kStopLimitMs);
    require(child.wait() == 0, "pactl failed");
    return QString::fromStdString(printed).trimmed();
}

std::string PrivateSoundServer::state() {
    std::string text;
    for (const char* what : {"sinks", "sources", "sink-inputs", "source-outputs"}) {
        Child child({QStringLiteral("pactl"), QStringLiteral("list"), QStringLiteral("short"), QLatin1String(what)});
        text += std::string(what) + ":\n" + child.read('\0', kStopLimitMs);
    }
    Child child({QStringLiteral("pactl"), QStringLiteral("info")});
    text += child.read('\0', kStopLimitMs);
    for (const char* log : {"wireplumber.log", "pipewire.log", "pipewire-pulse.log", "pulseaudio.log"}) {
        QFile file(m_runtime.filePath(QLatin1String(log)));
        if (!file.open(QIODevice::ReadOnly)) continue;
        text += std::string(log) + ":\n" + file.readAll().right(kLogTail).toStdString();
    }
    return text;
}

void PrivateSoundServer::play(const QString& output, const std::vector<float>& mono) {
    QFile file(m_runtime.filePath(QString::number(++m_files) + QStringLiteral(".raw")));
    require(file.open(QIODevice::WriteOnly), "no file for a sound");
    const auto bytes = static_cast<qint64>(mono.size() * sizeof(float));
    require(file.write(reinterpret_cast<const char*>(mono.data()), bytes) == bytes, "no room for a sound");
    file.close();

    m_players.push_back(std::make_unique<Child>(
        QStringList{QStringLiteral("paplay"), QStringLiteral("--raw"), QStringLiteral("--format=float32le"),
                    QStringLiteral("--rate=48000"), QStringLiteral("--channels=1"),
                    QStringLiteral("--latency-msec=100"), QStringLiteral("--device=") + output, file.fileName()}));
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
