#include "SettingsWindow.h"
#include "settings/ui/FolderDialogs.h"
#include "settings/ui/PathBox.h"
#include "settings/ui/Picker.h"
#include "support/FakeFileDialogs.h"
#include "support/Files.h"
#include "widgets/Controls.h"

#include <QFileDialog>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QTest>

#include <set>
#include <thread>

namespace quillet::test {
namespace {

using testing::ElementsAre;

class SettingsViewTest : public SettingsWindowFixture {
protected:
    SettingsViewTest() {
        makeTemplatesTab = [](QWidget* parent) {
            return new TextLabel(u"the templates"_s, TextStyle::Title, Ink::Label, parent);
        };
    }
    void click(const char* name) const {
        auto* const button = find<QAbstractButton>(*view, QString::fromUtf8(name));
        ASSERT_TRUE(button);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    bool says(const char* text) const { return shows(*view, QString::fromUtf8(text)); }
    QComboBox* picker(const char* name) const {
        const auto found = findAll<QComboBox>(*view, QString::fromUtf8(name));
        return found.size() == 1 ? found.front() : nullptr;
    }
    static void pick(QComboBox* box, int index) {
        ASSERT_TRUE(box);
        box->setCurrentIndex(index);
        Q_EMIT box->activated(index);
    }
};

TEST_F(SettingsViewTest, TheSidebarLeadsToTheSections) {
    open();
    auto* const sidebar = find<QListWidget>(*view, u"Sections"_s);
    ASSERT_TRUE(sidebar);
    EXPECT_TRUE(says("Recording Location"));
    sidebar->setFocus();
    QTest::keyClick(sidebar, Qt::Key_Down);
    EXPECT_TRUE(says("Meeting Summaries"));
    EXPECT_FALSE(says("Recording Location"));
    QTest::keyClick(sidebar, Qt::Key_Down);
    EXPECT_TRUE(says("the templates"));
    NotificationCenter::standard().post(Notifications::openSettingsRequested);
    EXPECT_TRUE(says("the templates"));
    NotificationCenter::standard().post(Notifications::openSettingsRequested, {{u"section"_s, u"General"_s}});
    EXPECT_EQ(sidebar->currentRow(), 0);
    EXPECT_TRUE(says("Recording Location"));
    QTest::mouseClick(sidebar->viewport(), Qt::LeftButton, {}, sidebar->viewport()->rect().bottomLeft());
    EXPECT_TRUE(sidebar->item(0)->isSelected()) << "a click beside the sections chooses none";
    model->openNewFolderSheet();
    NotificationCenter::standard().post(Notifications::openSettingsRequested, {{u"section"_s, u"Templates"_s}});
    EXPECT_TRUE(says("Recording Location")) << "what is being written in a sheet would be lost";
}

TEST_F(SettingsViewTest, TheRecordingsFolderIsChangedAndGivenBack) {
    open();
    const QTemporaryDir folder;
    const auto buttons = findAll<QPushButton>(*view, u"Change…"_s);
    ASSERT_EQ(buttons.size(), 2U) << "recordings and notes";
    buttons[0]->click();
    ASSERT_EQ(chooser.questions.size(), 1U);
    chooser.answer(folder.path().toStdString());
    ASSERT_TRUE(waitFor([&] { return !findAll<PathBox>(*view, folder.path()).empty(); }));
    findAll<QPushButton>(*view, u"Use default"_s)[0]->click();
    EXPECT_EQ(findAll<PathBox>(*view, folder.path()).size(), 0U);
    EXPECT_TRUE(says(files->recordingsDirectoryDisplayPath().toUtf8().constData()));
}

TEST_F(SettingsViewTest, AFolderThatTakesNoFilesIsSaid) {
    const QTemporaryDir folder;
    makeFile(folder.filePath(u"file"_s));
    ASSERT_TRUE(QFile::link(folder.filePath(u"gone"_s), folder.filePath(u"link"_s)));
    const char* const remark = "This folder takes no files. Recordings go to the default folder instead.";
    open();
    const struct {
        const char* chosen;
        bool isSaid;
    } rows[] = {{"", false}, {"made/for/it", false}, {"file", true}, {"file/below/it", true}, {"link", true}};
    for (const auto& row : rows) {
        files->setCustomRecordingsDirectory(folder.filePath(QString::fromLatin1(row.chosen)).toStdString());
        model->appeared();
        EXPECT_FALSE(says(remark)) << "nobody waits for a disk";
        ASSERT_TRUE(waitFor([&] { return model->isRecordingsFolderUnusable.value().has_value(); }));
        EXPECT_EQ(says(remark), row.isSaid) << row.chosen;
        EXPECT_EQ(!files->generateFileURL(), row.isSaid) << row.chosen;
    }
    model->appeared(); // is asked about the link
    model->useDefaultRecordingsFolder();
    ASSERT_TRUE(settle());
    EXPECT_FALSE(says(remark)) << "said of another folder";
}

TEST_F(SettingsViewTest, WhatIsSaidAboutAccessAndFolders) {
    const char* const required = "Automation permission required";
    const char* const unusable = "Quillet cannot write to the notes folder. Please choose another one.";
    const char* const failed =
        "Could not load Notes folders. Grant Automation permission for Notes and try Refresh again.";
    const char* const none = "No folders yet";
    const struct {
        const char* name;
        bool asks;
        PermissionStatus status;
        bool isEmpty;
        std::vector<const char*> said;
    } rows[] = {
        {"fresh vault", false, PermissionStatus::Granted, true, {none}},
        {"vault with folders", false, PermissionStatus::Granted, false, {}},
        {"unusable vault", false, PermissionStatus::Denied, true, {unusable, failed}},
        {"not asked", true, PermissionStatus::NotDetermined, true, {required, failed}},
        {"refused", true, PermissionStatus::Denied, true, {required, failed}},
        {"let in, no list", true, PermissionStatus::Granted, true, {failed}},
    };
    open();
    for (const auto& row : rows) {
        notes->asks = row.asks;
        permissions->automationStatus.set(row.status);
        store->notesFoldersLoadFailed.set(row.isEmpty);
        std::vector<const char*> said{required, unusable, failed, none};
        std::erase_if(said, [this](const char* each) { return !says(each); });
        EXPECT_EQ(said, row.said) << row.name;
    }
}

TEST_F(SettingsViewTest, ANotesFolderThatIsBackIsUsedAfterRefresh) {
    const char* const unusable = "Quillet cannot write to the notes folder. Please choose another one.";
    notes->answer = false;
    notes->access = NotesAccess::Denied;
    open();
    EXPECT_TRUE(says(unusable));
    notes->answer = true;
    notes->access = NotesAccess::Granted;
    notes->folders = {u"Work"_s};
    click("Refresh");
    EXPECT_FALSE(picker("Folder")) << "something happens at once";
    ASSERT_TRUE(settle());
    EXPECT_FALSE(says(unusable));
    ASSERT_TRUE(picker("Folder"));
    EXPECT_EQ(picker("Folder")->count(), 2);
}

TEST_F(SettingsViewTest, WithoutAccessTheWayToItIsShown) {
    notes->asks = true;
    notes->asksOnce = false;
    notes->answer = false;
    notes->access = NotesAccess::NotDetermined;
    open();
    EXPECT_EQ(notes->requests, 0) << "opening the settings asks nobody";
    notes->hold(FakeNotesApplication::Call::Request);
    click("Allow");
    reopen();
    EXPECT_FALSE(find<QPushButton>(*view, u"Allow"_s)->isEnabled()) << "the question is still open";
    notes->goOn.release();
    ASSERT_TRUE(waitFor([this] { return !permissions->isAskingForAutomation.value(); }));
    EXPECT_THAT(services->opened, ElementsAre(SettingsPlace::Automation));
    EXPECT_TRUE(model->accessWasRefused.value());
    ASSERT_TRUE(settle());
    notes->answer = true;
    notes->access = NotesAccess::Granted;
    notes->folders = {u"Work"_s};
    click("Allow");
    ASSERT_TRUE(waitFor([this] { return !permissions->isAskingForAutomation.value(); }));
    EXPECT_FALSE(model->accessWasRefused.value());
    EXPECT_THAT(services->opened, ElementsAre(SettingsPlace::Automation)) << "once";
    EXPECT_FALSE(picker("Folder")) << "the folders are being loaded";
    ASSERT_TRUE(settle());
    ASSERT_TRUE(picker("Folder"));
    EXPECT_EQ(picker("Folder")->count(), 2);
}

TEST_F(SettingsViewTest, ThePickedFolderIsStored) {
    notes->folders = {u"Home"_s, u"Work & <b>more</b>"_s};
    defaults.set(DefaultsKeys::notesFolderName, u"Elsewhere"_s);
    open();
    QComboBox* const box = picker("Folder");
    ASSERT_TRUE(box);
    QStringList texts;
    for (int item = 0; item < box->count(); ++item) texts += box->itemText(item);
    EXPECT_EQ(texts.join(QLatin1Char('|')).toStdString(), "Default|Elsewhere|Home|Work & <b>more</b>");
    EXPECT_EQ(box->currentText(), u"Elsewhere"_s);
    pick(box, 3);
    EXPECT_EQ(defaults.string(DefaultsKeys::notesFolderName), u"Work & <b>more</b>"_s);
    EXPECT_EQ(box->count(), 3) << "what is listed is not added";
    pick(picker("Folder"), 0);
    EXPECT_EQ(defaults.string(DefaultsKeys::notesFolderName), QString());
}

TEST_F(SettingsViewTest, APickerIsCalledByItsLabelAndTellsItsChoiceAsTheValue) {
    defaults.set(DefaultsKeys::microphoneDevice, u"in"_s);
    open();
    QComboBox* const box = picker("Microphone");
    ASSERT_TRUE(box) << "not called by its label";
    QAccessibleInterface* const read = QAccessible::queryAccessibleInterface(box);
    EXPECT_EQ(read->role(), QAccessible::ComboBox);
    EXPECT_EQ(read->text(QAccessible::Value), box->itemText(1));
    EXPECT_EQ(read->relations(QAccessible::Label).size(), 1) << "the label in the window";
    ASSERT_EQ(read->childCount(), 1);
    QAccessibleInterface* const choices = read->child(0);
    ASSERT_EQ(choices->childCount(), 2);
    EXPECT_EQ(read->indexOfChild(choices), 0);
    for (const int item : {0, 1}) {
        EXPECT_EQ(choices->child(item)->text(QAccessible::Name), box->itemText(item));
        EXPECT_EQ(choices->child(item)->state().selected, item == 1);
    }
    read->actionInterface()->doAction(QAccessibleActionInterface::showMenuAction());
    EXPECT_TRUE(waitFor([&] { return box->view()->isVisible() && read->state().expanded; }));
    QTest::keyClick(box->view(), Qt::Key_Up);
    sound->devices.set(sound->devices.value()); // as after a look at the server that found nothing new
    EXPECT_EQ(box->view()->currentIndex().row(), 0) << "the open menu loses what is marked";
    read->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(waitFor([&] { return !box->view()->isVisible() && !read->state().expanded; }));
}

TEST_F(SettingsViewTest, ANewFolderIsNamedInASheetAndNeverBlank) {
    open();
    const auto field = [this] { return find<QLineEdit>(*sheet(), u"Folder name"_s); };
    click("Create New Folder");
    ASSERT_TRUE(sheet());
    auto* const create = find<QPushButton>(*sheet(), u"Create"_s);
    QTest::keyClicks(field(), u"  "_s);
    EXPECT_FALSE(create->isEnabled());
    QTest::keyClick(field(), Qt::Key_Return);
    model->createFolder(); // whoever else may ask for it
    ASSERT_TRUE(sheet());
    QTest::keyClicks(field(), u"Team "_s);
    EXPECT_TRUE(create->isEnabled());
    QTest::keyClick(field(), Qt::Key_Return);
    EXPECT_FALSE(sheet());
    EXPECT_TRUE(store->isLoadingFolders.value());
    ASSERT_TRUE(settle());
    EXPECT_EQ(picker("Folder")->currentText(), u"Team"_s);

    click("Create New Folder");
    ASSERT_TRUE(sheet());
    EXPECT_TRUE(field()->text().isEmpty());
    QAccessible::queryAccessibleInterface(field())->setText(QAccessible::Value, u"Said"_s);
    EXPECT_EQ(model->newFolderName.value(), u"Said"_s) << "by assistive technology";
    const QString refused = u"No folder can have this name: it is too long, contains a slash or begins with a dot."_s;
    EXPECT_FALSE(shows(*sheet(), refused));
    field()->setText(u".hidden"_s);
    EXPECT_TRUE(shows(*sheet(), refused));
    EXPECT_GE(sheet()->height(), sheet()->layout()->totalHeightForWidth(sheet()->width())) << "it is cut off";
    QTest::keyClick(field(), Qt::Key_Return);
    ASSERT_TRUE(sheet()) << "no folder can be called so";
    QTest::keyClicks(field(), u"x"_s);
    QTest::keyClick(field(), Qt::Key_Escape);
    EXPECT_FALSE(sheet());
    EXPECT_TRUE(model->newFolderName.value().isEmpty());
    EXPECT_EQ(defaults.string(DefaultsKeys::notesFolderName), u"Team"_s);
}

TEST_F(SettingsViewTest, AWindowMayCloseUnderItsSheet) {
    open();
    click("Create New Folder");
    ASSERT_TRUE(sheet());
    view.reset();
    processEvents();
    EXPECT_FALSE(model->showNewFolderSheet.value());
    reopen();
    ASSERT_TRUE(settle());
    click("Create New Folder");
    EXPECT_TRUE(sheet());
}

TEST_F(SettingsViewTest, SwitchesAndPickersWriteWhatTheyShow) {
    launches = true;
    open();
    auto* const launch = find<QCheckBox>(*view, u"Launch at login"_s);
    EXPECT_TRUE(launch && launch->isChecked());
    click("Launch at login");
    EXPECT_THAT(launchChanges, ElementsAre(false));
    EXPECT_FALSE(launch->isChecked() || model->launchAtLogin.value()) << "also where the system does not obey";
    pick(picker("Microphone"), 1);
    EXPECT_EQ(defaults.string(DefaultsKeys::microphoneDevice), u"in"_s);
    pick(picker("Keep notes in"), 1);
    EXPECT_EQ(defaults.string(DefaultsKeys::notesApplication), u"joplin"_s);
    EXPECT_EQ(findAll<QPushButton>(*view, u"Change…"_s).size(), 1U) << "Joplin has no folder to change";

    click("Quit Quillet");
    EXPECT_EQ(quits, 1);
}

TEST_F(SettingsViewTest, AChoiceThatCannotBeStoredIsTakenBackAndSaid) {
    const char* const remark = "The choice could not be stored. The previous one stays.";
    notes->folders = {u"Home"_s};
    kept = &unwritable;
    for (const char* const name : {"Microphone", "Computer sound", "Folder"}) {
        SCOPED_TRACE(name);
        open();
        EXPECT_FALSE(says(remark));
        pick(picker(name), 1);
        EXPECT_EQ(picker(name)->currentIndex(), 0);
        EXPECT_TRUE(says(remark));
    }
    files = std::make_unique<RecordingFileManager>(FileServices::standard(), unwritable);
    open();
    const QString before = store->recordingPath.value();
    store->chooseRecordingsFolder();
    chooser.answer("/srv/meetings");
    ASSERT_TRUE(waitFor([&] { return says(remark); }));
    EXPECT_EQ(store->recordingPath.value(), before);
}

TEST_F(SettingsViewTest, TheSummariesSayWhereTheTextGoes) {
    const char* const fallback =
        "Summaries will automatically use Gemini EU as fallback until on-device AI becomes available.";
    const char* const cloud =
        "Using Gemini EU — your transcript text is sent to Google's EU servers. Data stays in the EU.";
    open();
    model->selectedSection.set(SettingsSection::AI);
    EXPECT_TRUE(says(fallback));
    EXPECT_FALSE(says(cloud));
    click("On-device AI (Apple Intelligence)");
    EXPECT_FALSE(defaults.boolean(u"useLocalSummarisation"_s, true));
    EXPECT_TRUE(says(cloud));
    EXPECT_FALSE(says(fallback));
    systemModel.offers = true;
    summarisation->checkLocalAvailability();
    EXPECT_TRUE(says(cloud)) << "what is available is not what is used";
    click("On-device AI (Apple Intelligence)");
    EXPECT_TRUE(says("Apple Intelligence is available"));
    EXPECT_FALSE(says(fallback));
}

TEST_F(SettingsViewTest, EveryControlIsReachedByTabAndHasAName) {
    open();
    std::set<QWidget*> reached;
    view->activateWindow();
    find<QListWidget>(*view, u"Sections"_s)->setFocus();
    for (int press = 0; press < 40; ++press) {
        QTest::keyClick(view->focusWidget(), Qt::Key_Tab);
        ASSERT_TRUE(view->focusWidget());
        QWidget* const focused = view->focusWidget();
        EXPECT_FALSE(accessibleName(*focused).isEmpty()) << focused->metaObject()->className();
        reached.insert(view->focusWidget());
    }
    for (QWidget* const control : view->findChildren<QWidget*>()) {
        const bool isControl = qobject_cast<QAbstractButton*>(control) || qobject_cast<QComboBox*>(control);
        if (isControl && control->isVisible() && control->isEnabled()) {
            EXPECT_TRUE(reached.contains(control)) << accessibleName(*control).toStdString();
        }
    }
}

QFileDialog* openFileDialog() {
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        auto* const dialog = qobject_cast<QFileDialog*>(window);
        if (dialog && dialog->isVisible()) return dialog;
    }
    return nullptr;
}

TEST(FolderDialogsTest, TheChosenFolderOrNothingIsAnswered) {
    using Outcome = FileAnswer::Outcome;
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QTemporaryDir folder;
    const std::filesystem::path start = folder.path().toStdString();
    FakeFileDialogs desktop;
    const struct {
        const char* name;
        FileDialogs* dialogs;
        Outcome outcome;
        std::optional<QDialog::DialogCode> toolkit; ///< how the toolkit's own dialog ends, where it is to open
        std::optional<std::filesystem::path> answer;
    } rows[] = {
        {"the desktop's dialog", &desktop, Outcome::Chosen, {}, "/srv/meetings"},
        {"the desktop's dialog, cancelled", &desktop, Outcome::Declined, {}, {}},
        {"the desktop's dialog does not open", &desktop, Outcome::Unavailable, QDialog::Accepted, start},
        {"the toolkit's, cancelled", nullptr, {}, QDialog::Rejected, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        desktop.given = {row.outcome, "/srv/meetings"};
        std::vector<std::optional<std::filesystem::path>> answers;
        const FolderChooser choose = makeFolderChooser(row.dialogs);
        const auto press = [&] {
            choose({u"Choose"_s, u"Please"_s, start}, [&](auto answer) { answers.push_back(answer); });
        };
        press();
        if (row.toolkit) {
            ASSERT_TRUE(waitFor([] { return openFileDialog() != nullptr; }));
            press(); // impatient: the dialog that is open is raised
            processEvents();
            EXPECT_FALSE(openFileDialog()->isModal()) << "everything else goes on";
            EXPECT_EQ(openFileDialog()->directory().absolutePath(), folder.path());
            static_cast<QDialog*>(openFileDialog())->done(*row.toolkit);
        }
        ASSERT_TRUE(waitFor([&] { return !answers.empty(); }));
        EXPECT_EQ(answers, std::vector{row.answer});
        EXPECT_EQ(openFileDialog(), nullptr);
        processEvents();
    }
}

} // namespace
} // namespace quillet::test
