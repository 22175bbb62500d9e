#pragma once

#include "support/Published.h"
#include "templates/TemplateManager.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillet {

/// Asks the user, without holding up the program, where to save a JSON file; calls back on the main thread with the
/// path, and not at all when the user thinks better of it. The proposed name may hold anything a template's name does.
using TemplateSavePanel =
    std::function<void(const QString& proposedName, std::function<void(const QString& path)> confirmed)>;

/// What the templates tab shows and decides, without its widgets: which sheet is open, which template is being edited,
/// what the preview says. The tab owns it; the manager behind it is the program's. Main thread only. Nothing is
/// reported: an export that cannot be written is dropped.
class TemplatesTabModel {
public:
    TemplatesTabModel(std::shared_ptr<TemplateManager> templateManager, TemplateSavePanel savePanel);

    const std::shared_ptr<TemplateManager> templateManager;

    Published<bool> isEditing{false};
    Published<bool> showNewTemplateSheet{false};
    Published<bool> showPreviewSheet{false};

    [[nodiscard]] const std::optional<MeetingTemplate>& selectedTemplate() const { return m_selectedTemplate; }
    [[nodiscard]] const QString& editingName() const { return m_editingName; }
    [[nodiscard]] const QString& editingContent() const { return m_editingContent; }
    /// Of the last row that was previewed, not of the active template.
    [[nodiscard]] const QString& previewContent() const { return m_previewContent; }

    [[nodiscard]] bool canShowPreview() const { return templateManager->selectedTemplateId.value().has_value(); }

    /// The picker's choice; no value changes nothing.
    void choose(const std::optional<QUuid>& id);
    void saveNewTemplate(const QString& name, const QString& content);
    void startEditing(const MeetingTemplate& meetingTemplate);
    void saveEditedTemplate(const QString& name, const QString& content);
    void showPreview(const MeetingTemplate& meetingTemplate);
    void exportTemplate(const MeetingTemplate& meetingTemplate) const;

private:
    const TemplateSavePanel m_savePanel;
    std::optional<MeetingTemplate> m_selectedTemplate;
    QString m_editingName;
    QString m_editingContent;
    QString m_previewContent;
};

} // namespace quillet
