#include "app/tray/SharedInstances.h"

#include "app/LaunchManager.h"
#include "app/RecordingHost.h"
#include "capture/FallbackSources.h"
#include "notes/vault/VaultNotesApplication.h"
#include "onboarding/ui/OnboardingView.h"
#include "platform/DesktopFiles.h"
#include "platform/FileDialogs.h"
#include "platform/LanguageModel.h"
#include "platform/LoginItem.h"
#include "platform/Platform.h"
#include "platform/SystemNotes.h"
#include "settings/ui/FolderDialogs.h"
#include "settings/ui/SettingsView.h"
#include "support/SharedInstance.h"
#include "templates/TemplateManager.h"
#include "templates/ui/TemplatesTabView.h"

namespace quillet {
namespace {

UserDefaults& defaults() { return UserDefaults::standard(); }

FileServices& fileServices() {
    static const std::unique_ptr<FileServices> services = makeDesktopFileServices();
    return *services;
}

FileDialogs* fileDialogs() {
    static const std::unique_ptr<FileDialogs> dialogs = makeFileDialogs();
    return dialogs.get();
}

/// The device of the settings, read at each start of a recording.
DeviceName deviceOf(const QString& key) {
    return [key] { return defaults().string(key).value_or(QString()); };
}

std::shared_ptr<AudioCaptureEngine> makeEngine() {
    const DeviceName followTheSystem = [] { return QString(); };
    const TellFallback tell = [](SoundDevice::Kind kind) {
        NotificationCenter::standard().post(Notifications::chosenDeviceMissing,
                                            {{QStringLiteral("isMicrophone"), kind == SoundDevice::Kind::Input}});
    };
    LiveSources live = withFallback(
        makeLiveSources(deviceOf(DefaultsKeys::systemAudioDevice), deviceOf(DefaultsKeys::microphoneDevice), tell),
        makeLiveSources(followTheSystem, followTheSystem, tell), tell);
    // The note is made with the services of the first recording: they are not needed before one has ended.
    auto host = std::make_shared<RecordingHost>(
        *SharedInstance<RecordingFileManager>::get(), defaults(), *SharedInstance<RecorderUIModel>::get(),
        NotificationCenter::standard(),
        RecordingHost::Notes{
            .create = [](const std::filesystem::path& recording,
                         WallTime completedAt) { return sharedNotes().makeNote(recording, completedAt); },
            .renamed =
                [](const std::filesystem::path& from, const std::filesystem::path& to) {
                    static_cast<void>(sharedNotes().pending.rename(from, to));
                }});
    return AudioCaptureEngine::create({.systemAudio = std::move(live.systemAudio),
                                       .microphone = std::move(live.microphone),
                                       .writers = makeAssetWriterFactory()},
                                      std::move(host));
}

} // namespace

NotesServices& sharedNotes() {
    // Never destroyed: the note of a recording that is finished within exit() is made after the destructors have run.
    static auto& notes = *new NotesServices(defaults(), [] {
        return SharedInstance<PermissionManager>::get()->automationStatus.value() == PermissionStatus::Granted;
    });
    return notes;
}

const std::shared_ptr<ExternalPrograms>& sharedExternalPrograms() {
    static const std::shared_ptr<ExternalPrograms> programs = makeExternalPrograms();
    return programs;
}

void installSharedInstances() {
    SharedInstance<RecordingFileManager>::setFactory(
        [] { return std::make_shared<RecordingFileManager>(fileServices(), defaults()); });
    SharedInstance<RecorderUIModel>::setFactory([] { return std::make_shared<RecorderUIModel>(); });
    SharedInstance<AudioCaptureEngine>::setFactory(makeEngine);
    SharedInstance<PermissionManager>::setFactory(
        [] { return PermissionManager::create(makePermissionServices(), sharedNotes().application, defaults()); });
    SharedInstance<LaunchManager>::setFactory([] { return std::make_shared<LaunchManager>(makeLoginItem()); });
    SharedInstance<SettingsStore>::setFactory([] {
        return SettingsStore::create(*SharedInstance<RecordingFileManager>::get(), sharedNotes().integrator,
                                     *SharedInstance<PermissionManager>::get(), defaults(),
                                     makeFolderChooser(fileDialogs()));
    });
    SharedInstance<TemplateManager>::setFactory([] { return std::make_shared<TemplateManager>(defaults()); });
    SharedInstance<SummarisationManager>::setFactory([] { return std::make_shared<SummarisationManager>(defaults()); });
}

QWidget* makeSharedSettingsView(const QString& section, std::function<void()> quit) {
    const auto permissions = SharedInstance<PermissionManager>::get();
    const auto store = SharedInstance<SettingsStore>::get();
    const auto launch = SharedInstance<LaunchManager>::get();
    SettingsParts parts;
    parts.model = std::make_shared<SettingsModel>(
        SettingsServices{.permissions = permissions,
                         .store = store,
                         .summarisation = SharedInstance<SummarisationManager>::get(),
                         .notesApplication = sharedNotes().application,
                         .notes = sharedNotes().integrator,
                         .files = *SharedInstance<RecordingFileManager>::get(),
                         .defaults = defaults(),
                         .isLaunchedAtLogin =
                             [launch] {
                                 launch->refresh();
                                 return launch->isEnabled.value();
                             },
                         .setLaunchAtLogin = [launch](bool enabled) { launch->setLaunchAtLogin(enabled); },
                         .quit = std::move(quit)});
    if (const auto first = settingsSection(section)) parts.model->selectedSection.set(*first);
    if (!systemNotes()) // where the system brings one, that is the one
        parts.notesChoice = std::make_shared<NotesChoiceModel>(defaults(), VaultNotesApplication::standardFolder(),
                                                               makeFolderChooser(fileDialogs()), permissions, store);
    parts.soundChoice = std::make_shared<SoundChoiceModel>(makeSoundDevices(), defaults());
    parts.makeTemplatesTab = [](QWidget* parent) -> QWidget* {
        return new TemplatesTabView(SharedInstance<TemplateManager>::get(), fileDialogs(), parent);
    };
    return new SettingsView(std::move(parts));
}

QWidget* makeSharedOnboardingView() {
    const auto launch = SharedInstance<LaunchManager>::get();
    return new OnboardingView(std::make_shared<OnboardingModel>(
        OnboardingServices{.permissions = SharedInstance<PermissionManager>::get(),
                           .programs = sharedExternalPrograms(),
                           .notes = sharedNotes().integrator,
                           .defaults = defaults(),
                           .notifications = NotificationCenter::standard(),
                           .setLaunchAtLogin = [launch](bool enabled) { launch->setLaunchAtLogin(enabled); },
                           .isOnDeviceModelReady =
                               [] {
                                   const auto model = SystemLanguageModel::standard().model();
                                   return model && model->isAvailable();
                               }}));
}

} // namespace quillet
