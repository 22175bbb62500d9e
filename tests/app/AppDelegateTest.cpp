#include "app/ui/AppDelegate.h"

#include "Desk.h"
#include "FakeNotices.h"
#include "app/RecordingNotices.h"
#include "app/ui/MenuView.h"
#include "app/ui/Popover.h"
#include "support/FakeExternalPrograms.h"
#include "support/Widgets.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QMenu>
#include <QtTest/QTest>

#include <gmock/gmock.h>

namespace quillet::test {
namespace {

using testing::ElementsAre;
using Presence = StatusItem::Presence;
using Tint = StatusImage::Tint;

/// A tray that writes down what it is shown.
class FakeStatusItem final : public StatusItem {
public:
    struct Tray {
        Published<Presence> presence{Presence::Shown};
        Handlers handlers;
        std::vector<std::pair<std::string, Tint>> images;
        bool isGone = false;
    };
    explicit FakeStatusItem(Tray& tray) : m_tray(tray) {}
    ~FakeStatusItem() override { m_tray.isGone = true; }
    void setImage(const StatusImage& image) override {
        m_tray.images.emplace_back(image.symbol.toStdString(), image.tint);
    }
    void refreshMenu() override {}
    Published<Presence>& presence() override { return m_tray.presence; }

private:
    Tray& m_tray;
};

class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest() { delegate = make(); }

    std::unique_ptr<AppDelegate> make() { return make(desk.defaults); }
    std::unique_ptr<AppDelegate> make(UserDefaults& defaults) {
        return std::make_unique<AppDelegate>(
            AppDelegate::Services{.engine = desk.engine,
                                  .control = desk.control,
                                  .defaults = defaults,
                                  .notifications = desk.notifications,
                                  .updaterManager = std::make_unique<UpdaterManager>(web),
                                  .makeStatusItem =
                                      [this](StatusItem::Handlers handlers) {
                                          tray.handlers = std::move(handlers);
                                          return std::make_unique<FakeStatusItem>(tray);
                                      },
                                  .makeMenuView = [this] { return new MenuView(desk.makeMenuModel()); },
                                  .makeSettingsView =
                                      [this](const QString& section) {
                                          sections.push_back(section.toStdString());
                                          return new QWidget;
                                      },
                                  .makeOnboardingView = [] { return new QWidget; },
                                  .terminate = [this] { ++terminations; }});
    }
    static QWidget* window(const char* title) {
        for (QWidget* const top : QApplication::topLevelWidgets()) {
            if (top->isVisible() && top->windowTitle() == QLatin1String(title)) return top;
        }
        return nullptr;
    }
    void launch(const QStringList& arguments) { delegate->applicationDidFinishLaunching(arguments); }
    void choose(const char* title) {
        for (const MenuEntry& entry : tray.handlers.menu()) {
            if (entry.title == QString::fromUtf8(title)) return entry.action();
        }
        ADD_FAILURE() << "no entry " << title;
    }

