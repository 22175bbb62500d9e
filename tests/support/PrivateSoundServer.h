#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace quillet {

/// A sound server of a test's own, without hardware: an output "speakers" and a microphone "microphone" that hears what
/// is played to "micfeed", both the defaults. The servers' files are those that QUILLET_SOUND_SERVERS names. While the
/// object lives, this process's PULSE_SERVER points to it, started or not. A failure to start ends the test program
/// with a message: nothing that follows would mean anything.
class PrivateSoundServer {
public:
    enum class Kind { PulseAudio, PipeWire };

    /// Why there can be no private servers here; empty when there can.
    [[nodiscard]] static std::string whyUnavailable();
    [[nodiscard]] static const char* nameOf(Kind kind);

    explicit PrivateSoundServer(Kind kind);
    ~PrivateSoundServer();
    PrivateSoundServer(const PrivateSoundServer&) = delete;
    PrivateSoundServer& operator=(const PrivateSoundServer&) = delete;

    void start();
    void stop();
    /// Without a goodbye to its clients; start() brings it back.
    void kill();
    void freeze();
    void thaw();

    /// Runs one of the server's commands and returns what it prints.
    QString control(const QStringList& arguments);
    /// What the server has and does at the moment, for the message of a failed test.
    [[nodiscard]] std::string state();
    /// Plays mono at 48 kHz to an output, from now on and until it is over or the server ends.
    void play(const QString& output, const std::vector<float>& mono);

private:
    class Child;

    void signalServers(int signal);

    const Kind m_kind;
    QTemporaryDir m_runtime;
    std::unique_ptr<Child> m_script;
    std::vector<std::unique_ptr<Child>> m_players;
    int m_files = 0;
};

/// For the names of tests.
inline void PrintTo(PrivateSoundServer::Kind kind, std::ostream* out) { *out << PrivateSoundServer::nameOf(kind); }

/// Runs each test once per kind of server, or skips it where there are none.
class LiveServerTest : public testing::TestWithParam<PrivateSoundServer::Kind> {
protected:
    void SetUp() override {
        if (const std::string reason = PrivateSoundServer::whyUnavailable(); !reason.empty()) GTEST_SKIP() << reason;
        server = std::make_unique<PrivateSoundServer>(GetParam());
        server->start();
    }
    QString control(const char* words) { return server->control(QString::fromLatin1(words).split(QLatin1Char(' '))); }

    std::unique_ptr<PrivateSoundServer> server;
};

#define QUILLET_FOR_BOTH_SERVERS(Suite)                                                                                \
    INSTANTIATE_TEST_SUITE_P(                                                                                          \
        On, Suite, testing::Values(PrivateSoundServer::Kind::PulseAudio, PrivateSoundServer::Kind::PipeWire),          \
        [](const auto& row) { return PrivateSoundServer::nameOf(row.param); })

/// So many seconds of a mono sine with an amplitude of a quarter.
[[nodiscard]] std::vector<float> tone(double frequencyHz, double seconds);

} // namespace quillet
