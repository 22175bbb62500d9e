#include "settings/SettingsStore.h"

#include "support/MainThread.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace quillet {
namespace {

constexpr std::chrono::milliseconds kRefreshDebounceInterval{300};

constexpr const char* kTitle = QT_TRANSLATE_NOOP("quillet::FolderChooser", "Choose Recordings Folder");
constexpr const char* kMessage =
    QT_TRANSLATE_NOOP("quillet::FolderChooser", "Select the folder where meeting recordings will be saved.");

} // namespace

std::shared_ptr<SettingsStore> SettingsStore::create(RecordingFileManager& files, const NoteIntegrator& notes,
                                                     const PermissionManager& permissions, const UserDefaults& defaults,
                                                     FolderChooser chooseFolder) {
    std::shared_ptr<SettingsStore> store(
        new SettingsStore(files, notes, permissions, defaults, std::move(chooseFolder)));
    if (permissions.automationStatus.value() == PermissionStatus::Granted) store->refreshFolders();
    return store;
}

SettingsStore::SettingsStore(RecordingFileManager& files, const NoteIntegrator& notes,
                             const PermissionManager& permissions, const UserDefaults& defaults,
                             FolderChooser chooseFolder)
    : recordingPath(files.recordingsDirectoryDisplayPath()),
      notesFolderName(defaults.string(DefaultsKeys::notesFolderName).value_or(QString())),
      m_files(files),
      m_notes(notes),
      m_permissions(permissions),
      m_chooseFolder(std::move(chooseFolder)) {
    m_refreshFoldersWorkItem.setSingleShot(true);
    m_refreshFoldersWorkItem.setTimerType(Qt::PreciseTimer);
    m_refreshFoldersWorkItem.setInterval(kRefreshDebounceInterval);
    m_refreshFoldersWorkItem.callOnTimeout([this] { fetchFolders(); });
}

void SettingsStore::refreshFolders() {
    isLoadingFolders.set(true);
    m_refreshFoldersWorkItem.start(); // in place of the one that is pending
}

void SettingsStore::fetchFolders() {
    m_notes.fetchFoldersAsyncDetailed([weak = weak_from_this(), asked = m_permissions.notesGeneration()](
                                          const std::vector<QString>& folders, bool failed) {
        const auto self = weak.lock();
        if (!self || asked != self->m_permissions.notesGeneration()) return;
        self->availableFolders.set(folders);
        self->notesFoldersLoadFailed.set(failed);
        self->isLoadingFolders.set(false);
    });
}

std::optional<std::filesystem::path> SettingsStore::startFolder() const {
    if (m_files.resolvedCustomDirectoryURL()) return m_files.resolvedCustomDirectoryURL();
    const auto standard = m_files.defaultRecordingsDirectoryURL();
    std::error_code ignored;
    return standard && std::filesystem::exists(*standard, ignored) ? standard : std::nullopt;
}

void SettingsStore::chooseRecordingsFolder() {
    const FolderQuestion question{
        .title = QString::fromLatin1(kTitle), .message = QString::fromLatin1(kMessage), .startFolder = startFolder()};
    m_chooseFolder(question, [weak = weak_from_this(), files = &m_files](auto folder) {
        if (!folder) return;
        const bool isStored = files->setCustomRecordingsDirectory(folder);
        MainThread::postWeakly<SettingsStore>(weak, [isStored](SettingsStore& self) {
            self.recordingFolderWasNotStored.set(!isStored);
            self.recordingPath.set(self.m_files.recordingsDirectoryDisplayPath());
        });
    });
}

} // namespace quillet
