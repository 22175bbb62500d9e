#pragma once

#include "settings/NotesChoiceModel.h"
#include "settings/SettingsModel.h"
#include "settings/SoundChoiceModel.h"
#include "support/FakeSystemModel.h"
#include "support/PermissionsFixture.h"

#include <QTemporaryDir>

#include <atomic>

namespace quillet::test {

using namespace Qt::StringLiterals;

/// A sound server with the devices it is told to have.
class FakeSoundDevices final : public SoundDevices {
public:
    explicit FakeSoundDevices(std::vector<SoundDevice> all) : found(std::move(all)) {}
    std::vector<SoundDevice> found;
    std::atomic<bool> answers = true;
    std::atomic<int> lists = 0;
    Result<std::vector<SoundDevice>> list() override {
        ++lists;
        if (!answers) return Failure{PlatformError{1, QStringLiteral("there is no sound server")}};
        return found;
    }
};

/// A folder chooser that keeps the question and answers when told to.
struct FakeChooser {
    std::vector<FolderQuestion> questions;
    std::function<void(std::optional<std::filesystem::path>)> answer;
    FolderChooser function() {
        return [this](const FolderQuestion& question, auto onAnswer) {
            questions.push_back(question);
            answer = std::move(onAnswer);
        };
    }
};

/// The settings with everything around them under the test's control. Notes is a fresh vault unless told otherwise.
class SettingsFixture : public PermissionsWindowFixture {
protected:
    SettingsFixture() { notes->asks = false; }
    void makeStore() {
        if (!permissions) permissions = PermissionManager::create(services, notes, defaults);
        store = SettingsStore::create(*files, integrator, *permissions, defaults, chooser.function());
    }
    void makeModel() {
        makeStore();
        summarisation = std::make_shared<SummarisationManager>(defaults, systemModel);
        model = std::make_shared<SettingsModel>(
            SettingsServices{.permissions = permissions,
                             .store = store,
                             .summarisation = summarisation,
                             .notesApplication = notes,
                             .notes = integrator,
                             .files = *files,
                             .defaults = *kept,
                             .isLaunchedAtLogin = [this] { return launches; },
                             .setLaunchAtLogin = [this](bool enabled) { launchChanges.push_back(enabled); },
                             .quit = [this] { ++quits; }});
    }
    std::shared_ptr<NotesChoiceModel> makeNotesChoice() {
        return std::make_shared<NotesChoiceModel>(defaults, kDefaultVault.toStdString(), chooser.function(),
                                                  permissions, store);
    }
    bool settle() {
        return waitFor([this] { return !store->isLoadingFolders.value(); });
    }

    const QString kDefaultVault = QStringLiteral("/home/ada/Documents/Quillet Notes");
    FileUserDefaults unwritable{QStringLiteral("/dev/null/settings.conf")};
    UserDefaults* kept = &defaults; ///< where the window keeps what is chosen in it
    std::unique_ptr<RecordingFileManager> files =
        std::make_unique<RecordingFileManager>(FileServices::standard(), defaults);
    FakeChooser chooser;
    FakeSystemModel systemModel;
    bool launches = false;
    std::vector<bool> launchChanges;
    int quits = 0;
    std::shared_ptr<SettingsStore> store;
    std::shared_ptr<SummarisationManager> summarisation;
    std::shared_ptr<SettingsModel> model;
};

} // namespace quillet::test
