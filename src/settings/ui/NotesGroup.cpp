#include "settings/ui/NotesGroup.h"

#include "settings/ui/PathBox.h"
#include "settings/ui/Picker.h"
#include "widgets/FlowRow.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <utility>
#include <vector>

namespace quillet {

using Application = NotesChoiceModel::Application;

NotesGroup::NotesGroup(std::shared_ptr<SettingsModel> model, std::shared_ptr<NotesChoiceModel> choice, QWidget* parent)
    : QWidget(parent), m_model(std::move(model)), m_choice(std::move(choice)) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    auto* const group = new Group(tr("Apple Notes"), this);
    column->addWidget(group);
    if (m_choice) addChoice(*group);
    addAccessRow(*group);
    addFolderRow(*group);

    const SettingsServices& services = m_model->services();
    services.permissions->automationStatus.subscribe(this, [this](PermissionStatus) {
        showAccess();
        showFolders();
    });
    services.permissions->isAskingForAutomation.subscribe(this, [this](bool) { showAccess(); });
    m_model->accessWasRefused.subscribe(this, [this](bool) { showAccess(); });
    m_model->selectedNotesFolder.subscribe(this, [this](const QString&) { showFolders(); });
    services.store->availableFolders.subscribe(this, [this](const std::vector<QString>&) { showFolders(); });
    services.store->isLoadingFolders.subscribe(this, [this](bool) { showFolders(); });
    services.store->notesFoldersLoadFailed.subscribe(this, [this](bool) { showFolders(); });
}

void NotesGroup::addChoice(Group& group) {
    auto* const row = new FlowRow;
    m_application = new Picker(this);
    m_applicationLabel = m_application->makeLabel(tr("Keep notes in"));
    row->addWidget(m_applicationLabel);
    m_application->addItem(tr("Markdown files"), static_cast<int>(Application::Vault));
    m_application->addItem(QStringLiteral("Joplin"), static_cast<int>(Application::Joplin));
    row->addWidget(m_application);
    group.contents()->addLayout(row);

    m_vault = new QWidget(this);
    auto* const vault = new QVBoxLayout(m_vault);
    vault->setContentsMargins(0, 0, 0, 0);
    vault->setSpacing(10);
    m_vaultPath = new PathBox(tr("Notes folder"), this);
    vault->addWidget(m_vaultPath);
    auto* const buttons = new FlowRow;
    QPushButton* const change = makeButton(tr("Change…"), ButtonRole::Bordered, {}, this);
    change->setAccessibleDescription(tr("Notes folder"));
    m_defaultVault = makeButton(tr("Use default"), ButtonRole::Bordered, {}, this);
    m_defaultVault->setAccessibleDescription(tr("Notes folder"));
    buttons->addWidget(change);
    buttons->addWidget(m_defaultVault);
    vault->addLayout(buttons);
    group.contents()->addWidget(m_vault);
    group.contents()->addWidget(makeDivider(this));

    connect(m_application, &QComboBox::activated, this, [this](int index) {
        m_choice->setApplication(static_cast<Application>(m_application->itemData(index).toInt()));
    });
    connect(change, &QPushButton::clicked, this, [this] { m_choice->chooseVaultFolder(); });
    connect(m_defaultVault, &QPushButton::clicked, this, [this] { m_choice->useDefaultVaultFolder(); });
    m_choice->application.subscribe(this, [this](Application) { showChoice(); });
    m_choice->vaultPath.subscribe(this, [this](const QString&) { showChoice(); });
}

void NotesGroup::showChoice() {
    const Application application = m_choice->application.value();
    m_application->setCurrentIndex(m_application->findData(static_cast<int>(application)));
    m_vault->setVisible(application == Application::Vault);
    m_vaultPath->setPath(m_choice->vaultPath.value());
    m_defaultVault->setEnabled(!m_choice->isDefaultVault());
}

