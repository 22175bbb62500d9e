#pragma once

#include "settings/NotesChoiceModel.h"
#include "settings/SettingsModel.h"
#include "widgets/Controls.h"

#include <memory>

class QHBoxLayout;

namespace quillet {

class PathBox;
class Picker;

/// The group on notes: where they are kept, whether we are let in there, and the folder for new ones.
class NotesGroup final : public QWidget {
    Q_OBJECT
public:
    /// Without a choice of notes applications that part is left out.
    NotesGroup(std::shared_ptr<SettingsModel> model, std::shared_ptr<NotesChoiceModel> choice,
               QWidget* parent = nullptr);

private:
    void addChoice(Group& group);
    void addAccessRow(Group& group);
    void addFolderRow(Group& group);
    void showChoice();
    void showAccess();
    void showFolders();

    const std::shared_ptr<SettingsModel> m_model;
    const std::shared_ptr<NotesChoiceModel> m_choice;

    Picker* m_application = nullptr;
    TextLabel* m_applicationLabel = nullptr;
    QWidget* m_vault = nullptr;
    PathBox* m_vaultPath = nullptr;
    QPushButton* m_defaultVault = nullptr;
    QWidget* m_accessRow = nullptr;
    QPushButton* m_allow = nullptr;
    QWidget* m_waiting = nullptr;
    TextLabel* m_refused = nullptr;
    TextLabel* m_unusable = nullptr;
    Picker* m_folder = nullptr;
    QWidget* m_loading = nullptr;
    TextLabel* m_loadFailed = nullptr;
    TextLabel* m_noFolders = nullptr;
};

} // namespace quillet
