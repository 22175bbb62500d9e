#include "settings/ui/GeneralSection.h"

#include "settings/ui/NotesGroup.h"
#include "settings/ui/PathBox.h"
#include "settings/ui/Picker.h"
#include "settings/ui/SwitchRow.h"
#include "support/Characters.h"
#include "support/ShownText.h"
#include "widgets/FlowRow.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <utility>
#include <vector>

namespace quillet {

GeneralSection::GeneralSection(std::shared_ptr<SettingsModel> model, std::shared_ptr<NotesChoiceModel> notesChoice,
                               std::shared_ptr<SoundChoiceModel> soundChoice, QWidget* parent)
    : QWidget(parent), m_model(std::move(model)), m_soundChoice(std::move(soundChoice)) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(20);
    column->addWidget(new TextLabel(tr("General"), TextStyle::Title, Ink::Label, this));
    column->addWidget(makeRecordingLocation());
    if (m_soundChoice) column->addWidget(makeSound());
    auto* const notes = new NotesGroup(m_model, std::move(notesChoice), this);
    notes->layout()->addWidget(makeNotStored(m_model->notesFolderWasNotStored));
    column->addWidget(notes);
    column->addWidget(makeStartup());
    column->addWidget(makeDivider(this));
    auto* const last = new QHBoxLayout;
    QPushButton* const quit = makeButton(tr("Quit Quillet"), ButtonRole::Bordered, {}, this);
    connect(quit, &QPushButton::clicked, this, [this] { m_model->quit(); });
    last->addWidget(quit);
    last->addStretch();
    column->addLayout(last);
    column->addStretch();
}

QWidget* GeneralSection::makeRecordingLocation() {
    auto* const group = new Group(tr("Recording Location"), this);
    auto* const path = new PathBox(tr("Recording Location"), group);
    group->contents()->addWidget(path);
    auto* const unusable = new TextLabel(tr("This folder takes no files. Recordings go to the default folder instead."),
                                         TextStyle::Caption, Ink::Orange, group);
    group->contents()->addWidget(unusable);
    group->contents()->addWidget(makeNotStored(m_model->services().store->recordingFolderWasNotStored));
    auto* const buttons = new FlowRow;
    QPushButton* const change = makeButton(tr("Change…"), ButtonRole::Bordered, {}, group);
    QPushButton* const standard = makeButton(tr("Use default"), ButtonRole::Bordered, {}, group);
    for (QPushButton* const button : {change, standard}) {
        button->setAccessibleDescription(tr("Recording Location"));
        buttons->addWidget(button);
    }
    group->contents()->addLayout(buttons);

    m_model->services().store->recordingPath.subscribe(this, [this, path](const QString& shown) {
        path->setPath(shown);
        m_model->checkRecordingsFolder();
    });
    m_model->isRecordingsFolderUnusable.subscribe(
        this, [unusable](const std::optional<bool>& isSaid) { unusable->setVisible(isSaid.value_or(false)); });
    connect(change, &QPushButton::clicked, this, [this] { m_model->services().store->chooseRecordingsFolder(); });
    connect(standard, &QPushButton::clicked, this, [this] { m_model->useDefaultRecordingsFolder(); });
    return group;
}

QWidget* GeneralSection::makeSound() {
    auto* const group = new Group(tr("Sound"), this);
    alignLabels({addSoundRow(*group, tr("Computer sound"), SoundDevice::Kind::Output),
                 addSoundRow(*group, tr("Microphone"), SoundDevice::Kind::Input)});
    auto* const problem = new TextLabel({}, TextStyle::Caption, Ink::Orange, group);
    group->contents()->addWidget(problem);
    m_soundChoice->problem.subscribe(this, [problem](const QString& reason) {
        problem->setText(tr("The sound devices cannot be listed: %1.").arg(breakable(shownText(reason))));
        problem->setVisible(!reason.isEmpty());
    });
    group->contents()->addWidget(makeNotStored(m_soundChoice->wasNotStored));
    return group;
}

QLabel* GeneralSection::addSoundRow(Group& group, const QString& title, SoundChoiceModel::Kind kind) {
    auto* const row = new FlowRow;
    auto* const picker = new Picker(&group);
    TextLabel* const label = picker->makeLabel(title);
    row->addWidget(label);
    row->addWidget(picker);
    group.contents()->addLayout(row);
    m_soundChoice->devices.subscribe(this, [this, picker, kind](const std::vector<SoundDevice>&) {
        std::vector<Picker::Item> items;
        for (const auto& option : m_soundChoice->options(kind)) {
            QString text = option.name.isEmpty() ? tr("Follow the system") : option.label;
            if (option.isMissing) text = tr("%1 (not connected)").arg(text);
            items.push_back({.text = text, .data = option.name});
        }
        picker->setItems(items, m_soundChoice->chosen(kind));
    });
    connect(picker, &QComboBox::activated, this, [this, picker, kind](int index) {
        m_soundChoice->choose(kind, picker->itemData(index).toString());
        picker->setCurrentIndex(std::max(0, picker->findData(m_soundChoice->chosen(kind)))); // it may not be stored
    });
    return label;
}

QWidget* GeneralSection::makeNotStored(Published<bool>& wasNotStored) {
    auto* const remark = new TextLabel(tr("The choice could not be stored. The previous one stays."),
                                       TextStyle::Caption, Ink::Red, this);
    wasNotStored.subscribe(this, [remark](bool shown) { remark->setVisible(shown); });
    return remark;
}

QWidget* GeneralSection::makeStartup() {
    auto* const group = new Group(tr("Startup"), this);
    QCheckBox* const launch = addSwitchRow(*group->contents(), tr("Launch at login"), {}, group);
    m_model->launchAtLogin.subscribe(this, [launch](bool enabled) { launch->setChecked(enabled); });
    connect(launch, &QCheckBox::clicked, this, [this](bool enabled) { m_model->setLaunchAtLogin(enabled); });
    return group;
}

} // namespace quillet
