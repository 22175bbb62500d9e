#include "app/ui/MenuView.h"

#include "Desk.h"
#include "app/ui/MenuParts.h"
#include "support/Widgets.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QtTest/QTest>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

class MenuViewTest : public testing::Test {
protected:
    void open() { open(desk.defaults); }
    void open(UserDefaults& defaults) {
        view = std::make_unique<MenuView>(desk.makeMenuModel(defaults));
        view->resize(view->sizeHint());
        view->show();
        processEvents();
    }
    void appearAgain() {
        view->hide();
        view->show();
    }
    void click(const char* name) {
        if (auto* const button = find<QAbstractButton>(*view, QString::fromUtf8(name)))
            QTest::mouseClick(button, Qt::LeftButton);
        processEvents();
    }
    [[nodiscard]] bool has(const char* name) const { return shows(*view, QString::fromUtf8(name)); }

    Desk desk;
    std::unique_ptr<MenuView> view;
};

TEST_F(MenuViewTest, asksOnlyForWhatIsMissingAndGivesWayWhenAllIsThere) {
    desk.permissionServices->microphone = AuthorizationStatus::NotDetermined;
    open();
    EXPECT_TRUE(has("This app runs in macOS's App Sandbox. To record meetings, allow access for:"));
    EXPECT_FALSE(has("Screen Capture"));
    EXPECT_TRUE(has("Microphone"));
    EXPECT_FALSE(has("Record"));

    click("Allow");
    ASSERT_TRUE(desk.permissionServices->microphoneCompletion);
    std::exchange(desk.permissionServices->microphoneCompletion, nullptr)(false); // whoever waits is let go
    ASSERT_TRUE(waitFor([&] { return !desk.permissionServices->opened.empty(); }));
    EXPECT_EQ(desk.permissionServices->opened, std::vector{SettingsPlace::Microphone});

    desk.permissionServices->microphone = AuthorizationStatus::Authorized; // granted outside meanwhile
    desk.permissionServices->screenCapture = false;
    appearAgain();
    EXPECT_FALSE(has("Microphone"));
    click("Allow");
    EXPECT_EQ(desk.permissionServices->screenCaptureRequests, 1);
    EXPECT_EQ(desk.permissionServices->opened.back(), SettingsPlace::ScreenCapture);
    desk.permissionServices->screenCapture = true;
    appearAgain();
    EXPECT_TRUE(has("Record"));
}

TEST_F(MenuViewTest, comingBackToTheOpenWindowIsAnAppearanceAndOpeningItIsOne) {
    desk.permissionServices->microphone = AuthorizationStatus::NotDetermined;
    open();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    const int looks = desk.permissionServices->looks;
    QWidget settings;
    settings.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&settings));
    desk.permissionServices->microphone = AuthorizationStatus::Authorized; // allowed there
    desk.defaults.set(DefaultsKeys::autoCreateNote, true);
    view->activateWindow();
    ASSERT_TRUE(waitFor([this] { return has("Record"); }));
    EXPECT_TRUE(find<QAbstractButton>(*view, u"Auto-create Note"_s)->isChecked());
    EXPECT_EQ(desk.permissionServices->looks, looks + 1);
    settings.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&settings));
    appearAgain();
    view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    EXPECT_EQ(desk.permissionServices->looks, looks + 2) << "asking the notes application takes its time";
}

TEST_F(MenuViewTest, oneButtonRecordsAndStops) {
    open();
    QAbstractButton* const button = find<QAbstractButton>(*view, u"Record"_s);
    ASSERT_NE(button, nullptr);
    QTest::mouseClick(button, Qt::LeftButton);
    QTest::mouseClick(button, Qt::LeftButton);
    ASSERT_TRUE(desk.becomesRecording(true));
    QTest::mouseDClick(button, Qt::LeftButton); // the second press of a double click, which recording may well outrun
    QTest::mouseRelease(button, Qt::LeftButton);
    ASSERT_FALSE(waitFor([&] { return !desk.engine->isRecording.value(); }, 300)) << "an impatient hand is no stop";
    EXPECT_TRUE(has("Stop"));
    EXPECT_TRUE(has("0:00"));
    EXPECT_TRUE(has("Other side"));
    EXPECT_FALSE(has("Latest")) << "the file is still being written";

    click("Stop");
    ASSERT_TRUE(desk.becomesRecording(false));
    EXPECT_TRUE(has("Record"));
    EXPECT_FALSE(has("Other side"));
    EXPECT_TRUE(has("Meeting.m4a"));
    click("Show Last Recording in Finder");
    ASSERT_TRUE(desk.files.ensureRecordingsDirectoryExists());
    click("Open Recordings Folder");
    ASSERT_GE(desk.fileServices.journal.size(), 2U);
    EXPECT_EQ(desk.fileServices.journal.front(), "reveal Meeting.m4a");
    EXPECT_EQ(desk.fileServices.journal.back().substr(0, 5), "open ");
}

