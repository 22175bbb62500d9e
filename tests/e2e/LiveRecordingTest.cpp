#include "QuilletProcess.h"
#include "support/PrivateSoundServer.h"

#include <QElapsedTimer>

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

TEST_P(LiveRecordingTest, WithoutServerOrDevicesTheReasonIsOneSentence) {
    EXPECT_EQ(quillet.run({u"record"_s, u"--system"_s, u"nosuch"_s, u"--duration"_s, u"2"_s}), 1);
    EXPECT_TRUE(quillet.errors.contains(u"no output named “nosuch”"_s)) << quillet.errors.toStdString();

    control("set-default-source speakers.monitor");
    control("unload-module module-remap-source");
    EXPECT_EQ(quillet.run({u"record"_s, u"--duration"_s, u"2"_s}), 1);
    EXPECT_TRUE(quillet.errors.contains(u"There is no microphone."_s)) << quillet.errors.toStdString();

    server->stop();
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(quillet.run({u"record"_s, u"--duration"_s, u"2"_s}), 1);
    EXPECT_LT(clock.elapsed(), 6000);
    EXPECT_TRUE(quillet.errors.contains(u"Microphone input failed: "_s)) << quillet.errors.toStdString();
    EXPECT_EQ(quillet.errors.count(u'\n'), 1);
    EXPECT_EQ(quillet.run({u"devices"_s}), 1);
}

} // namespace
} // namespace quillet::test
