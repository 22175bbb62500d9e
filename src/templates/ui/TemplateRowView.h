#pragma once

#include "templates/MeetingTemplate.h"

#include <QWidget>

#include <functional>
#include <vector>

class QAbstractButton;
class QBoxLayout;

namespace quillet {

/// What the user can do with one template.
struct TemplateRowActions {
    std::function<void()> onSelect;
    std::function<void()> onEdit;
    std::function<void()> onDelete;
    std::function<void()> onExport;
    std::function<void()> onPreview;
};

/// One template in the list: its name with the selection mark, and buttons for what can be done with it; a built-in
/// one can be selected and previewed only. Owned by the list, which makes rows as they come into view; a row shows one
/// template for its whole life. Main thread; nothing fails.
class TemplateRowView final : public QWidget {
    Q_OBJECT
public:
    /// What can be done stands beside the name, or below it where there is no room for both.
    enum class Form { OneLine, TwoLines };

    TemplateRowView(const MeetingTemplate& meetingTemplate, bool isSelected, const TemplateRowActions& actions,
                    QWidget* parent);

    [[nodiscard]] const MeetingTemplate& meetingTemplate() const { return m_template; }
    [[nodiscard]] bool isSelected() const { return m_isSelected; }
    void setSelected(bool isSelected);
    void setForm(Form form);
    /// At the present text size.
    [[nodiscard]] static int heightOf(Form form);

    /// From the leading to the trailing side: the name first.
    [[nodiscard]] const std::vector<QAbstractButton*>& controls() const { return m_controls; }
    /// Whether the Tab key stops here.
    void setTabStop(bool isTabStop);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void addIconButton(const QString& name, const QString& symbol, const std::function<void()>& action);

    const MeetingTemplate m_template;
    bool m_isSelected;
    std::vector<QAbstractButton*> m_controls;
    QBoxLayout* m_lines; ///< the name, then the icons
    QBoxLayout* m_icons;
};

} // namespace quillet
