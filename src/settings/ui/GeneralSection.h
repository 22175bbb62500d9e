#pragma once

#include "settings/NotesChoiceModel.h"
#include "settings/SettingsModel.h"
#include "settings/SoundChoiceModel.h"
#include "widgets/Controls.h"

#include <memory>

namespace quillet {

/// The general settings: where recordings go, what is recorded, notes, starting at login, and the way out.
class GeneralSection final : public QWidget {
    Q_OBJECT
public:
    /// What there is no model for is left out.
    GeneralSection(std::shared_ptr<SettingsModel> model, std::shared_ptr<NotesChoiceModel> notesChoice,
                   std::shared_ptr<SoundChoiceModel> soundChoice, QWidget* parent = nullptr);

private:
    [[nodiscard]] QWidget* makeRecordingLocation();
    [[nodiscard]] QWidget* makeSound();
    QLabel* addSoundRow(Group& group, const QString& title, SoundChoiceModel::Kind kind);
    /// Says so while the last choice was not stored.
    [[nodiscard]] QWidget* makeNotStored(Published<bool>& wasNotStored);
    [[nodiscard]] QWidget* makeStartup();

    const std::shared_ptr<SettingsModel> m_model;
    const std::shared_ptr<SoundChoiceModel> m_soundChoice;
};

} // namespace quillet
