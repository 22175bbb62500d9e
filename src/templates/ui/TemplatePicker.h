#pragma once

#include "templates/MeetingTemplate.h"
#include "widgets/ComboBox.h"

#include <functional>
#include <optional>
#include <vector>

namespace quillet {

/// The menu of all templates with the active one as its current entry; none is current when the active id names no
/// template. Owned by the tab; main thread; nothing fails.
class TemplatePicker final : public ComboBox {
    Q_OBJECT
public:
    /// onChoose is told what the user chooses, also when it is the current entry again.
    explicit TemplatePicker(std::function<void(const QUuid&)> onChoose, QWidget* parent = nullptr);

    void setTemplates(const std::vector<MeetingTemplate>& templates);
    void setSelectedId(const std::optional<QUuid>& id);

private:
    class Entries;
    void showSelection();

    Entries* const m_entries;
    std::optional<QUuid> m_selectedId;
};

} // namespace quillet
