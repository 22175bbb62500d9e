#include "settings/SettingsModel.h"

#include "summarisation/SummaryPath.h"
#include "support/MainThread.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace quillet {

SettingsModel::SettingsModel(SettingsServices services) : m_services(std::move(services)) { readNotesFolder(); }

void SettingsModel::appeared() {
    PermissionManager& permissions = *m_services.permissions;
    permissions.refreshStatus();
    m_services.store->recordingFolderWasNotStored.set(false);
    m_services.store->recordingPath.set(m_services.files.recordingsDirectoryDisplayPath());
    readNotesFolder();
    // An application that would ask the user anew each time is only asked when the user wants it.
    const NotesApplication& application = *m_services.notesApplication;
    if (m_services.notes.isNotesAvailable() && application.asksForConsent() && application.asksAtMostOnce())
        permissions.triggerNotesAutomationPermissionPromptIfNeeded();
    refreshFolders();
    launchAtLogin.set(m_services.isLaunchedAtLogin());
    m_services.summarisation->checkLocalAvailability();
}

void SettingsModel::useDefaultRecordingsFolder() {
    m_services.store->recordingFolderWasNotStored.set(!m_services.files.resetToDefaultRecordingsDirectory());
    m_services.store->recordingPath.set(m_services.files.recordingsDirectoryDisplayPath());
}

void SettingsModel::checkRecordingsFolder() {
    const int check = ++m_folderChecks;
    const auto folder = m_services.files.resolvedCustomDirectoryURL();
    isRecordingsFolderUnusable.set(folder ? std::nullopt : std::optional(false));
    if (!folder) return;
    // A thread of its own: another folder is looked at while this one does not answer. Nobody waits for it.
    std::thread([weak = weak_from_this(), folder = *folder, check] {
        const bool isUnusable = RecordingFileManager::isUnwritable(folder);
        MainThread::postWeakly<SettingsModel>(weak, [check, isUnusable](SettingsModel& self) {
            if (check == self.m_folderChecks) self.isRecordingsFolderUnusable.set(isUnusable);
        });
    }).detach();
}

SettingsModel::AccessRow SettingsModel::accessRow() const {
    if (m_services.permissions->automationStatus.value() == PermissionStatus::Granted) return AccessRow::None;
    return m_services.notesApplication->asksForConsent() ? AccessRow::AskForAccess : AccessRow::FolderUnusable;
}

SettingsModel::FoldersRemark SettingsModel::foldersRemark() const {
    if (!m_services.store->notesFoldersLoadFailed.value()) return FoldersRemark::None;
    // A folder that we are let into without asking has no other reason to be empty than that it is.
    const bool isOpen = m_services.permissions->automationStatus.value() == PermissionStatus::Granted &&
                        !m_services.notesApplication->asksForConsent();
    return isOpen ? FoldersRemark::NoFoldersYet : FoldersRemark::LoadFailed;
}

void SettingsModel::allowAccess() {
    accessWasRefused.set(false);
    m_services.permissions->requestAutomationAccess([weak = weak_from_this(), permissions = m_services.permissions,
                                                     store = m_services.store,
                                                     asked = m_services.permissions->notesGeneration()](bool granted) {
        const bool refused = !granted && asked == permissions->notesGeneration();
        if (granted) store->refreshFolders();
        if (refused) permissions->openAutomationPreferences();
        if (const auto self = weak.lock()) self->accessWasRefused.set(refused);
    });
}

void SettingsModel::refreshFolders() {
    const auto store = m_services.store;
    if (m_services.notesApplication->asksForConsent()) return store->refreshFolders();
    // A folder opens without anybody's consent: a disk is back, a network answers again. What was known of it may keep
    // it from being listed now, and the look at it may wait for another one that hangs; so both.
    store->refreshFolders();
    m_services.permissions->requestAutomationAccess([store](bool) { store->refreshFolders(); });
}

QStringList SettingsModel::notesFolderOptions() const {
    const auto& listed = m_services.store->availableFolders.value();
    const QString& selected = selectedNotesFolder.value();
    QStringList options{QString()};
    if (!selected.isEmpty() && std::find(listed.begin(), listed.end(), selected) == listed.end())
        options.append(selected);
    for (const QString& folder : listed) options.append(folder);
    return options;
}

void SettingsModel::selectNotesFolder(const QString& name) {
    notesFolderWasNotStored.set(!m_services.defaults.set(DefaultsKeys::notesFolderName, name));
    readNotesFolder();
}

void SettingsModel::readNotesFolder() {
    selectedNotesFolder.set(m_services.defaults.string(DefaultsKeys::notesFolderName).value_or(QString()));
}

void SettingsModel::setLaunchAtLogin(bool enabled) {
    launchAtLogin.set(enabled);
    m_services.setLaunchAtLogin(enabled);
}

void SettingsModel::openNewFolderSheet() { showNewFolderSheet.set(true); }

bool SettingsModel::isNewFolderNameRefused() const { return !m_services.notes.canUseFolder(newFolderName.value()); }

bool SettingsModel::canCreateFolder() const {
    return !newFolderName.value().trimmed().isEmpty() && !isNewFolderNameRefused();
}

void SettingsModel::createFolder() {
    if (!canCreateFolder()) return;
    selectNotesFolder(newFolderName.value().trimmed());
    m_services.store->refreshFolders();
    cancelNewFolder();
}

void SettingsModel::cancelNewFolder() {
    newFolderName.set({});
    showNewFolderSheet.set(false);
}

SettingsModel::SummaryStatus SettingsModel::summaryStatus() const {
    using Maker = SummaryStatus::Maker;
    using Meanwhile = SummaryStatus::Meanwhile;
    const SummaryPlan plan = summaryPlan(m_services.defaults, m_services.summarisation->localAvailable.value());
    SummaryStatus status{.host = plan.host, .model = plan.model};
    const bool isCloudSetUp = plan.path == SummaryPath::Cloud;
    if (!useLocal()) {
        status.maker = isCloudSetUp ? Maker::CloudService : Maker::SystemCloud;
    } else if (plan.path == SummaryPath::LocalServer) {
        status.maker = Maker::LocalServer;
    } else if (plan.path == SummaryPath::SystemModel) {
        status.maker = Maker::SystemModel;
    } else {
        status.meanwhile = isCloudSetUp ? Meanwhile::CloudService : Meanwhile::SystemCloud;
    }
    return status;
}

} // namespace quillet
