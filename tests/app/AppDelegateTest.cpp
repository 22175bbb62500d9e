#include "Shell.h"
#include "app/ui/Popover.h"

#include <QMenu>
#include <QtTest/QTest>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using Presence = StatusItem::Presence;
using Tint = StatusImage::Tint;

class AppDelegateTest : public ShellFixture {
protected:
    void choose(const char* title) {
        for (const MenuEntry& entry : tray.handlers.menu()) {
            if (entry.title == QString::fromUtf8(title)) return entry.action();
        }
        ADD_FAILURE() << "no entry " << title;
    }
};

TEST_F(AppDelegateTest, theArgumentsDecideAboutTheIntroduction) {
    const struct {
        const char* arguments;
        bool completedBefore, opens;
    } rows[] = {{"", false, true},
                {"", true, false},
                {"--skip-onboarding", false, false},
                {"--reset-onboarding", true, true},
                {"--skip-onboarding --reset-onboarding", true, false},
                {"--skip-onboarding=", false, true}};
    for (const auto& row : rows) {
        desk.defaults.set(DefaultsKeys::hasCompletedOnboarding, row.completedBefore);
        SCOPED_TRACE(testing::Message() << row.arguments << (row.completedBefore ? ", a later start" : ""));
        launch(QString::fromLatin1(row.arguments).split(u' '));
        EXPECT_EQ(window("Welcome to Quillet"), nullptr) << "not at once";
        QTest::qWait(700);
        EXPECT_EQ(window("Welcome to Quillet") != nullptr, row.opens);
        EXPECT_EQ(desk.defaults.boolean(DefaultsKeys::hasCompletedOnboarding), !row.opens);
    }
    FileUserDefaults fileInTheWay(desk.folder.filePath(QStringLiteral("Meeting.m4a/settings.conf")));
    defaults = &fileInTheWay;
    launch();
    QTest::qWait(700);
    EXPECT_EQ(window("Welcome to Quillet"), nullptr) << "skipped where that cannot be stored";
    delegate.reset();
}

TEST_F(AppDelegateTest, theIntroductionIsShownOncePerProcessAndEndsWithItsNotice) {
    launch({});
    ASSERT_TRUE(waitFor([] { return window("Welcome to Quillet") != nullptr; }));
    const QPointer<QWidget> introduction = window("Welcome to Quillet");
    EXPECT_EQ(introduction->size(), QSize(480, 560));
    choose("Settings…");
    const auto isOnTop = [](const QWidget* each) {
        return each->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint);
    };
    QWidget* const settings = window("Quillet Settings");
    EXPECT_TRUE(isOnTop(introduction) && isOnTop(settings)) << "it would open behind the introduction";
    desk.notifications.post(Notifications::onboardingDidComplete);
    EXPECT_EQ(window("Welcome to Quillet"), nullptr);
    EXPECT_FALSE(isOnTop(settings));
    EXPECT_FALSE(introduction.isNull()) << "the notice comes from one of its buttons";
    EXPECT_TRUE(waitFor([&] { return introduction.isNull(); }));
    desk.notifications.post(Notifications::onboardingDidComplete);
}

TEST_F(AppDelegateTest, theIconBlinksWhileRecordingWithOneTimer) {
    launch();
    ASSERT_FALSE(tray.images.empty());
    EXPECT_EQ(tray.images.back().symbol, u"mic.circle.fill"_s);
    EXPECT_EQ(tray.images.back().tint, Tint::Plain);

    delegate->updateMenuBarIcon(true);
    delegate->updateMenuBarIcon(true);
    tray.images.clear();
    QTest::qWait(1500);
    const auto isShown = [](Tint tint) {
        return testing::AllOf(testing::Field(&StatusImage::symbol, u"record.circle.fill"_s),
                              testing::Field(&StatusImage::tint, tint));
    };
    EXPECT_THAT(tray.images, ElementsAre(isShown(Tint::Label), isShown(Tint::Recording)));

    delegate->updateMenuBarIcon(false);
    tray.images.clear();
    QTest::qWait(800);
    EXPECT_TRUE(tray.images.empty()) << "nothing blinks when nothing is recorded";
}

