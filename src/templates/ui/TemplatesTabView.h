#pragma once

#include "templates/TemplatesTabModel.h"

#include <QWidget>

#include <memory>

class QPushButton;
class QVBoxLayout;

namespace quillet {

class FileDialogs;
class Sheet;
class TemplateListView;
class TemplatePicker;

/// The Templates section of the settings: the active template, the list of all, and the sheets for new, edited and
/// previewed ones. It shows its model and tells it what the user does; an open sheet goes away with the section, as if
/// it had been cancelled. Main thread; nothing fails.
class TemplatesTabView final : public QWidget {
    Q_OBJECT
public:
    explicit TemplatesTabView(std::shared_ptr<TemplatesTabModel> model, QWidget* parent = nullptr);
    /// dialogs: the desktop's, for exports; null: the toolkit's.
    TemplatesTabView(std::shared_ptr<TemplateManager> manager, FileDialogs* dialogs, QWidget* parent = nullptr);
    ~TemplatesTabView() override;

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void addPicker(QVBoxLayout& column);
    void addList(QVBoxLayout& column);
    void addButtons(QVBoxLayout& column);
    void subscribe();
    /// Opens a sheet while the value is true; at most one of each kind.
    void bindSheet(Published<bool>& isShown, std::function<Sheet*()> make);

    void closeSheets();

    const std::shared_ptr<TemplatesTabModel> m_model;
    TemplatePicker* m_picker = nullptr;
    TemplateListView* m_list = nullptr;
    QPushButton* m_preview = nullptr;
};

} // namespace quillet