TEST_F(MenuViewTest, noTimerRunsUnlessSomethingMovesBeforeTheUsersEyes) {
    open();
    const auto meters = [&] { return view->findChildren<ElapsedTimeView*>().front()->isVisible(); };
    EXPECT_FALSE(meters());
    desk.control.start();
    ASSERT_TRUE(desk.becomesRecording(true));
    EXPECT_TRUE(meters());
    view->hide();
    EXPECT_FALSE(meters());
    desk.control.stop();
    ASSERT_TRUE(desk.becomesRecording(false));
}

TEST_F(MenuViewTest, theSwitchIsTheSetting) {
    open();
    QAbstractButton* const note = find<QAbstractButton>(*view, u"Auto-create Note"_s);
    ASSERT_NE(note, nullptr);
    EXPECT_FALSE(note->isChecked());
    QTest::keyClick(note, Qt::Key_Space);
    EXPECT_TRUE(desk.defaults.boolean(DefaultsKeys::autoCreateNote));
    desk.defaults.set(DefaultsKeys::autoCreateNote, false); // as the command line would
    appearAgain();
    EXPECT_FALSE(note->isChecked());

    FileUserDefaults fileInTheWay(desk.folder.filePath(u"Meeting.m4a/settings.conf"_s));
    open(fileInTheWay);
    click("Auto-create Note");
    EXPECT_FALSE(find<QAbstractButton>(*view, u"Auto-create Note"_s)->isChecked()) << "it could not be stored";
}

TEST_F(MenuViewTest, aFailureIsReadInTheWindowAndRaisesItsAlertEachTime) {
    open();
    desk.uiModel.showDiskFull();
    EXPECT_TRUE(has("Not Enough Space"));
    EXPECT_TRUE(view->isPresentingAlert());
    QTest::keyClick(view->findChild<AlertCard*>(), Qt::Key_Escape);
    EXPECT_FALSE(view->isPresentingAlert());
    EXPECT_FALSE(desk.uiModel.activeAlert.value().has_value());

    desk.uiModel.showDiskFull();
    desk.uiModel.showAppleScriptFailure();
    EXPECT_FALSE(has("Not Enough Space"));
    EXPECT_TRUE(has("Could Not Create Note"));
    click("OK");
    EXPECT_FALSE(view->isPresentingAlert());

    desk.engine->lastError.set(u"Stream start failed: connection refused"_s);
    EXPECT_TRUE(has("Stream start failed: connection refused"));
    const QString device = QString(5, u'M') + QString(95, u'n');
    desk.engine->lastError.set(QStringLiteral("Stream start failed: ") + device);
    letLayoutsSettle();
    const auto labels = view->findChildren<QLabel*>();
    const auto error = std::find_if(labels.begin(), labels.end(), [&](const QLabel* each) {
        return each->text().remove(QChar(0x200B)).contains(device);
    });
    ASSERT_NE(error, labels.end());
    const QRect text = (*error)->fontMetrics().boundingRect((*error)->rect(), Qt::TextWordWrap, (*error)->text());
    EXPECT_TRUE((*error)->rect().contains(text)) << "the whole name is to be read";
    EXPECT_LE((*error)->mapTo(view.get(), text.bottomRight()).x(), view->width() - 12) << "with its margin";
}

TEST_F(MenuViewTest, aRefusalOfAutomationOffersTheSettings) {
    desk.uiModel.showNotesAutomationDenied(); // before the popover was ever opened
    open();
    EXPECT_EQ(findAll<QAbstractButton>(*view, u"OK"_s).size(), 1U);
    EXPECT_EQ(view->findChild<AlertCard*>()->findChild<QScrollArea*>()->verticalScrollBar()->maximum(), 0);
    QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : view->findChild<AlertCard*>(),
                    Qt::Key_Return);
    processEvents();
    EXPECT_EQ(desk.permissionServices->opened, std::vector{SettingsPlace::Automation});
    EXPECT_FALSE(view->isPresentingAlert());
}

TEST_F(MenuViewTest, followsTheDesktopIntoTheDark) {
    const UsualLook afterwards;
    open();
    Theme::shared().setColorScheme(ColorScheme::Dark);
    EXPECT_TRUE(waitFor([this] { return view->grab().toImage().pixelColor(1, 1).lightness() < 90; }));
}

} // namespace
} // namespace quillet::test
