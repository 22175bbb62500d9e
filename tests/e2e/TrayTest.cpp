#include "QuilletProcess.h"
#include "support/PrivateDesktop.h"
#include "support/PrivateSoundServer.h"
#include "support/WaitFor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>
#include <thread>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// A person at a desktop with a tray: the whole program, its windows, a panel, a sound server and a folder of notes.
class TrayTest : public testing::Test {
protected:
    void SetUp() override {
        const std::string why = PrivateDesktop::whyUnavailable();
        if (!why.empty()) GTEST_SKIP() << why;
        desktop = std::make_unique<PrivateDesktop>();
    }
    [[nodiscard]] QProcessEnvironment environment() const {
        QProcessEnvironment all = desktop->environment();
        all.insert(u"LC_ALL"_s, u"C.UTF-8"_s); // windows are found by their titles
        if (server) all.insert(u"PULSE_SERVER"_s, qEnvironmentVariable("PULSE_SERVER"));
        all.insert(surroundings);
        return all;
    }
    void start(const QStringList& arguments = {}) {
        program.environment = environment();
        program.process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(arguments);
    }
    /// Another start of the program beside the running one; what it prints.
    QString quillet(const QStringList& arguments) const {
        QuilletProcess other;
        other.environment = environment();
        EXPECT_EQ(other.run(arguments, 20000), 0) << other.errors.toStdString();
        return other.output.trimmed();
    }
    [[nodiscard]] bool ends() { return program.finish(10000) != -1; }
    [[nodiscard]] QStringList files(const QString& folder, const QString& pattern) const {
        return QDir(desktop->home() + folder).entryList({pattern}, QDir::Files);
    }
    /// The item needs its panel, and the panel a moment to show it: a press that comes too early opens nothing. One
    /// that is repeated too early closes what the first has opened.
    [[nodiscard]] bool openPopover() const {
        return waitFor(
            [this] {
                desktop->click(desktop->trayItem());
                return desktop->waitForWindow(u"Quillet"_s, true, 3000);
            },
            25000);
    }
    void closePopover() const {
        desktop->press(u"Escape"_s);
        ASSERT_TRUE(desktop->waitForWindow(u"Quillet"_s, false));
    }
    /// Quit is the last entry of the menu, which has no title to wait for.
    void quitByTheMenu(const QString& picture) {
        desktop->click(desktop->trayItem(), 3);
        std::this_thread::sleep_for(1s); // the panel asks for the menu before it opens
        desktop->keepPicture(picture);
        desktop->press(u"Up Return"_s);
        EXPECT_EQ(program.finish(10000), 0);
    }

    std::unique_ptr<PrivateDesktop> desktop;
    std::unique_ptr<PrivateSoundServer> server;
    QProcessEnvironment surroundings; ///< what a test has otherwise than usual
    QuilletProcess program;
};

class TrayWithSoundTest : public TrayTest {
protected:
    void SetUp() override {
        if (const std::string why = PrivateSoundServer::whyUnavailable(); !why.empty()) GTEST_SKIP() << why;
        TrayTest::SetUp();
        server = std::make_unique<PrivateSoundServer>(PrivateSoundServer::Kind::PulseAudio);
        server->start();
        server->play(u"speakers"_s, tone(440, 120));
        server->play(u"micfeed"_s, tone(1000, 120));
    }
    const QString recordings = u"/data/quillet/Recordings"_s;
};

