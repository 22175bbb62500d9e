#pragma once

#include "permissions/PermissionManager.h"
#include "settings/FolderChooser.h"
#include "settings/SettingsStore.h"
#include "support/Published.h"
#include "support/UserDefaults.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>

namespace quillet {

/// Where notes are kept on a system with more than one notes application: in a folder of Markdown files, a vault, or in
/// Joplin; and which folder the vault is. A choice is stored at once and, since what was known of access concerns the
/// application chosen before, access and folders are then found out anew. Owned by the settings window. Main thread; an
/// unusable folder is stored like any other and shows in the access to it.
class NotesChoiceModel final : public std::enable_shared_from_this<NotesChoiceModel> {
public:
    enum class Application { Vault, Joplin };

    NotesChoiceModel(UserDefaults& defaults, std::filesystem::path defaultVault, FolderChooser chooseFolder,
                     std::shared_ptr<PermissionManager> permissions, std::shared_ptr<SettingsStore> store);

    Published<Application> application;
    /// For the user, with "~" for the home folder.
    Published<QString> vaultPath;

    void setApplication(Application chosen);
    void chooseVaultFolder();
    void useDefaultVaultFolder();
    [[nodiscard]] bool isDefaultVault() const;
    /// Reads the settings again, which may have been changed elsewhere.
    void refresh();

private:
    [[nodiscard]] std::filesystem::path vaultFolder() const;
    /// Makes the change between forgetting what was known of access and finding out about what is chosen now.
    void change(const std::function<void()>& choice);

    UserDefaults& m_defaults;
    const std::filesystem::path m_defaultVault;
    const FolderChooser m_chooseFolder;
    const std::shared_ptr<PermissionManager> m_permissions;
    const std::shared_ptr<SettingsStore> m_store;
};

} // namespace quillet
