#include "WindowChecks.h"
#include "app/Desk.h"
#include "app/FakeNotices.h"
#include "app/RecordingNotices.h"
#include "app/ui/AppDelegate.h"
#include "app/ui/MenuView.h"
#include "onboarding/OnboardingTestSupport.h"
#include "onboarding/ui/OnboardingView.h"
#include "onboarding/ui/PageFlow.h"
#include "settings/SettingsTestSupport.h"
#include "settings/ui/FolderDialogs.h"
#include "settings/ui/SettingsView.h"
#include "support/Translations.h"
#include "templates/ui/TemplatesTabView.h"
#include "widgets/Sheet.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QFileDialog>

namespace quillet::test {
namespace {

/// Looks at a window in each of its states.
using Look = std::function<void(QWidget& window, const char* state)>;

/// Runs through a window's states marked, then as they are read at both text sizes; afterwards all is as before.
class Languages {
public:
    Languages() = default;
    ~Languages() {
        Theme::shared().setTextScale(1);
        removeAll();
    }
    static void expectTranslatable(const QStringList& data, const std::function<void(const Look&)>& showAll) {
        const MarkingTranslator marking;
        showAll([&](QWidget& window, const char* state) {
            SCOPED_TRACE(state);
            expectAllMarked(window, data);
        });
        const Catalogue german = Catalogue::of("de");
        EXPECT_GT(marking.asked().size(), 5U);
        for (const Catalogue::Key& key : marking.asked())
            EXPECT_TRUE(german.entries.contains(key))
                << key.context.toStdString() << " asks for what is in no catalogue: " << key.source.toStdString();
    }
    /// Whether a window may scroll at the usual text size.
    enum class Page { Fits, MayScroll };
    /// In German, and in the words of this platform.
    static void expectRoom(Page page, const std::function<void(const Look&)>& showAll,
                           const std::vector<const char*>& languages = {"de", "en"}) {
        for (const char* const language : languages) {
            SCOPED_TRACE(language);
            removeAll();
            installTranslations(*QCoreApplication::instance(), {QLatin1String(language)});
            expectRoomAtEachSize(page, showAll, language);
        }
    }

private:
    static void removeAll() {
        for (QTranslator* const translator : QCoreApplication::instance()->findChildren<QTranslator*>())
            delete translator;
    }
    static void expectRoomAtEachSize(Page page, const std::function<void(const Look&)>& showAll, const char* language) {
        for (const int scale : {1, 2}) {
            Theme::shared().setTextScale(scale);
            showAll([&](QWidget& window, const char* state) {
                SCOPED_TRACE(testing::Message() << state << " at " << scale);
                letLayoutsSettle();
                expectNothingCut(window);
                if (scale == 1 && page == Page::Fits) expectNoScrolling(window);
                keepPicture(window,
                            QStringLiteral("%1-%2-%3").arg(QLatin1String(language), QLatin1String(state)).arg(scale));
            });
        }
    }
};

class TranslatedMenu : public testing::Test {
protected:
    void showAll(const Look& look) {
        Desk desk;
        desk.permissionServices->screenCapture = false;
        desk.permissionServices->microphone = AuthorizationStatus::NotDetermined;
        desk.permissions->refreshStatus();
        MenuView view(desk.makeMenuModel());
        view.resize(view.sizeHint());
        view.show();
        look(view, "menu-permissions");
        desk.permissionServices->screenCapture = true;
        desk.permissionServices->microphone = AuthorizationStatus::Authorized;
        desk.permissions->refreshStatus();
        desk.control.start();
        ASSERT_TRUE(desk.becomesRecording(true));
        look(view, "menu-recording");
        desk.control.stop();
        ASSERT_TRUE(desk.becomesRecording(false));
        desk.engine->lastError.set(QStringLiteral("Microphone input failed: the sound server does not answer"));
        look(view, "menu-error");
        void (RecorderUIModel::*const alerts[])() = {
            &RecorderUIModel::showDiskFull, &RecorderUIModel::showPermissionDenied,
            &RecorderUIModel::showNotesAutomationDenied, &RecorderUIModel::showAppleScriptFailure};
        const char* const states[] = {"alert-space", "alert-permission", "alert-automation", "alert-note"};
        for (std::size_t i = 0; i < std::size(alerts); ++i) {
            (desk.uiModel.*alerts[i])();
            processEvents();
            look(view, states[i]);
        }
    }
    Languages languages;
};

TEST_F(TranslatedMenu, isTranslatable) {
    Languages::expectTranslatable({QStringLiteral("Meeting.m4a")}, [this](const Look& look) { showAll(look); });
}
TEST_F(TranslatedMenu, hasRoomForItsTexts) {
    Languages::expectRoom(Languages::Page::Fits, [this](const Look& look) { showAll(look); });
}

bool isMarked(const QString& text) { return text.startsWith(u'«') && text.endsWith(u'»'); }

/// Remembers what the icon is called.
class NamedStatusItem final : public StatusItem {
public:
    explicit NamedStatusItem(QStringList& names) : m_names(names) {}
    void setImage(const StatusImage& image) override { m_names << image.description; }
    void refreshMenu() override {}
    Published<Presence>& presence() override { return m_presence; }

private:
    QStringList& m_names;
    Published<Presence> m_presence{Presence::Shown};
};

TEST(TranslatedShell, itsIconItsMenuAndItsWindowsTitlesAreTranslatable) {
    const MarkingTranslator marking;
    Desk desk;
    QStringList iconNames;
    AppDelegate shell(
        {.engine = desk.engine,
         .control = desk.control,
         .defaults = desk.defaults,
         .notifications = desk.notifications,
         .updaterManager = std::make_unique<UpdaterManager>(std::make_shared<FakeExternalPrograms>()),
         .makeStatusItem = [&](StatusItem::Handlers) { return std::make_unique<NamedStatusItem>(iconNames); },
         .makeMenuView = [&desk] { return new MenuView(desk.makeMenuModel()); },
         .makeSettingsView = [](const QString&) { return new QWidget; },
         .makeOnboardingView = [] { return new QWidget; },
         .terminate = [] {}});
    desk.defaults.set(DefaultsKeys::hasCompletedOnboarding, true);
    shell.applicationDidFinishLaunching({});
    for (const bool recording : {false, true}) {
        desk.engine->isRecording.set(recording);
        for (const MenuEntry& entry : shell.makeContextMenu())
            EXPECT_TRUE(entry.isSeparator() || isMarked(entry.title)) << entry.title.toStdString();
        EXPECT_TRUE(isMarked(iconNames.constLast())) << iconNames.constLast().toStdString();
    }
    desk.engine->isRecording.set(false);
    EXPECT_GE(QSet<QString>(iconNames.begin(), iconNames.end()).size(), 2);
    shell.menuOpenSettings();
    const QWidgetList windows = QApplication::topLevelWidgets();
    EXPECT_TRUE(std::any_of(windows.begin(), windows.end(), [](const QWidget* each) {
        return each->windowTitle() == QStringLiteral("«Quillet Settings»");
    }));
}

TEST(TranslatedNotices, allAreTranslatable) {
    const MarkingTranslator marking;
    Desk desk;
    auto notices = std::make_unique<FakeNotices>();
    auto sleep = std::make_unique<FakeSleep>();
    const FakeNotices& told = *notices;
    const FakeSleep& machine = *sleep;
    const RecordingNotices watch({.engine = desk.engine,
                                  .uiModel = desk.uiModel,
                                  .notifications = desk.notifications,
                                  .notices = std::move(notices),
                                  .sleep = std::move(sleep),
                                  .showRecording = [](const std::filesystem::path&) {},
                                  .open = [] {}});
    desk.control.start();
    ASSERT_TRUE(desk.becomesRecording(true));
    desk.deliver(0, 11 * 48'000, 0, 0);
    ASSERT_TRUE(waitFor([&] { return told.shown.size() == 2; })) << "both sources are silent";
    for (const bool isMicrophone : {true, false})
        desk.notifications.post(Notifications::chosenDeviceMissing, {{QStringLiteral("isMicrophone"), isMicrophone}});
    desk.control.stop();
    ASSERT_TRUE(desk.becomesRecording(false));
    desk.engine->lastError.set(QStringLiteral("Failed to setup audio writer."));
    desk.uiModel.showDiskFull();
    ASSERT_EQ(told.shown.size(), 6U);
    for (const UserNotice& notice : told.shown) {
        EXPECT_TRUE(isMarked(notice.title)) << notice.title.toStdString();
        EXPECT_TRUE(isMarked(notice.body)) << notice.body.toStdString();
        EXPECT_TRUE(notice.actionTitle.isEmpty() || isMarked(notice.actionTitle)) << notice.actionTitle.toStdString();
    }
    desk.notifications.post(Notifications::recordingDidComplete,
                            {{QStringLiteral("url"), QUrl(QStringLiteral("file:///tmp/Meeting.m4a"))}});
    EXPECT_TRUE(isMarked(told.shown.back().title));
    EXPECT_EQ(told.shown.back().body, QStringLiteral("Meeting.m4a"));
    EXPECT_TRUE(isMarked(told.shown.back().actionTitle));
    ASSERT_FALSE(machine.reasons.isEmpty());
    EXPECT_TRUE(isMarked(machine.reasons.constFirst())) << "desktops show what keeps them awake";
}

class TranslatedSettings : public SettingsFixture {
protected:
    static const QStringList& data() {
        static const QStringList all = [] {
            QStringList names{QStringLiteral("Joplin"), QStringLiteral("Work"), QStringLiteral("Built-in Audio"),
                              QStringLiteral("Weekly")};
            for (const auto& each : MeetingTemplate::builtInTemplates()) names << each.name;
            return names;
        }();
        return all;
    }
    void open() {
        view.reset();
        makeModel();
        choice =
            std::make_shared<NotesChoiceModel>(defaults, "/home/ada/Notes", chooser.function(), permissions, store);
        server->found = {{.kind = SoundDevice::Kind::Output,
                          .name = QStringLiteral("out"),
                          .description = QStringLiteral("Built-in Audio")}};
        sound = std::make_shared<SoundChoiceModel>(server, defaults);
        templates = std::make_shared<TemplatesTabModel>(std::make_shared<TemplateManager>(defaults),
                                                        [](const QString&, const auto&) {});
        view = std::make_unique<SettingsView>(SettingsParts{
            .model = model, .notesChoice = choice, .soundChoice = sound, .makeTemplatesTab = [this](QWidget* parent) {
                return new TemplatesTabView(templates, parent);
            }});
        view->resize(size);
        view->show();
        ASSERT_TRUE(settle());
        ASSERT_TRUE(waitFor([this] { return !sound->isLoading.value(); }));
    }
    QWidget& sheet() {
        for (Sheet* const each : view->findChildren<Sheet*>()) {
            if (each->isVisible()) return *each;
        }
        ADD_FAILURE() << "no sheet is open";
        return *view;
    }
    void showGeneral(const Look& look) {
        notes->asks = false;
        defaults.set(DefaultsKeys::notesApplication, QStringLiteral("markdown"));
        defaults.set(DefaultsKeys::microphoneDevice, QStringLiteral("Work"));
        files->setCustomRecordingsDirectory("/srv/a-rather-long-path-without-spaces/that-goes-on/and-on/recordings");
        open();
        look(*view, "settings-general");
        model->openNewFolderSheet();
        processEvents();
        look(sheet(), "settings-new-folder");
        model->cancelNewFolder();
        choice->setApplication(NotesChoiceModel::Application::Joplin);
        notes->asks = true;
        permissions->automationStatus.set(PermissionStatus::Denied);
        model->accessWasRefused.set(true);
        permissions->isAskingForAutomation.set(true);
        store->notesFoldersLoadFailed.set(true);
        look(*view, "settings-refused");
        EXPECT_TRUE(settle());
    }
    void showSummaries(const Look& look) {
        for (const QString& key : defaults.keys()) defaults.remove(key);
        open();
        model->selectedSection.set(SettingsSection::AI);
        const auto again = [this] { summarisation->checkLocalAvailability(); };
        look(*view, "settings-ai-nothing");
        defaults.set(DefaultsKeys::cloudModelAddress, QStringLiteral("https://llm.example/v1"));
        defaults.set(DefaultsKeys::cloudModelName, QStringLiteral("large"));
        again();
        look(*view, "settings-ai-cloud-meanwhile");
        defaults.set(DefaultsKeys::localModelAddress, QStringLiteral("http://127.0.0.1:11434/v1"));
        defaults.set(DefaultsKeys::localModelName, QStringLiteral("small"));
        again();
        look(*view, "settings-ai-local");
        model->setUseLocal(false);
        again();
        look(*view, "settings-ai-cloud");
        defaults.remove(DefaultsKeys::cloudModelAddress);
        again();
        look(*view, "settings-ai-no-cloud");
    }
    void showTemplates(const Look& look) {
        open();
        templates->templateManager->addTemplate(
            {.id = QUuid::createUuid(), .name = QStringLiteral("Weekly"), .content = QStringLiteral("{{date}}")});
        model->selectedSection.set(SettingsSection::Templates);
        view->resize(Theme::shared().scaled(720), Theme::shared().scaled(520)); // as it opens
        processEvents();
        look(*view, "templates");
        view->resize(720, 520); // as it was, when the text grows
        processEvents();
        look(*view, "templates-720");
        for (Published<bool>* const shown : {&templates->showNewTemplateSheet, &templates->showPreviewSheet}) {
            shown->set(true);
            processEvents();
            look(sheet(), shown == &templates->showPreviewSheet ? "templates-preview" : "templates-new");
            shown->set(false);
        }
        templates->startEditing(templates->templateManager->allTemplates().back());
        processEvents();
        look(sheet(), "templates-edit");
        templates->isEditing.set(false);
    }
    ~TranslatedSettings() override { view.reset(); }

    Languages languages;
    QSize size{720, 520};
    std::shared_ptr<NotesChoiceModel> choice;
    std::shared_ptr<FakeSoundDevices> server = std::make_shared<FakeSoundDevices>();
    std::shared_ptr<SoundChoiceModel> sound;
    std::shared_ptr<TemplatesTabModel> templates;
    std::unique_ptr<SettingsView> view;
};

TEST_F(TranslatedSettings, generalIsTranslatable) {
    Languages::expectTranslatable(data(), [this](const Look& look) { showGeneral(look); });
}
TEST_F(TranslatedSettings, summariesAreTranslatable) {
    Languages::expectTranslatable(data(), [this](const Look& look) { showSummaries(look); });
}
TEST_F(TranslatedSettings, templatesAreTranslatable) {
    Languages::expectTranslatable(data(), [this](const Look& look) { showTemplates(look); });
}
TEST_F(TranslatedSettings, folderDialogsAreTranslatable) {
    open();
    store->chooseRecordingsFolder();
    choice->chooseVaultFolder();
    ASSERT_EQ(chooser.questions.size(), 2U);
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const MarkingTranslator marking;
    for (const FolderQuestion& question : chooser.questions) {
        makeFolderChooser(nullptr)(question, [](const auto&) {});
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (!qobject_cast<QFileDialog*>(window)) continue;
            EXPECT_TRUE(isMarked(window->windowTitle())) << window->windowTitle().toStdString();
            EXPECT_TRUE(isMarked(window->accessibleDescription()));
            delete window;
        }
    }
    EXPECT_EQ(marking.asked().size(), 4U);
}
TEST_F(TranslatedSettings, generalHasRoomForItsTexts) {
    Languages::expectRoom(Languages::Page::MayScroll, [this](const Look& look) { showGeneral(look); });
}
TEST_F(TranslatedSettings, summariesHaveRoomForTheirTexts) {
    Languages::expectRoom(Languages::Page::MayScroll, [this](const Look& look) { showSummaries(look); });
}
TEST_F(TranslatedSettings, templatesHaveRoomForTheirTexts) {
    Languages::expectRoom(Languages::Page::MayScroll, [this](const Look& look) { showTemplates(look); });
}

TEST_F(TranslatedSettings, theSmallestWindowHasRoomForEnglish) {
    size = {620, 460};
    const auto showBoth = [this](const Look& look) {
        showGeneral(look);
        showSummaries(look);
    };
    Languages::expectRoom(Languages::Page::MayScroll, showBoth, {"en"});
}

class TranslatedIntroduction : public OnboardingFixture {
protected:
    void showAll(const Look& look) {
        model = make();
        OnboardingView view(model);
        view.resize(view.sizeHint());
        view.show();
        const char* const states[] = {"onboarding-0", "onboarding-1", "onboarding-2",
                                      "onboarding-3", "onboarding-4", "onboarding-5"};
        for (int step = 0; step < 6; ++step) {
            model->currentStep.set(step);
            ASSERT_TRUE(waitFor([&] { return !view.findChild<PageFlow*>()->isMoving(); }));
            look(view, states[step]);
            if (step == 1) {
                model->microphoneWasRefused.set(true);
                look(view, "onboarding-1-refused");
                model->microphoneWasRefused.set(false);
                model->hasMicrophoneAccess.set(true);
            }
            if (step == 2) model->hasScreenCaptureAccess.set(true);
            if (step == 3) {
                model->testNotesConnection();
                ASSERT_TRUE(settleNotesTest());
            }
            if (step >= 1 && step <= 3) look(view, states[step]);
        }
    }
    Languages languages;
};

TEST_F(TranslatedIntroduction, isTranslatable) {
    Languages::expectTranslatable({}, [this](const Look& look) { showAll(look); });
}
TEST_F(TranslatedIntroduction, hasRoomForItsTexts) {
    Languages::expectRoom(Languages::Page::Fits, [this](const Look& look) { showAll(look); });
}

} // namespace
} // namespace quillet::test