void NotesGroup::addAccessRow(Group& group) {
    m_accessRow = new QWidget(this);
    auto* const row = new QHBoxLayout(m_accessRow);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(
        new TextLabel(tr("Automation permission required"), TextStyle::Subheadline, Ink::Secondary, m_accessRow), 1);
    m_waiting = new Spinner(tr("Waiting for your answer"), 16, m_accessRow);
    row->addWidget(m_waiting);
    m_allow = makeButton(tr("Allow"), ButtonRole::Bordered, {}, m_accessRow);
    row->addWidget(m_allow);
    group.contents()->addWidget(m_accessRow);
    m_refused = new TextLabel(tr("The notes application did not give access. Is it running, and does it ask you there "
                                 "whether to allow Quillet? In Joplin, the Web Clipper service has to be switched on."),
                              TextStyle::Caption, Ink::Secondary, this);
    group.contents()->addWidget(m_refused);
    m_unusable = new TextLabel(tr("Quillet cannot write to the notes folder. Please choose another one."),
                               TextStyle::Caption, Ink::Red, this);
    group.contents()->addWidget(m_unusable);
    connect(m_allow, &QPushButton::clicked, this, [this] { m_model->allowAccess(); });
}

void NotesGroup::showAccess() {
    const auto row = m_model->accessRow();
    const bool isAsking = m_model->services().permissions->isAskingForAutomation.value();
    m_accessRow->setVisible(row == SettingsModel::AccessRow::AskForAccess);
    m_waiting->setVisible(isAsking);
    m_allow->setEnabled(!isAsking);
    // Where the system has a place for such permissions it was opened instead.
    m_refused->setVisible(m_choice && row == SettingsModel::AccessRow::AskForAccess &&
                          m_model->accessWasRefused.value());
    m_unusable->setVisible(row == SettingsModel::AccessRow::FolderUnusable);
}

void NotesGroup::addFolderRow(Group& group) {
    auto* const row = new FlowRow;
    m_folder = new Picker(this);
    TextLabel* const label = m_folder->makeLabel(tr("Folder"));
    if (m_applicationLabel) alignLabels({m_applicationLabel, label});
    row->addWidget(label);
    row->addWidget(m_folder);
    m_loading = new QWidget(this);
    auto* const spinner = new QHBoxLayout(m_loading);
    spinner->setContentsMargins(0, 0, 0, 0);
    spinner->addWidget(new Spinner(tr("Loading folders"), 16, m_loading), 0, Qt::AlignCenter);
    m_loading->setMinimumWidth(100);
    m_loading->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    row->addWidget(m_loading);
    QPushButton* const refresh = makeButton(tr("Refresh"), ButtonRole::Bordered, {}, this);
    row->addWidget(refresh);
    group.contents()->addLayout(row);

    m_loadFailed =
        new TextLabel(tr("Could not load Notes folders. Grant Automation permission for Notes and try Refresh again."),
                      TextStyle::Caption, Ink::Red, this);
    group.contents()->addWidget(m_loadFailed);
    m_noFolders = new TextLabel(tr("No folders yet"), TextStyle::Caption, Ink::Secondary, this);
    group.contents()->addWidget(m_noFolders);

    auto* const last = new QHBoxLayout;
    QPushButton* const create =
        makeButton(tr("Create New Folder"), ButtonRole::Plain, QStringLiteral("folder.badge.plus"), this);
    setTextStyle(*create, TextStyle::Caption);
    last->addWidget(create);
    last->addStretch();
    group.contents()->addLayout(last);

    connect(m_folder, &QComboBox::activated, this,
            [this](int index) { m_model->selectNotesFolder(m_folder->itemData(index).toString()); });
    connect(refresh, &QPushButton::clicked, this, [this] { m_model->refreshFolders(); });
    connect(create, &QPushButton::clicked, this, [this] { m_model->openNewFolderSheet(); });
}

void NotesGroup::showFolders() {
    const bool isLoading = m_model->services().store->isLoadingFolders.value();
    m_folder->setVisible(!isLoading);
    m_loading->setVisible(isLoading);
    const auto remark = m_model->foldersRemark();
    m_loadFailed->setVisible(remark == SettingsModel::FoldersRemark::LoadFailed);
    m_noFolders->setVisible(remark == SettingsModel::FoldersRemark::NoFoldersYet);
    if (isLoading) return;
    std::vector<Picker::Item> items;
    for (const QString& name : m_model->notesFolderOptions())
        items.push_back({.text = name.isEmpty() ? tr("Default") : name, .data = name});
    m_folder->setItems(items, m_model->selectedNotesFolder.value());
}

} // namespace quillet