TEST_F(AppDelegateTest, theMenuHasItsEntriesInTheirOrder) {
    launch();
    const auto titles = [this] {
        std::vector<std::string> all;
        for (const MenuEntry& entry : tray.handlers.menu())
            all.push_back(entry.isSeparator() ? "-" : entry.title.toStdString());
        return all;
    };
    EXPECT_THAT(titles(), ElementsAre("Start Recording", "-", "Settings…", "-", "Check for Updates...", "-", "Quit"));
    choose("Start Recording");
    ASSERT_TRUE(desk.becomesRecording(true));
    EXPECT_EQ(titles().front(), "Stop Recording");
    choose("Stop Recording");
    ASSERT_TRUE(desk.becomesRecording(false));
    choose("Check for Updates...");
    EXPECT_EQ(web->opened.size(), 1U);
    choose("Quit");
    EXPECT_EQ(terminations, 1);
    EXPECT_TRUE(tray.isGone) << "panels keep the items of processes that just vanish";
}

TEST_F(AppDelegateTest, aClosedSettingsWindowIsNotUsedAgainAndAVisibleOneIs) {
    launch();
    choose("Settings…");
    QPointer<QWidget> first = window("Quillet Settings");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->size(), QSize(720, 520));
    EXPECT_EQ(first->minimumSize(), QSize(620, 460));
    std::thread([this] { desk.notifications.post(Notifications::openSettingsRequested); }).join();
    processEvents();
    EXPECT_EQ(window("Quillet Settings"), first);
    first->close();
    Theme::shared().setTextScale(1.25);
    desk.notifications.post(Notifications::openSettingsRequested, {{u"section"_s, u"AI & Privacy"_s}});
    Theme::shared().setTextScale(1);
    ASSERT_NE(window("Quillet Settings"), nullptr);
    EXPECT_EQ(window("Quillet Settings")->height(), 650) << "grows with the text, once";
    EXPECT_EQ(window("Quillet Settings")->minimumHeight(), 575);
    EXPECT_THAT(sections, ElementsAre("", "AI & Privacy"));
    EXPECT_TRUE(first.isNull());
}

TEST_F(AppDelegateTest, aPressOpensThePopoverAndTheNextOneClosesIt) {
    launch();
    tray.handlers.activate({.itemGeometry = QRect(700, 2, 24, 24)});
    QWidget* const popover = window("Quillet");
    ASSERT_NE(popover, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowActive(popover));
    QWidget panel;
    panel.show();
    ASSERT_TRUE(waitFor([] { return window("Quillet") == nullptr; }));
    tray.handlers.activate({});
    EXPECT_EQ(window("Quillet"), nullptr) << "the press that took the focus away comes as an activation, too";
    QTest::qWait(350);
    tray.handlers.activate({});
    ASSERT_EQ(window("Quillet"), popover);
    ASSERT_TRUE(QTest::qWaitForWindowActive(popover));
    tray.handlers.activate({});
    EXPECT_EQ(window("Quillet"), nullptr);
    tray.handlers.activate({});
    EXPECT_NE(window("Quillet"), nullptr) << "a quick hand is obeyed";
}

TEST_F(AppDelegateTest, withoutATrayTheWindowOpensOnceItMay) {
    const struct {
        const char* what;
        QStringList arguments;
        Presence presence;
        bool opens;
    } rows[] = {
        {"started by hand, no tray", {u"--skip-onboarding"_s}, Presence::Absent, true},
        {"nobody has answered yet", {u"--skip-onboarding"_s}, Presence::Unknown, false},
        {"at login the panel gets its time", {u"--skip-onboarding"_s, u"--autostarted"_s}, Presence::Absent, false},
        {"the introduction comes first", {u"--reset-onboarding"_s}, Presence::Absent, false}};
    for (const auto& row : rows) {
        tray.presence.set(row.presence);
        launch(row.arguments);
        EXPECT_EQ(window("Quillet") != nullptr, row.opens) << row.what;
    }
    tray.presence.set(Presence::Shown);
    launch();
    tray.presence.set(Presence::Absent);
    EXPECT_EQ(window("Quillet"), nullptr) << "a tray that was there comes back";
    delegate->showPopover();
    EXPECT_NE(window("Quillet"), nullptr) << "asked for by another start";

    launch({u"--reset-onboarding"_s});
    ASSERT_TRUE(waitFor([] { return window("Welcome to Quillet") != nullptr; }));
    EXPECT_EQ(window("Quillet"), nullptr);
    window("Welcome to Quillet")->close();
    ASSERT_TRUE(waitFor([] { return window("Quillet") != nullptr; })) << "closed before its end";

    launch({u"--reset-onboarding"_s});
    EXPECT_EQ(window("Quillet"), nullptr);
    desk.defaults.set(DefaultsKeys::hasCompletedOnboarding, true);
    desk.notifications.post(Notifications::onboardingDidComplete);
    QWidget* const opened = window("Quillet");
    ASSERT_NE(opened, nullptr);
    auto* const button = find<QAbstractButton>(*opened, u"Menu"_s);
    ASSERT_NE(button, nullptr);
    button->click();
    button->findChild<QMenu*>()->actions().back()->trigger();
    EXPECT_EQ(terminations, 0) << "the menu closes first";
    EXPECT_TRUE(waitFor([this] { return terminations == 1; }));
}

