#include "settings/NotesChoiceModel.h"

#include "platform/StandardFolders.h"
#include "support/DisplayPath.h"

#include <QFile>

#include <optional>
#include <utility>

namespace quillet {
namespace {

constexpr const char* kTitle = QT_TRANSLATE_NOOP("quillet::FolderChooser", "Choose Notes Folder");
constexpr const char* kMessage =
    QT_TRANSLATE_NOOP("quillet::FolderChooser", "Select the folder where meeting notes will be kept.");

} // namespace

NotesChoiceModel::NotesChoiceModel(UserDefaults& defaults, std::filesystem::path defaultVault,
                                   FolderChooser chooseFolder, std::shared_ptr<PermissionManager> permissions,
                                   std::shared_ptr<SettingsStore> store)
    : m_defaults(defaults),
      m_defaultVault(std::move(defaultVault)),
      m_chooseFolder(std::move(chooseFolder)),
      m_permissions(std::move(permissions)),
      m_store(std::move(store)) {
    refresh();
}

void NotesChoiceModel::refresh() {
    const bool isJoplin = m_defaults.string(DefaultsKeys::notesApplication) == DefaultsValues::joplin;
    application.set(isJoplin ? Application::Joplin : Application::Vault);
    vaultPath.set(displayPath(vaultFolder(), homeDirectory()));
}

bool NotesChoiceModel::isDefaultVault() const {
    return m_defaults.data(DefaultsKeys::notesVaultFolder).value_or(QByteArray()).isEmpty();
}

std::filesystem::path NotesChoiceModel::vaultFolder() const {
    if (isDefaultVault()) return m_defaultVault;
    return m_defaults.data(DefaultsKeys::notesVaultFolder)->toStdString();
}

void NotesChoiceModel::setApplication(Application chosen) {
    if (chosen == application.value()) return;
    change([&] {
        m_defaults.set(DefaultsKeys::notesApplication,
                       chosen == Application::Joplin ? DefaultsValues::joplin : DefaultsValues::vault);
    });
}

void NotesChoiceModel::chooseVaultFolder() {
    // The folder may lie on a network that does not answer, so it is not looked at: where we were let in, it is there.
    std::optional<std::filesystem::path> start;
    if (m_permissions->automationStatus.value() == PermissionStatus::Granted) start = vaultFolder();
    m_chooseFolder(
        {.title = QString::fromLatin1(kTitle), .message = QString::fromLatin1(kMessage), .startFolder = start},
        [weak = weak_from_this()](const auto& folder) {
            const auto self = weak.lock();
            if (!self || !folder) return;
            self->change([&] {
                self->m_defaults.set(DefaultsKeys::notesVaultFolder, QByteArray::fromStdString(folder->string()));
            });
        });
}

void NotesChoiceModel::useDefaultVaultFolder() {
    change([this] { m_defaults.remove(DefaultsKeys::notesVaultFolder); });
}

void NotesChoiceModel::change(const std::function<void()>& choice) {
    m_permissions->forgetNotesAccess();
    choice();
    refresh();
    m_permissions->refreshStatus();
    m_store->refreshFolders();
}

} // namespace quillet