    Desk desk;
    FakeStatusItem::Tray tray;
    std::shared_ptr<FakeExternalPrograms> web = std::make_shared<FakeExternalPrograms>();
    int terminations = 0;
    std::vector<std::string> sections; ///< with which settings windows were made
    std::unique_ptr<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, theArgumentsDecideAboutTheIntroduction) {
    const QString skip = QStringLiteral("--skip-onboarding");
    const QString reset = QStringLiteral("--reset-onboarding");
    const struct {
        const char* what;
        QStringList arguments;
        bool completedBefore;
        bool opens;
    } rows[] = {
        {"a fresh profile", {}, false, true}, {"a later start", {}, true, false},
        {"skipped", {skip}, false, false},    {"reset", {reset}, true, true},
        {"both", {skip, reset}, true, false}, {"not quite an argument", {skip + QLatin1Char('=')}, false, true}};
    for (const auto& row : rows) {
        desk.defaults.set(DefaultsKeys::hasCompletedOnboarding, row.completedBefore);
        delegate = make();
        launch(row.arguments);
        EXPECT_EQ(window("Welcome to Quillet"), nullptr) << "not at once: " << row.what;
        QTest::qWait(700);
        EXPECT_EQ(window("Welcome to Quillet") != nullptr, row.opens) << row.what;
        EXPECT_EQ(desk.defaults.boolean(DefaultsKeys::hasCompletedOnboarding), !row.opens) << row.what;
    }
    FileUserDefaults fileInTheWay(desk.folder.filePath(QStringLiteral("Meeting.m4a/settings.conf")));
    delegate = make(fileInTheWay);
    launch({skip});
    QTest::qWait(700);
    EXPECT_EQ(window("Welcome to Quillet"), nullptr) << "skipped where that cannot be stored";
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
    launch({QStringLiteral("--skip-onboarding")});
    ASSERT_FALSE(tray.images.empty());
    EXPECT_EQ(tray.images.back(), std::pair(std::string("mic.circle.fill"), Tint::Plain));

    delegate->updateMenuBarIcon(true);
    delegate->updateMenuBarIcon(true);
    tray.images.clear();
    QTest::qWait(1500);
    const std::string symbol = "record.circle.fill";
    EXPECT_THAT(tray.images, ElementsAre(std::pair(symbol, Tint::Label), std::pair(symbol, Tint::Recording)));

    delegate->updateMenuBarIcon(false);
    tray.images.clear();
    QTest::qWait(800);
    EXPECT_TRUE(tray.images.empty()) << "nothing blinks when nothing is recorded";
}

TEST_F(AppDelegateTest, theMenuHasItsEntriesInTheirOrder) {
    launch({QStringLiteral("--skip-onboarding")});
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
    launch({QStringLiteral("--skip-onboarding")});
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
    desk.notifications.post(Notifications::openSettingsRequested,
                            {{QStringLiteral("section"), QStringLiteral("AI & Privacy")}});
    Theme::shared().setTextScale(1);
    ASSERT_NE(window("Quillet Settings"), nullptr);
    EXPECT_EQ(window("Quillet Settings")->height(), 650) << "grows with the text, once";
    EXPECT_EQ(window("Quillet Settings")->minimumHeight(), 575);
    EXPECT_THAT(sections, ElementsAre("", "AI & Privacy"));
    EXPECT_TRUE(first.isNull());
}

TEST_F(AppDelegateTest, aPressOpensThePopoverAndTheNextOneClosesIt) {
    launch({QStringLiteral("--skip-onboarding")});
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
    } rows[] = {{"started by hand, no tray", {QStringLiteral("--skip-onboarding")}, Presence::Absent, true},
                {"nobody has answered yet", {QStringLiteral("--skip-onboarding")}, Presence::Unknown, false},
                {"at login the panel gets its time",
                 {QStringLiteral("--skip-onboarding"), QStringLiteral("--autostarted")},
                 Presence::Absent,
                 false},
                {"the introduction comes first", {QStringLiteral("--reset-onboarding")}, Presence::Absent, false}};
    for (const auto& row : rows) {
        tray.presence.set(row.presence);
        delegate = make();
        launch(row.arguments);
        EXPECT_EQ(window("Quillet") != nullptr, row.opens) << row.what;
    }
    tray.presence.set(Presence::Shown);
    delegate = make();
    launch({QStringLiteral("--skip-onboarding")});
    tray.presence.set(Presence::Absent);
    EXPECT_EQ(window("Quillet"), nullptr) << "a tray that was there comes back";
    delegate->showPopover();
    EXPECT_NE(window("Quillet"), nullptr) << "asked for by another start";

    delegate = make();
    launch({QStringLiteral("--reset-onboarding")});
    ASSERT_TRUE(waitFor([] { return window("Welcome to Quillet") != nullptr; }));
    EXPECT_EQ(window("Quillet"), nullptr);
    window("Welcome to Quillet")->close();
    ASSERT_TRUE(waitFor([] { return window("Quillet") != nullptr; })) << "closed before its end";

