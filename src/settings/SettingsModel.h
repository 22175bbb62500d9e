#pragma once

#include "notes/NoteIntegrator.h"
#include "permissions/PermissionManager.h"
#include "platform/NotesApplication.h"
#include "settings/SettingsSection.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingFileManager.h"
#include "summarisation/SummarisationManager.h"
#include "support/Published.h"
#include "support/UserDefaults.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace quillet {

/// What the settings window needs of the program around it. The references must outlive the window.
struct SettingsServices {
    std::shared_ptr<PermissionManager> permissions;
    std::shared_ptr<SettingsStore> store;
    std::shared_ptr<SummarisationManager> summarisation;
    std::shared_ptr<NotesApplication> notesApplication;
    const NoteIntegrator& notes;
    RecordingFileManager& files;
    UserDefaults& defaults;
    /// Reads the system's state afresh.
    std::function<bool()> isLaunchedAtLogin;
    std::function<void(bool)> setLaunchAtLogin;
    std::function<void()> quit;
};

/// The state and the decisions of the settings window: what its rows say, what its buttons do, and what happens when it
/// appears. Made with the window and owned by it; an answer that comes after the window is gone is dropped. Main
/// thread. Failures end in what the rows say.
class SettingsModel final : public std::enable_shared_from_this<SettingsModel> {
public:
    /// What stands above the choice of a folder for notes.
    enum class AccessRow {
        None,
        AskForAccess,  ///< the user has to allow us in, and can be asked
        FolderUnusable ///< nobody has to allow anything: the folder of the notes does not let us in
    };
    enum class FoldersRemark {
        None,
        NoFoldersYet, ///< we are let in, and there are none
        LoadFailed
    };

    /// Where the next summary is made, as far as it has to be said.
    struct SummaryStatus {
        enum class Maker {
            LocalServer,  ///< on this device, by a server that the user set up
            SystemModel,  ///< on this device, by the system's own model
            Unavailable,  ///< wanted on this device, where there is nothing that could
            CloudService, ///< in the cloud, by a service that the user set up
            SystemCloud   ///< in the cloud, where no service has been set up
        };
        /// What goes on while it is unavailable.
        enum class Meanwhile { None, CloudService, SystemCloud };

        Maker maker = Maker::Unavailable;
        Meanwhile meanwhile = Meanwhile::None;
        QString host{};  ///< of what the user set up
        QString model{}; ///< the same
        friend bool operator==(const SummaryStatus&, const SummaryStatus&) = default;
    };

    explicit SettingsModel(SettingsServices services);

    Published<SettingsSection> selectedSection{SettingsSection::General};
    Published<bool> launchAtLogin{false};
    /// The chosen folder for recordings takes no files or cannot be made, so that they go to the default one; absent
    /// until that is known.
    Published<std::optional<bool>> isRecordingsFolderUnusable;
    Published<bool> showNewFolderSheet{false};
    Published<QString> newFolderName;
    /// The chosen folder for notes, as stored; empty for the default place.
    Published<QString> selectedNotesFolder;
    /// The last choice of it was not stored: what was chosen before goes on counting.
    Published<bool> notesFolderWasNotStored{false};
    /// Access was asked for from here and not given.
    Published<bool> accessWasRefused{false};

    /// Each time the window is shown.
    void appeared();

    // General
    void useDefaultRecordingsFolder();
    /// Looks at the chosen folder on a worker, which its disk or network may hold up for minutes.
    void checkRecordingsFolder();
    [[nodiscard]] AccessRow accessRow() const;
    [[nodiscard]] FoldersRemark foldersRemark() const;
    void allowAccess();
    /// Lists the folders anew; where nobody has to allow anything, after looking whether we are let in by now.
    void refreshFolders();
    /// The empty string, which stands for the default place, the stored name when it is not listed, all that is listed.
    [[nodiscard]] QStringList notesFolderOptions() const;
    void selectNotesFolder(const QString& name);
    void setLaunchAtLogin(bool enabled);
    void quit() { m_services.quit(); }

    // The sheet that names a new folder. No folder is made: the first note makes it.
    void openNewFolderSheet();
    [[nodiscard]] bool canCreateFolder() const;
    /// The notes application can have no folder of this name.
    [[nodiscard]] bool isNewFolderNameRefused() const;
    void createFolder();
    void cancelNewFolder();

    // AI & Privacy
    [[nodiscard]] bool useLocal() const { return m_services.summarisation->useLocal(); }
    void setUseLocal(bool useLocal) { m_services.summarisation->setUseLocal(useLocal); }
    /// By the settings as they are at this moment.
    [[nodiscard]] SummaryStatus summaryStatus() const;

    [[nodiscard]] const SettingsServices& services() const { return m_services; }

private:
    void readNotesFolder();

    const SettingsServices m_services;
    int m_folderChecks = 0; ///< so far; the answer to the last one counts
};

} // namespace quillet
