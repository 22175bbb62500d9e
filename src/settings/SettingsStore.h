#pragma once

#include "notes/NoteIntegrator.h"
#include "permissions/PermissionManager.h"
#include "settings/FolderChooser.h"
#include "storage/RecordingFileManager.h"
#include "support/Published.h"
#include "support/UserDefaults.h"

#include <QString>
#include <QTimer>

#include <memory>
#include <vector>

namespace quillet {

/// What the general settings show: where recordings go, and the folders of the notes application, which are listed a
/// moment after the last of several requests. It writes no settings itself. Owned by the program, for its whole life;
/// work under way does not keep it alive and finds nothing to tell when it is gone. Main thread. Nothing fails visibly
/// here: an empty list and the flag for it say that the folders could not be listed.
class SettingsStore final : public std::enable_shared_from_this<SettingsStore> {
public:
    /// The folders are asked for at once when the notes application is known to let us in. The references must outlive
    /// the store and every chooser that it opened.
    static std::shared_ptr<SettingsStore> create(RecordingFileManager& files, const NoteIntegrator& notes,
                                                 const PermissionManager& permissions, const UserDefaults& defaults,
                                                 FolderChooser chooseFolder);

    Published<QString> recordingPath;
    /// The last choice of it was not stored: what was chosen before goes on counting.
    Published<bool> recordingFolderWasNotStored{false};
    Published<std::vector<QString>> availableFolders;
    Published<bool> isLoadingFolders{false};
    Published<bool> notesFoldersLoadFailed{false};
    /// The folder for notes that was chosen when the store was made.
    Published<QString> notesFolderName;

    /// Requests closer together than 300 ms make one listing. A listing that has begun still delivers, unless another
    /// notes application has been chosen meanwhile: with that choice goes a request of its own.
    void refreshFolders();
    void chooseRecordingsFolder();

private:
    SettingsStore(RecordingFileManager& files, const NoteIntegrator& notes, const PermissionManager& permissions,
                  const UserDefaults& defaults, FolderChooser chooseFolder);
    void fetchFolders();
    [[nodiscard]] std::optional<std::filesystem::path> startFolder() const;

    RecordingFileManager& m_files;
    const NoteIntegrator& m_notes;
    const PermissionManager& m_permissions;
    const FolderChooser m_chooseFolder;
    QTimer m_refreshFoldersWorkItem; ///< runs while a refresh is scheduled and has not begun
};

} // namespace quillet
