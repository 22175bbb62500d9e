#pragma once

#include "Desk.h"
#include "app/RecordingNotices.h"
#include "app/ui/AppDelegate.h"
#include "app/ui/MenuView.h"
#include "support/FakeExternalPrograms.h"
#include "support/Widgets.h"

#include <QApplication>

#include <gmock/gmock.h>

namespace quillet::test {

/// A tray that writes down what it is shown.
struct FakeTray {
    Published<StatusItem::Presence> presence{StatusItem::Presence::Shown};
    StatusItem::Handlers handlers;
    std::vector<StatusImage> images;
    bool isGone = false;

    struct Item final : StatusItem {
        explicit Item(FakeTray& its) : tray(its) {}
        ~Item() override { tray.isGone = true; }
        void setImage(const StatusImage& image) override { tray.images.push_back(image); }
        void refreshMenu() override {}
        Published<Presence>& presence() override { return tray.presence; }
        FakeTray& tray;
    };
};

/// The shell over a desk, with empty windows for the settings and the introduction.
class ShellFixture : public testing::Test {
protected:
    void launch(const QStringList& arguments = {QStringLiteral("--skip-onboarding")}) {
        delegate = std::make_unique<AppDelegate>(
            AppDelegate::Services{.engine = desk.engine,
                                  .control = desk.control,
                                  .defaults = *defaults,
                                  .notifications = desk.notifications,
                                  .updaterManager = std::make_unique<UpdaterManager>(web),
                                  .makeStatusItem =
                                      [this](StatusItem::Handlers handlers) {
                                          tray.handlers = std::move(handlers);
                                          return std::make_unique<FakeTray::Item>(tray);
                                      },
                                  .makeMenuView = [this] { return new MenuView(desk.makeMenuModel()); },
                                  .makeSettingsView =
                                      [this](const QString& section) {
                                          sections.push_back(section.toStdString());
                                          return new QWidget;
                                      },
                                  .makeOnboardingView = [] { return new QWidget; },
                                  .terminate = [this] { ++terminations; }});
        delegate->applicationDidFinishLaunching(arguments);
    }
    static QWidget* window(const char* title) {
        for (QWidget* const top : QApplication::topLevelWidgets()) {
            if (top->isVisible() && top->windowTitle() == QString::fromUtf8(title)) return top;
        }
        return nullptr;
    }

    Desk desk;
    UserDefaults* defaults = &desk.defaults;
    FakeTray tray;
    std::shared_ptr<FakeExternalPrograms> web = std::make_shared<FakeExternalPrograms>();
    int terminations = 0;
    std::vector<std::string> sections; ///< with which settings windows were made
    std::unique_ptr<AppDelegate> delegate;
};

/// Keeps what the user would have been shown.
struct FakeNotices final : UserNotices {
    std::vector<UserNotice> shown;
    std::vector<std::string> withdrawn;
    void show(const UserNotice& notice) override { shown.push_back(notice); }
    void withdraw(const QString& subject) override { withdrawn.push_back(subject.toStdString()); }
};

struct FakeSleep final : SleepInhibitor {
    struct Counted final : Hold {
        explicit Counted(int& number) : holds(number) { ++holds; }
        ~Counted() override { --holds; }
        int& holds;
    };
    int holds = 0;
    QString reason;
    std::unique_ptr<Hold> hold(const QString& why) override {
        reason = why;
        return std::make_unique<Counted>(holds);
    }
};

/// A recording about which the user is told.
class NoticesFixture : public testing::Test {
protected:
    void record() {
        watch = std::make_unique<RecordingNotices>(
            RecordingNotices::Services{.engine = desk.engine,
                                       .uiModel = desk.uiModel,
                                       .notifications = desk.notifications,
                                       .notices = std::unique_ptr<UserNotices>(told),
                                       .sleep = std::unique_ptr<SleepInhibitor>(machine),
                                       .showRecording = [this](const std::filesystem::path& file) { revealed = file; },
                                       .open = [] {}});
        desk.control.start();
        ASSERT_TRUE(desk.becomesRecording(true));
    }
    void stop() {
        desk.control.stop();
        ASSERT_TRUE(desk.becomesRecording(false));
    }
    void missChosenDevices() {
        for (const bool isMicrophone : {true, false})
            desk.notifications.post(Notifications::chosenDeviceMissing,
                                    {{QStringLiteral("isMicrophone"), isMicrophone}});
    }
    void complete(const char* url, bool isUnfinished = false) {
        desk.notifications.post(
            Notifications::recordingDidComplete,
            {{QStringLiteral("url"), QUrl(QString::fromUtf8(url))}, {QStringLiteral("isUnfinished"), isUnfinished}});
    }

    Desk desk;
    FakeNotices* const told = new FakeNotices;
    FakeSleep* const machine = new FakeSleep;
    std::filesystem::path revealed;
    std::unique_ptr<RecordingNotices> watch;
};

} // namespace quillet::test
