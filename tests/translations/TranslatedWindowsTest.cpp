#include "WindowChecks.h"
#include "app/Shell.h"
#include "onboarding/OnboardingTestSupport.h"
#include "onboarding/ui/OnboardingView.h"
#include "onboarding/ui/PageFlow.h"
#include "settings/SettingsWindow.h"
#include "settings/ui/FolderDialogs.h"
#include "support/Translations.h"
#include "templates/ui/TemplatesTabView.h"

#include <QFileDialog>

namespace quillet::test {
namespace {

/// Looks at a window in each of its states.
using Look = std::function<void(QWidget& window, const char* state)>;
using ShowAll = std::function<void(const Look&)>;

void expectTranslatable(const QStringList& data, const ShowAll& showAll) {
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

/// In German and English, in the words of this platform, at both text sizes.
void expectRoom(Page page, const ShowAll& showAll, const std::vector<const char*>& languages = {"de", "en"}) {
    const UsualLook afterwards;
    for (const char* const language : languages) {
        removeTranslations();
        installTranslations(*QCoreApplication::instance(), {QLatin1String(language)});
        for (const int scale : {1, 2}) {
            Theme::shared().setTextScale(scale);
            showAll([&](QWidget& window, const char* state) {
                const QString name = u"%1-%2-%3"_s.arg(QLatin1String(language), QLatin1String(state)).arg(scale);
                SCOPED_TRACE(name.toStdString());
                letLayoutsSettle();
                expectNothingCut(window);
                if (scale == 1 && page == Page::Fits) expectNoScrolling(window);
                keepPicture(window, name);
            });
        }
    }
    removeTranslations();
}

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
        desk.engine->lastError.set(u"Microphone input failed: the sound server does not answer"_s);
        look(view, "menu-error");
        for (const auto& [raise, state] : {std::pair(&RecorderUIModel::showDiskFull, "alert-space"),
                                           std::pair(&RecorderUIModel::showPermissionDenied, "alert-permission"),
                                           std::pair(&RecorderUIModel::showNotesAutomationDenied, "alert-automation"),
                                           std::pair(&RecorderUIModel::showAppleScriptFailure, "alert-note")}) {
            (desk.uiModel.*raise)();
            processEvents();
            look(view, state);
        }
    }
};

TEST_F(TranslatedMenu, isTranslatable) {
    expectTranslatable({u"Meeting.m4a"_s}, [this](const Look& look) { showAll(look); });
}
TEST_F(TranslatedMenu, hasRoomForItsTexts) {
    expectRoom(Page::Fits, [this](const Look& look) { showAll(look); });
}

bool isMarked(const QString& text) { return text.startsWith(u'«') && text.endsWith(u'»'); }

using TranslatedShell = ShellFixture;

TEST_F(TranslatedShell, itsIconItsMenuAndItsWindowsTitlesAreTranslatable) {
    const MarkingTranslator marking;
    launch();
    QSet<QString> names;
    for (const bool recording : {false, true}) {
        desk.engine->isRecording.set(recording);
        for (const MenuEntry& entry : delegate->makeContextMenu())
            EXPECT_TRUE(entry.isSeparator() || isMarked(entry.title)) << entry.title.toStdString();
        names.insert(tray.images.back().description);
    }
    desk.engine->isRecording.set(false);
    EXPECT_EQ(names.size(), 2);
    EXPECT_TRUE(std::all_of(names.begin(), names.end(), isMarked)) << names.values().join(u' ').toStdString();
    delegate->menuOpenSettings();
    EXPECT_NE(window("«Quillet Settings»"), nullptr);
}

using TranslatedNotices = NoticesFixture;

TEST_F(TranslatedNotices, allAreTranslatable) {
    const MarkingTranslator marking;
    record();
    desk.deliver(0, 11 * 48'000, 0, 0);
    ASSERT_TRUE(waitFor([this] { return told->shown.size() == 2; })) << "both sources are silent";
    missChosenDevices();
    stop();
    desk.engine->lastError.set(u"Failed to setup audio writer."_s);
    desk.uiModel.showDiskFull();
    complete("file:///tmp/Meeting.m4a");
    ASSERT_EQ(told->shown.size(), 7U);
    for (const UserNotice& notice : told->shown) {
        EXPECT_TRUE(isMarked(notice.title)) << notice.title.toStdString();
        EXPECT_TRUE(isMarked(notice.body) || notice.body == u"Meeting.m4a"_s) << notice.body.toStdString();
        EXPECT_TRUE(notice.actionTitle.isEmpty() || isMarked(notice.actionTitle)) << notice.actionTitle.toStdString();
    }
    EXPECT_TRUE(isMarked(machine->reason)) << "desktops show what keeps them awake";
}

class TranslatedSettings : public SettingsWindowFixture {
protected:
    TranslatedSettings() {
        makeTemplatesTab = [this](QWidget* parent) {
            templates = std::make_shared<TemplatesTabModel>(std::make_shared<TemplateManager>(defaults),
                                                            [](const QString&, const auto&) {});
            return new TemplatesTabView(templates, parent);
        };
    }
    static void expectAllTranslatable(const ShowAll& showAll) {
        QStringList data{u"Joplin"_s, u"Work"_s, u"Weekly"_s, u"Speakers"_s,
                         u"Headset with a rather long name, USB, channel one"_s};
        for (const auto& each : MeetingTemplate::builtInTemplates()) data << each.name;
        expectTranslatable(data, showAll);
    }
    void showGeneral(const Look& look) {
        notes->asks = false;
        defaults.set(DefaultsKeys::notesApplication, u"markdown"_s);
        defaults.set(DefaultsKeys::microphoneDevice, u"Work"_s);
        files->setCustomRecordingsDirectory("/srv/a-rather-long-path-without-spaces/that-goes-on/and-on/recordings");
        open();
        EXPECT_TRUE(waitFor([this] { return model->isRecordingsFolderUnusable.value().has_value(); }));
        look(*view, "settings-general");
        model->openNewFolderSheet();
        model->newFolderName.set(u".x"_s);
        processEvents();
        look(*sheet(), "settings-new-folder");
        model->cancelNewFolder();
        notesChoice->setApplication(NotesChoiceModel::Application::Joplin);
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
        defaults.set(DefaultsKeys::cloudModelAddress, u"https://llm.example/v1"_s);
        defaults.set(DefaultsKeys::cloudModelName, u"large"_s);
        again();
        look(*view, "settings-ai-cloud-meanwhile");
        defaults.set(DefaultsKeys::localModelAddress, u"http://127.0.0.1:11434/v1"_s);
        defaults.set(DefaultsKeys::localModelName,
                     u"a_model_whose_name_is_one_word_and_as_long_as_some_are_8b_q4_k_m"_s);
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
            {.id = QUuid::createUuid(), .name = u"Weekly"_s, .content = u"{{date}}"_s});
        model->selectedSection.set(SettingsSection::Templates);
        view->resize(Theme::shared().scaled(720), Theme::shared().scaled(520)); // as it opens
        processEvents();
        look(*view, "templates");
        view->resize(size); // as it was, when the text grows
        processEvents();
        look(*view, "templates-720");
        for (Published<bool>* const shown : {&templates->showNewTemplateSheet, &templates->showPreviewSheet}) {
            shown->set(true);
            processEvents();
            look(*sheet(), shown == &templates->showPreviewSheet ? "templates-preview" : "templates-new");
            shown->set(false);
        }
        templates->startEditing(templates->templateManager->allTemplates().back());
        processEvents();
        look(*sheet(), "templates-edit");
        templates->isEditing.set(false);
    }

    std::shared_ptr<TemplatesTabModel> templates;
};

TEST_F(TranslatedSettings, generalIsTranslatable) {
    expectAllTranslatable([this](const Look& look) { showGeneral(look); });
}
TEST_F(TranslatedSettings, summariesAreTranslatable) {
    expectAllTranslatable([this](const Look& look) { showSummaries(look); });
}
TEST_F(TranslatedSettings, templatesAreTranslatable) {
    expectAllTranslatable([this](const Look& look) { showTemplates(look); });
}
TEST_F(TranslatedSettings, folderDialogsAreTranslatable) {
    open();
    store->chooseRecordingsFolder();
    notesChoice->chooseVaultFolder();
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
    expectRoom(Page::MayScroll, [this](const Look& look) { showGeneral(look); });
}
TEST_F(TranslatedSettings, summariesHaveRoomForTheirTexts) {
    expectRoom(Page::MayScroll, [this](const Look& look) { showSummaries(look); });
}
TEST_F(TranslatedSettings, templatesHaveRoomForTheirTexts) {
    expectRoom(Page::MayScroll, [this](const Look& look) { showTemplates(look); });
}
TEST_F(TranslatedSettings, theSmallestWindowHasRoomForEnglish) {
    size = {620, 460};
    const auto showBoth = [this](const Look& look) {
        showGeneral(look);
        showSummaries(look);
    };
    expectRoom(Page::MayScroll, showBoth, {"en"});
}

class TranslatedIntroduction : public OnboardingFixture {
protected:
    void showAll(const Look& look) {
        model = make();
        OnboardingView view(model);
        view.resize(view.sizeHint());
        view.show();
        const char* const states[] = {"welcome", "microphone", "system-audio", "notes", "on-device-ai", "ready"};
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
};

TEST_F(TranslatedIntroduction, isTranslatable) {
    expectTranslatable({}, [this](const Look& look) { showAll(look); });
}
TEST_F(TranslatedIntroduction, hasRoomForItsTexts) {
    expectRoom(Page::Fits, [this](const Look& look) { showAll(look); });
}

} // namespace
} // namespace quillet::test