TEST_F(TrayWithSoundTest, aMeetingFromTheIntroductionToTheNote) {
    start();
    ASSERT_TRUE(desktop->waitForWindow(u"Welcome to Quillet"_s));
    const auto walksOn = [this] {
        desktop->press(u"Return"_s);
        return desktop->waitForWindow(u"Welcome to Quillet"_s, false, 700);
    };
    ASSERT_TRUE(waitFor(walksOn, 20000));
    EXPECT_EQ(files(u"/config/autostart"_s, u"*.desktop"_s).size(), 1) << "the introduction switches this on";

    // The popover by a press on the tray's item; the switch for notes by the keyboard, the button by the mouse.
    ASSERT_TRUE(openPopover());
    desktop->press(u"Tab space"_s);
    ASSERT_TRUE(waitFor([this] {
        return quillet({u"settings"_s, u"get"_s, u"corvane.autoCreateNote"_s}) == u"true"_s;
    }));
    // The chosen devices were left at home, so the default ones are recorded.
    quillet({u"settings"_s, u"set"_s, u"corvane.microphoneDevice"_s, u"headset"_s});
    quillet({u"settings"_s, u"set"_s, u"corvane.systemAudioDevice"_s, u"headset"_s});
    const QRect popover = desktop->geometry(desktop->windows(u"Quillet"_s).value(0));
    desktop->click(QPoint(popover.center().x(), popover.top() + 105));
    ASSERT_TRUE(waitFor([this] { return !files(recordings, u"*.m4a"_s).isEmpty(); }, 10000));
    std::this_thread::sleep_for(5s); // the meeting
    desktop->keepPicture(u"tray-recording"_s);
    desktop->press(u"space"_s); // the button still has the keyboard

    const QString vault = u"/Documents/Quillet Notes"_s;
    ASSERT_TRUE(waitFor([&] { return !files(vault, u"*.md"_s).isEmpty(); }, 15000));
    const QStringList audio = files(vault + u"/attachments"_s, u"*.m4a"_s);
    ASSERT_EQ(audio.size(), 1);
    const std::vector<float> sound = decode(desktop->home() + vault + u"/attachments/"_s + audio.front());
    ASSERT_GT(sound.size(), 2U * 48000 * 4);
    const std::span<const float> late = std::span(sound).last(2 * 48000 * 2);
    EXPECT_GT(amplitude(late, 0, 440), 0.01);
    EXPECT_GT(amplitude(late, 0, 1000), 0.01);

    // A template of one's own, by the keyboard alone.
    quillet({u"--settings"_s});
    ASSERT_TRUE(desktop->waitForWindow(u"Quillet Settings"_s));
    desktop->press(u"Down Down"_s);
    desktop->keepPicture(u"tray-settings"_s);
    desktop->press(u"Tab Tab Tab Tab space"_s);
    ASSERT_TRUE(desktop->waitForWindow(u"New Template"_s));
    desktop->type(u"Weekly"_s);
    desktop->press(u"ctrl+Return"_s);
    ASSERT_TRUE(desktop->waitForWindow(u"New Template"_s, false));
    EXPECT_THAT(quillet({u"templates"_s, u"list"_s}).toStdString(), testing::HasSubstr("Weekly"));
    ASSERT_TRUE(waitFor([&] { // the keyboard returns to the window a moment after the sheet has gone
        desktop->press(u"ctrl+w"_s);
        return desktop->windows(u"Quillet Settings"_s).isEmpty();
    }));

    quitByTheMenu(u"tray-menu"_s);
}

TEST_F(TrayTest, theItemReturnsWithItsPanelAndCommandsReachTheRunningProgram) {
    start({u"--skip-onboarding"_s});
    ASSERT_TRUE(openPopover());
    EXPECT_TRUE(desktop->windows(u"Welcome to Quillet"_s).isEmpty());
    closePopover();

    desktop->stopPanel();
    desktop->startPanel();
    ASSERT_TRUE(openPopover());
    closePopover();

    quillet({});
    EXPECT_TRUE(desktop->waitForWindow(u"Quillet"_s)) << "a second start shows the first";
    quillet({u"--settings"_s});
    EXPECT_TRUE(desktop->waitForWindow(u"Quillet Settings"_s));
    quillet({u"--reset-onboarding"_s});
    quillet({u"--quit"_s});
    EXPECT_TRUE(ends());
    start();
    EXPECT_TRUE(desktop->waitForWindow(u"Welcome to Quillet"_s)) << "what the running program could not do";
}

TEST_F(TrayTest, anOlderTrayHoldsTheItemAndMayRestart) {
    if (const std::string why = PrivateDesktop::whyNoOlderTray(); !why.empty()) GTEST_SKIP() << why;
    desktop->stopPanel();
    desktop->startOlderTray();
    start({u"--skip-onboarding"_s});
    ASSERT_TRUE(openPopover());
    closePopover();

    desktop->stopPanel();
    desktop->startOlderTray();
    ASSERT_TRUE(openPopover());
    const QRect popover = desktop->geometry(desktop->windows(u"Quillet"_s).value(0));
    EXPECT_LE(std::abs(popover.right() - desktop->trayItem().x()), 24) << "beside its item";
    closePopover();

    quitByTheMenu(u"older-tray-menu"_s); // this tray tells of presses
}

