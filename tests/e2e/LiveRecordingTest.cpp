#include "QuilletProcess.h"
#include "support/PrivateSoundServer.h"
#include "support/WavFile.h"

#include <QDir>
#include <QTcpServer>

#include <csignal>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

class LiveRecordingTest : public LiveServerTest {
protected:
    void SetUp() override {
        LiveServerTest::SetUp();
        quillet.environment.insert(u"PULSE_SERVER"_s, qEnvironmentVariable("PULSE_SERVER"));
    }

    QuilletProcess quillet;
};
QUILLET_FOR_BOTH_SERVERS(LiveRecordingTest);

TEST_P(LiveRecordingTest, BothSidesOfAConversationAreInTheFile) {
    server->play(u"speakers"_s, tone(440, 30));
    server->play(u"micfeed"_s, tone(1000, 30));

    ASSERT_EQ(quillet.run({u"record"_s, u"--duration"_s, u"4"_s, u"--json"_s}), 0) << quillet.errors.toStdString();

    const QJsonObject result = quillet.json();
    EXPECT_NEAR(result[u"durationSeconds"_s].toDouble(), 4.0, 0.6);
    EXPECT_EQ(result[u"blocksDropped"_s].toInt(), 0);
    EXPECT_NEAR(result[u"systemPeak"_s].toDouble(), 0.25, 0.05);
    EXPECT_NEAR(result[u"microphonePeak"_s].toDouble(), 0.25, 0.05);
    const std::vector<float> samples = decode(result[u"path"_s].toString());
    ASSERT_EQ(samples.size(), 2U * static_cast<std::size_t>(result[u"frames"_s].toInt()));
    // From the first moments on: words are said while the button is pressed.
    for (const auto& [begin, length] : {std::pair{7200U, 12000U}, {72000U, 72000U}}) {
        const auto part = std::span(samples).subspan(2 * begin, 2 * length);
        for (const int channel : {0, 1}) {
            EXPECT_GT(amplitude(part, channel, 440), 0.04) << begin;
            EXPECT_GT(amplitude(part, channel, 1000), 0.04) << begin;
        }
    }
}

TEST_P(LiveRecordingTest, DevicesAreListedByTheNamesThatRecordTakes) {
    ASSERT_EQ(quillet.run({u"devices"_s}), 0) << quillet.errors.toStdString();
    EXPECT_TRUE(quillet.output.contains(u"speakers"_s) && quillet.output.contains(u"microphone"_s));
    server->play(u"micfeed"_s, tone(1000, 30));

    ASSERT_EQ(quillet.run({u"record"_s, u"--system"_s, u"micfeed"_s, u"--microphone"_s, u"microphone"_s,
                           u"--duration"_s, u"2"_s, u"--json"_s}),
              0)
        << quillet.errors.toStdString();

    EXPECT_GT(quillet.json()[u"systemPeak"_s].toDouble(), 0.2) << "the other output is the one that is recorded";
}

TEST_P(LiveRecordingTest, DigitalSilenceIsSaidInProgressAndResult) {
    server->play(u"micfeed"_s, tone(1000, 30));
    ASSERT_EQ(quillet.run({u"record"_s, u"--duration"_s, u"16"_s, u"--json"_s}), 0);
    EXPECT_TRUE(quillet.errors.contains(u"system SILENT for"_s)) << quillet.errors.toStdString();
    EXPECT_GT(quillet.json()[u"systemSilentSeconds"_s].toDouble(), 10.0);
    EXPECT_LT(quillet.json()[u"microphoneSilentSeconds"_s].toDouble(), 2.0);
}

TEST_P(LiveRecordingTest, WithoutServerAccessOrDevicesTheReasonIsOneSentenceAndNoFileIsLeft) {
    const QStringList record{u"record"_s, u"--duration"_s, u"2"_s};
    const QString ownSide = quillet.folder(u"own side.wav"_s);
    writeTone(ownSide, 1, 48000, 1.0, 1000, 0.3);
    const QStringList recordOutput = record + QStringList{u"--microphone"_s, u"file:"_s + ownSide};
    const auto fails = [this](const QStringList& arguments, const QString& sentence) {
        SCOPED_TRACE(sentence.toStdString());
        EXPECT_EQ(quillet.run(arguments, 6000), 1);
        EXPECT_EQ(quillet.errors.toStdString(), "quillet: " + sentence.toStdString() + '\n');
        EXPECT_TRUE(QDir(quillet.defaultFolder()).isEmpty());
    };
    const QString noMicrophone = u"There is no microphone. Connect one, or choose an input in your sound settings."_s;

    fails(record + QStringList{u"--system"_s, u"nosuch"_s},
          u"There is no output named “nosuch”; “quillet devices” lists those that there are."_s);

    const bool isPulseAudio = GetParam() == PrivateSoundServer::Kind::PulseAudio;
    if (isPulseAudio) { // PipeWire asks nobody for a cookie, and PulseAudio not its own user at a local socket
        QTcpServer free;
        ASSERT_TRUE(free.listen(QHostAddress::LocalHost));
        const QString port = QString::number(free.serverPort());
        free.close();
        server->control({u"load-module"_s, u"module-native-protocol-tcp"_s, u"listen=127.0.0.1"_s, u"port="_s + port,
                         u"auth-cookie=another"_s});
        quillet.environment.insert(u"PULSE_SERVER"_s, u"tcp:127.0.0.1:"_s + port);
        fails(record, u"The sound server refuses access to the microphone. Allow sound recording for this program."_s);
        fails(recordOutput, u"The sound outputs cannot be listed: the sound server denies access (Access denied)"_s);
        fails({u"devices"_s}, u"The devices cannot be listed: the sound server denies access (Access denied)."_s);
        quillet.environment.insert(u"PULSE_SERVER"_s, qEnvironmentVariable("PULSE_SERVER"));
    }

    control("set-default-source speakers.monitor");
    control("unload-module module-remap-source");
    fails(record, noMicrophone);

    if (!isPulseAudio) control("unload-module module-always-sink"); // it would put a dummy in the outputs' place
    control("unload-module module-null-sink");
    fails(record, noMicrophone);
    control(isPulseAudio ? "load-module module-null-source source_name=other"
                         : "load-module module-null-sink media.class=Audio/Source/Virtual sink_name=other");
    fails(record + QStringList{u"--microphone"_s, u"other"_s},
          u"There is no sound output to record. Connect or switch on an output and try again."_s);

    server->stop();
    fails(record, u"Microphone input failed: the sound server cannot be reached (Connection refused)"_s);
    fails(recordOutput,
          u"The sound outputs cannot be listed: the sound server cannot be reached (Connection refused)"_s);
    fails({u"devices"_s}, u"The devices cannot be listed: the sound server cannot be reached (Connection refused)."_s);
}

} // namespace
} // namespace quillet::test