using RecordingNoticesTest = NoticesFixture;

TEST_F(RecordingNoticesTest, aSourceThatStaysSilentIsSaidOnceAndTakenBackWhenItIsHeard) {
    record();
    desk.deliver(0, 5 * 48'000, 0.1F, 0.0F);
    QTest::qWait(1200);
    EXPECT_TRUE(told->shown.empty()) << "a pause is no fault";
    desk.deliver(5 * 48'000, 6 * 48'000, 0.1F, 0.0F);
    ASSERT_TRUE(waitFor([&] { return !told->shown.empty(); }));
    QTest::qWait(1200);
    ASSERT_EQ(told->shown.size(), 1U);
    EXPECT_EQ(told->shown[0].title, u"The microphone is silent"_s);
    told->withdrawn.clear();
    desk.deliver(11 * 48'000, 48'000, 0.1F, 0.1F);
    EXPECT_TRUE(waitFor([&] { return told->withdrawn == std::vector{told->shown[0].subject.toStdString()}; }));
    stop();
}

TEST_F(RecordingNoticesTest, soundThatTheDiskCostsIsSaidOnce) {
    record();
    desk.writers->freeBlocks = 0; // the disk hangs
    desk.deliver(0, 2 * 48'000, 0.1F, 0.1F);
    QTest::qWait(1200);
    EXPECT_TRUE(told->shown.empty()) << "it may still go on in time";
    desk.deliver(2 * 48'000, 2 * 48'000, 0.1F, 0.1F);
    ASSERT_TRUE(waitFor([&] { return !told->shown.empty(); }));
    desk.deliver(4 * 48'000, 20 * 48'000, 0.1F, 0.1F);
    QTest::qWait(1200);
    ASSERT_EQ(told->shown.size(), 1U);
    EXPECT_EQ(told->shown[0].title, u"Parts of the recording are missing"_s);
    stop();
}

TEST_F(RecordingNoticesTest, whoeverLooksElsewhereIsTold) {
    record();
    EXPECT_EQ(machine->holds, 1) << "the machine stays awake";
    complete("file:///tmp/M%20%231%E9.m4a");
    ASSERT_EQ(told->shown.size(), 1U);
    EXPECT_EQ(told->shown[0].body, u"M #1\uFFFD.m4a"_s);
    told->shown[0].onAction();
    EXPECT_EQ(revealed, "/tmp/M #1\xE9.m4a") << "also a name that is no text";
    complete("file:///tmp/M.m4a", true);
    EXPECT_EQ(told->shown.back().title, u"The recording could not be finished"_s);
    EXPECT_EQ(told->shown.back().subject, told->shown[0].subject);
    told->shown.pop_back();

    desk.engine->lastError.set(u"Failed to setup audio writer."_s);
    desk.uiModel.showDiskFull();
    ASSERT_EQ(told->shown.size(), 3U);
    EXPECT_EQ(told->shown[1].subject, told->shown[2].subject) << "one message for one failure";
    EXPECT_EQ(told->shown[2].title, u"Not Enough Space"_s);

    missChosenDevices();
    ASSERT_EQ(told->shown.size(), 5U);
    EXPECT_EQ(told->shown[3].title, u"The chosen microphone is not connected"_s);
    EXPECT_EQ(told->shown[4].title, u"The chosen output is not connected"_s);
    told->withdrawn.clear();
    stop();
    EXPECT_EQ(machine->holds, 0);
    for (const std::size_t each : {3U, 4U})
        EXPECT_THAT(told->withdrawn, testing::Contains(told->shown[each].subject.toStdString())) << "no longer true";
    for (const bool isAlertOpen : {true, false}) {
        if (!isAlertOpen) desk.uiModel.activeAlert.set(std::nullopt);
        desk.engine->lastError.set(QStringLiteral("Failed to setup audio writer."));
        told->withdrawn.clear();
        desk.engine->lastError.set(std::nullopt); // the next recording runs well
        EXPECT_EQ(told->withdrawn.empty(), isAlertOpen) << "an alert waits for its answer";
    }
}

} // namespace
} // namespace quillet::test
