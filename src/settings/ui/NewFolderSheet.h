#pragma once

#include "settings/SettingsModel.h"
#include "widgets/Sheet.h"

#include <memory>

namespace quillet {

/// Asks for the name of a new folder for notes. It closes when the model says so.
class NewFolderSheet final : public Sheet {
    Q_OBJECT
public:
    NewFolderSheet(std::shared_ptr<SettingsModel> model, QWidget* parent);
    /// Also when it goes with its window.
    ~NewFolderSheet() override;

private:
    const std::shared_ptr<SettingsModel> m_model;
};

} // namespace quillet