    delegate = make();
    launch({QStringLiteral("--reset-onboarding")});
    EXPECT_EQ(window("Quillet"), nullptr);
    desk.defaults.set(DefaultsKeys::hasCompletedOnboarding, true);
    desk.notifications.post(Notifications::onboardingDidComplete);
    QWidget* const opened = window("Quillet");
    ASSERT_NE(opened, nullptr);
    auto* const button = find<QAbstractButton>(*opened, QStringLiteral("Menu"));
    ASSERT_NE(button, nullptr);
    button->click();
    button->findChild<QMenu*>()->actions().back()->trigger();
    EXPECT_EQ(terminations, 0) << "the menu closes first";
    EXPECT_TRUE(waitFor([this] { return terminations == 1; }));
}

class RecordingNoticesTest : public testing::Test {
protected:
    Desk desk;
    FakeNotices* const told = new FakeNotices;
    FakeSleep* const machine = new FakeSleep;
    std::filesystem::path revealed;
    RecordingNotices watch{{.engine = desk.engine,
                            .uiModel = desk.uiModel,
                            .notifications = desk.notifications,
                            .notices = std::unique_ptr<UserNotices>(told),
                            .sleep = std::unique_ptr<SleepInhibitor>(machine),
                            .showRecording = [this](const std::filesystem::path& file) { revealed = file; },
                            .open = [] {}}};
};

TEST_F(RecordingNoticesTest, aSourceThatStaysSilentIsSaidOnceAndTakenBackWhenItIsHeard) {
    desk.control.start();
    ASSERT_TRUE(desk.becomesRecording(true));
    desk.deliver(0, 5 * 48'000, 0.1F, 0.0F);
    QTest::qWait(1200);
    EXPECT_TRUE(told->shown.empty()) << "a pause is no fault";

    desk.deliver(5 * 48'000, 6 * 48'000, 0.1F, 0.0F);
    ASSERT_TRUE(waitFor([&] { return !told->shown.empty(); }));
    QTest::qWait(1200);
    ASSERT_EQ(told->shown.size(), 1U);
    EXPECT_EQ(told->shown[0].title, QStringLiteral("The microphone is silent"));

    told->withdrawn.clear();
    desk.deliver(11 * 48'000, 48'000, 0.1F, 0.1F);
    EXPECT_TRUE(waitFor([&] { return told->withdrawn == std::vector{told->shown[0].subject.toStdString()}; }));
    desk.control.stop();
    ASSERT_TRUE(desk.becomesRecording(false));
}

TEST_F(RecordingNoticesTest, whoeverLooksElsewhereIsTold) {
    desk.control.start();
    ASSERT_TRUE(desk.becomesRecording(true));
    EXPECT_EQ(machine->holds, 1) << "the machine stays awake";

    desk.notifications.post(Notifications::recordingDidComplete,
                            {{QStringLiteral("url"), QUrl(QStringLiteral("file:///tmp/M%20%231%E9.m4a"))}});
    ASSERT_EQ(told->shown.size(), 1U);
    EXPECT_EQ(told->shown[0].body, QStringLiteral("M #1\uFFFD.m4a"));
    told->shown[0].onAction();
    EXPECT_EQ(revealed, "/tmp/M #1\xE9.m4a") << "also a name that is no text";

    desk.engine->lastError.set(QStringLiteral("Failed to setup audio writer."));
    desk.uiModel.showDiskFull();
    ASSERT_EQ(told->shown.size(), 3U);
    EXPECT_EQ(told->shown[1].subject, told->shown[2].subject) << "one message for one failure";
    EXPECT_EQ(told->shown[2].title, QStringLiteral("Not Enough Space"));

    for (const bool isMicrophone : {true, false})
        desk.notifications.post(Notifications::chosenDeviceMissing, {{QStringLiteral("isMicrophone"), isMicrophone}});
    ASSERT_EQ(told->shown.size(), 5U);
    EXPECT_EQ(told->shown[3].title, QStringLiteral("The chosen microphone is not connected"));
    EXPECT_EQ(told->shown[4].title, QStringLiteral("The chosen output is not connected"));
    told->withdrawn.clear();

    desk.control.stop();
    ASSERT_TRUE(desk.becomesRecording(false));
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
