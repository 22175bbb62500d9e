#include "settings/ui/SettingsView.h"

#include "SettingsTestSupport.h"
#include "settings/ui/FolderDialogs.h"
#include "settings/ui/PathBox.h"
#include "settings/ui/Picker.h"
#include "support/FakeFileDialogs.h"
#include "support/Files.h"
#include "support/Widgets.h"
#include "widgets/Controls.h"
#include "widgets/Sheet.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QTest>

#include <gmock/gmock.h>
#include <set>
#include <thread>

namespace quillet::test {
namespace {

using testing::ElementsAre;

class SettingsViewTest : public SettingsFixture {
protected:
    ~SettingsViewTest() override { view.reset(); }
    void open() {
        makeModel();
        notesChoice = std::make_shared<NotesChoiceModel>(defaults, "/home/ada/Documents/Quillet Notes",
                                                         chooser.function(), permissions, store);
        soundServer->found = {{.kind = SoundDevice::Kind::Output,
                               .name = QStringLiteral("out"),
                               .description = QStringLiteral("Built-in Audio")},
                              {.kind = SoundDevice::Kind::Input,
                               .name = QStringLiteral("in"),
                               .description = QStringLiteral("Headset with a rather long name, USB, channel one")}};
        sound = std::make_shared<SoundChoiceModel>(soundServer, *kept);
        reopen();
        ASSERT_TRUE(settle());
        ASSERT_TRUE(waitFor([this] { return !sound->isLoading.value(); }));
    }
    void reopen() {
        view = std::make_unique<SettingsView>(SettingsParts{
            .model = model, .notesChoice = notesChoice, .soundChoice = sound, .makeTemplatesTab = [](QWidget* parent) {
                return new TextLabel(QStringLiteral("the templates"), TextStyle::Title, Ink::Label, parent);
            }});
        view->resize(720, 520);
        view->show();
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
    Sheet* sheet() const {
        for (Sheet* const candidate : view->findChildren<Sheet*>()) {
            if (candidate->isVisible()) return candidate;
        }
        return nullptr;
    }
    static void pick(QComboBox* box, int index) {
        ASSERT_TRUE(box);
        box->setCurrentIndex(index);
        Q_EMIT box->activated(index);
    }

    std::shared_ptr<NotesChoiceModel> notesChoice;
    std::shared_ptr<FakeSoundDevices> soundServer = std::make_shared<FakeSoundDevices>();
    std::shared_ptr<SoundChoiceModel> sound;
    std::unique_ptr<SettingsView> view;
};

TEST_F(SettingsViewTest, TheSidebarLeadsToTheSections) {
    open();
    auto* const sidebar = find<QListWidget>(*view, QStringLiteral("Sections"));
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
    NotificationCenter::standard().post(Notifications::openSettingsRequested,
                                        {{QStringLiteral("section"), QStringLiteral("General")}});
    EXPECT_EQ(sidebar->currentRow(), 0);
    EXPECT_TRUE(says("Recording Location"));
}

TEST_F(SettingsViewTest, TheRecordingsFolderIsChangedAndGivenBack) {
    open();
    const QTemporaryDir folder;
    const auto buttons = findAll<QPushButton>(*view, QStringLiteral("Change…"));
    ASSERT_EQ(buttons.size(), 2U) << "recordings and notes";
    buttons[0]->click();
    ASSERT_EQ(chooser.questions.size(), 1U);
    chooser.answer(folder.path().toStdString());
    ASSERT_TRUE(waitFor([&] { return !findAll<PathBox>(*view, folder.path()).empty(); }));
    findAll<QPushButton>(*view, QStringLiteral("Use default"))[0]->click();
    EXPECT_EQ(findAll<PathBox>(*view, folder.path()).size(), 0U);
    EXPECT_TRUE(says(files->recordingsDirectoryDisplayPath().toUtf8().constData()));
}

TEST_F(SettingsViewTest, AFolderThatTakesNoFilesIsSaid) {
    const QTemporaryDir folder;
    makeFile(folder.filePath(QStringLiteral("file")));
    ASSERT_TRUE(QFile::link(folder.filePath(QStringLiteral("gone")), folder.filePath(QStringLiteral("link"))));
    open();
    const struct {
        const char* chosen;
        bool isSaid;
    } rows[] = {{"", false}, {"made/for/it", false}, {"file", true}, {"file/below/it", true}, {"link", true}};
    for (const auto& row : rows) {
        files->setCustomRecordingsDirectory(folder.filePath(QString::fromLatin1(row.chosen)).toStdString());
        model->appeared();
        EXPECT_EQ(says("This folder takes no files. Recordings go to the default folder instead."), row.isSaid)
            << row.chosen;
        EXPECT_EQ(!files->generateFileURL(), row.isSaid) << row.chosen;
    }
    ASSERT_TRUE(settle());
}

TEST_F(SettingsViewTest, AFreshVaultHasNoFoldersYetAndAsksForNothing) {
    open();
    EXPECT_TRUE(says("No folders yet"));
    EXPECT_FALSE(says("Automation permission required"));
    EXPECT_FALSE(says("Could not load Notes folders. Grant Automation permission for Notes and try Refresh again."));
}

TEST_F(SettingsViewTest, ANotesFolderThatIsBackIsUsedAfterRefresh) {
    const char* const unusable = "Quillet cannot write to the notes folder. Please choose another one.";
    notes->answer = false;
    notes->access = NotesAccess::Denied;
    open();
    EXPECT_TRUE(says(unusable));
    notes->answer = true;
    notes->access = NotesAccess::Granted;
    notes->folders = {QStringLiteral("Work")};
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
    EXPECT_TRUE(says("Automation permission required"));
    EXPECT_TRUE(says("Could not load Notes folders. Grant Automation permission for Notes and try Refresh again."));
    EXPECT_EQ(notes->requests, 0) << "opening the settings asks nobody";
    const auto isAnswered = std::make_shared<std::atomic<bool>>(false);
    notes->duringCall = [this, isAnswered] {
        while (notes->requests > 0 && !*isAnswered) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    click("Allow");
    reopen();
    EXPECT_FALSE(find<QPushButton>(*view, QStringLiteral("Allow"))->isEnabled()) << "the question is still open";
    *isAnswered = true;
    ASSERT_TRUE(waitFor([this] { return !permissions->isAskingForAutomation.value(); }));
    EXPECT_THAT(services->opened, ElementsAre(SettingsPlace::Automation));
    notes->answer = true;
    notes->access = NotesAccess::Granted;
    notes->folders = {QStringLiteral("Work")};
    click("Allow");
    ASSERT_TRUE(waitFor([this] { return !permissions->isAskingForAutomation.value(); }));
    EXPECT_FALSE(says("Automation permission required"));
    EXPECT_FALSE(picker("Folder")) << "the folders are being loaded";
    ASSERT_TRUE(settle());
    ASSERT_TRUE(picker("Folder"));
    EXPECT_EQ(picker("Folder")->count(), 2);
}

TEST_F(SettingsViewTest, ThePickedFolderIsStored) {
    notes->folders = {QStringLiteral("Home"), QStringLiteral("Work & <b>more</b>")};
    defaults.set(DefaultsKeys::notesFolderName, QStringLiteral("Elsewhere"));
    open();
    QComboBox* const box = picker("Folder");
    ASSERT_TRUE(box);
    QStringList texts;
    for (int item = 0; item < box->count(); ++item) texts += box->itemText(item);
    EXPECT_EQ(texts.join(QLatin1Char('|')).toStdString(), "Default|Elsewhere|Home|Work & <b>more</b>");
    EXPECT_EQ(box->currentText(), QStringLiteral("Elsewhere"));
    pick(box, 3);
    EXPECT_EQ(defaults.string(DefaultsKeys::notesFolderName), QStringLiteral("Work & <b>more</b>"));
    pick(picker("Folder"), 0);
    EXPECT_EQ(defaults.string(DefaultsKeys::notesFolderName), QString());
}

TEST_F(SettingsViewTest, APickerIsCalledByItsLabelAndTellsItsChoiceAsTheValue) {
    defaults.set(DefaultsKeys::microphoneDevice, QStringLiteral("in"));
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
    read->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(waitFor([&] { return !box->view()->isVisible() && !read->state().expanded; }));
}

TEST_F(SettingsViewTest, ANewFolderIsNamedInASheet) {
    open();
    click("Create New Folder");
    Sheet* const first = sheet();
    ASSERT_TRUE(first);
    auto* const create = find<QPushButton>(*first, QStringLiteral("Create"));
    auto* const field = find<QLineEdit>(*first, QStringLiteral("Folder name"));
    ASSERT_TRUE(create && field);
    QTest::keyClicks(field, QStringLiteral("  "));
    EXPECT_FALSE(create->isEnabled());
    QTest::keyClicks(field, QStringLiteral("Team "));
    EXPECT_TRUE(create->isEnabled());
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_FALSE(sheet());
    EXPECT_EQ(defaults.string(DefaultsKeys::notesFolderName), QStringLiteral("Team"));
    ASSERT_TRUE(settle());
    EXPECT_EQ(picker("Folder")->currentText(), QStringLiteral("Team"));

    click("Create New Folder");
    Sheet* const second = sheet();
    ASSERT_TRUE(second);
    auto* const again = find<QLineEdit>(*second, QStringLiteral("Folder name"));
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->text().isEmpty());
    QTest::keyClicks(again, QStringLiteral("x"));
    QTest::keyClick(again, Qt::Key_Escape);
    EXPECT_FALSE(sheet());
    EXPECT_TRUE(model->newFolderName.value().isEmpty());
    EXPECT_EQ(defaults.string(DefaultsKeys::notesFolderName), QStringLiteral("Team"));
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
    auto* const launch = find<QCheckBox>(*view, QStringLiteral("Launch at login"));
    ASSERT_TRUE(launch);
    EXPECT_TRUE(launch->isChecked());
    click("Launch at login");
    EXPECT_THAT(launchChanges, ElementsAre(false));
    EXPECT_FALSE(launch->isChecked());

    ASSERT_TRUE(picker("Microphone"));
    EXPECT_EQ(picker("Microphone")->count(), 2);
    pick(picker("Microphone"), 1);
    EXPECT_EQ(defaults.string(DefaultsKeys::microphoneDevice), QStringLiteral("in"));
    pick(picker("Keep notes in"), 1);
    EXPECT_EQ(defaults.string(DefaultsKeys::notesApplication), QStringLiteral("joplin"));
    EXPECT_EQ(findAll<QPushButton>(*view, QStringLiteral("Change…")).size(), 1U) << "Joplin has no folder to change";

    click("Quit Quillet");
    EXPECT_EQ(quits, 1);
}

TEST_F(SettingsViewTest, AChoiceThatCannotBeStoredIsTakenBackAndSaid) {
    const char* const remark = "The choice could not be stored. The previous one stays.";
    notes->folders = {QStringLiteral("Home")};
    kept = &unwritable;
    for (const char* const name : {"Microphone", "Computer sound", "Folder"}) {
        SCOPED_TRACE(name);
        open();
        EXPECT_FALSE(says(remark));
        pick(picker(name), 1);
        EXPECT_EQ(picker(name)->currentIndex(), 0);
        EXPECT_TRUE(says(remark));
    }
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
    EXPECT_FALSE(defaults.boolean(QStringLiteral("useLocalSummarisation"), true));
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
    find<QListWidget>(*view, QStringLiteral("Sections"))->setFocus();
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
        {"the toolkit's", nullptr, {}, QDialog::Accepted, start},
        {"the toolkit's, cancelled", nullptr, {}, QDialog::Rejected, {}},
    };
    for (const auto& row : rows) {
        desktop.given = {row.outcome, "/srv/meetings"};
        std::vector<std::optional<std::filesystem::path>> answers;
        const FolderChooser choose = makeFolderChooser(row.dialogs);
        const auto press = [&] {
            choose({QStringLiteral("Choose"), QStringLiteral("Please"), start},
                   [&](auto answer) { answers.push_back(answer); });
        };
        press();
        if (row.toolkit) {
            ASSERT_TRUE(waitFor([] { return openFileDialog() != nullptr; })) << row.name;
            press(); // impatient: the dialog that is open is raised
            processEvents();
            EXPECT_FALSE(openFileDialog()->isModal()) << row.name << ": everything else goes on";
            EXPECT_EQ(openFileDialog()->directory().absolutePath(), folder.path()) << row.name;
            static_cast<QDialog*>(openFileDialog())->done(*row.toolkit);
        }
        ASSERT_TRUE(waitFor([&] { return !answers.empty(); })) << row.name;
        EXPECT_EQ(answers, std::vector{row.answer}) << row.name;
        EXPECT_EQ(openFileDialog(), nullptr) << row.name;
        processEvents();
    }
}

} // namespace
} // namespace quillet::test