TEST_F(TrayTest, oddSurroundingsDoNoHarm) {
    const QString bus = desktop->environment().value(u"DBUS_SESSION_BUS_ADDRESS"_s);
    const QString endless = u"a"_s.repeated(300);
    const std::tuple<const char*, QString, QString, QString> rows[] = {
        {"unknown names", u"xx_YY.UTF-9"_s, u"Nowhere/Land"_s, bus},
        {"damaged names", u"ÿ/../..@@"_s, u":/etc/passwd"_s, bus},
        {"names without an end", endless, endless, bus},
        {"no session bus", u"C.UTF-8"_s, u"UTC"_s, u"unix:path=/nonexistent"_s}};
    for (const auto& [name, language, zone, address] : rows) {
        surroundings.insert(u"LC_ALL"_s, language);
        surroundings.insert(u"LANGUAGE"_s, language);
        surroundings.insert(u"TZ"_s, zone);
        surroundings.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, address);
        start({u"--skip-onboarding"_s, u"--settings"_s});
        EXPECT_TRUE(desktop->waitForWindow(u"Quillet Settings"_s)) << name;
        quillet({u"--quit"_s});
        EXPECT_TRUE(ends()) << name;
        EXPECT_TRUE(desktop->waitForWindow(u"Quillet Settings"_s, false)) << name;
    }
}

TEST_F(TrayTest, withoutATrayTheWindowOpensAndHoldsTheMenu) {
    desktop->stopPanel();
    start({u"--skip-onboarding"_s});
    ASSERT_TRUE(desktop->waitForWindow(u"Quillet"_s));
    desktop->keepPicture(u"without-tray"_s);
    desktop->press(u"ctrl+q"_s);
    EXPECT_TRUE(ends());
}

/// Frames that a finished file leaves out at its edges and an unfinished one may still show.
constexpr std::size_t kEncoderDelay = 2048;

TEST_F(TrayWithSoundTest, quittingInTheMiddleOfARecordingLosesNothing) {
    start({u"--skip-onboarding"_s, u"--toggle-recording"_s});
    ASSERT_TRUE(waitFor([&] { return !files(recordings, u"*.m4a"_s).isEmpty(); }, 15000));
    std::this_thread::sleep_for(3s);
    quillet({u"--quit"_s});
    ASSERT_TRUE(ends());

    const QString file = desktop->home() + recordings + u'/' + files(recordings, u"*.m4a"_s).value(0);
    const std::vector<float> unfinished = decode(file);
    EXPECT_GT(unfinished.size(), 2U * 48000 * 2);
    const qint64 size = QFileInfo(file).size();

    // The next start makes the file whole, without being asked: it gets its index.
    start();
    ASSERT_TRUE(waitFor([&] { return QFileInfo(file).size() > size; }, 15000));
    EXPECT_TRUE(waitFor([&] { return decode(file).size() + 2 * kEncoderDelay >= unfinished.size(); }));
    const auto quits = [this] { // it can be told only once it has its place
        quillet({u"--quit"_s});
        return program.finish(500) == 0;
    };
    EXPECT_TRUE(waitFor(quits, 15000));
}

TEST_F(TrayWithSoundTest, theEndOfTheSessionFinishesTheRecording) {
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"the process is asked to end", [this] { program.process.terminate(); }},
        {"the display goes away", [this] { desktop->stopScreen(); }}};
    qsizetype recorded = 0;
    quillet({u"settings"_s, u"set"_s, u"corvane.autoCreateNote"_s, u"true"_s});
    for (const auto& [name, end] : rows) {
        SCOPED_TRACE(name);
        start({u"--skip-onboarding"_s, u"--toggle-recording"_s});
        ++recorded;
        ASSERT_TRUE(waitFor([&] { return files(recordings, u"*.m4a"_s).size() == recorded; }, 15000));
        quillet({u"--settings"_s}); // what makes notes exists from here on
        std::this_thread::sleep_for(1500ms);
        end();
        ASSERT_TRUE(ends());
        QFile log(desktop->home() + u"/data/quillet/test_log.txt"_s);
        EXPECT_TRUE(log.open(QFile::ReadOnly)) << "nothing is said of a recording that is not finished";
        EXPECT_EQ(log.readAll().count("Meeting_"), recorded);
        EXPECT_EQ(files(u"/Documents/Quillet Notes"_s, u"*.md"_s).size(), recorded);
    }
}

TEST(TrayWithoutDisplay, saysSoAndPointsToTheHeadlessCommand) {
    QProcessEnvironment none = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s}) none.remove(name);
    const std::tuple<const char*, QString, QString> rows[] = {
        {"no desktop", u"PWD"_s, u"/"_s},
        {"an X server that is gone", u"DISPLAY"_s, u":4999"_s},
        {"a Wayland compositor that is gone", u"WAYLAND_DISPLAY"_s, u"nowhere"_s},
        {"Wayland without one", u"QT_QPA_PLATFORM"_s, u"wayland"_s}};
    for (const auto& [name, variable, value] : rows) {
        QuilletProcess program;
        program.environment = none;
        program.environment.insert(variable, value);
        EXPECT_EQ(program.run({}), 1) << name;
        EXPECT_THAT(program.errors.toStdString(), testing::HasSubstr("quillet record")) << name;
    }
}

} // namespace
} // namespace quillet::test
