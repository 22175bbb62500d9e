#include "templates/TemplatesTabModel.h"

#include "templates/TemplateFiles.h"
#include "templates/TemplateRecords.h"

#include <utility>

namespace quillet {

TemplatesTabModel::TemplatesTabModel(std::shared_ptr<TemplateManager> manager, TemplateSavePanel savePanel)
    : templateManager(std::move(manager)), m_savePanel(std::move(savePanel)) {}

void TemplatesTabModel::choose(const std::optional<QUuid>& id) {
    if (id) templateManager->selectTemplate(*id);
}

void TemplatesTabModel::saveNewTemplate(const QString& name, const QString& content) {
    templateManager->addTemplate({.id = QUuid::createUuid(), .name = name, .content = content});
    showNewTemplateSheet.set(false);
}

void TemplatesTabModel::startEditing(const MeetingTemplate& meetingTemplate) {
    m_selectedTemplate = meetingTemplate;
    m_editingName = meetingTemplate.name;
    m_editingContent = meetingTemplate.content;
    isEditing.set(true);
}

void TemplatesTabModel::saveEditedTemplate(const QString& name, const QString& content) {
    if (!m_selectedTemplate) return;
    MeetingTemplate edited = *m_selectedTemplate;
    edited.name = name;
    edited.content = content;
    templateManager->updateTemplate(edited);
    isEditing.set(false);
}

void TemplatesTabModel::showPreview(const MeetingTemplate& meetingTemplate) {
    m_previewContent = templateManager->previewTemplate(meetingTemplate);
    showPreviewSheet.set(true);
}

void TemplatesTabModel::exportTemplate(const MeetingTemplate& meetingTemplate) const {
    m_savePanel(meetingTemplate.name + QStringLiteral(".json"),
                [json = TemplateRecords::encode(meetingTemplate)](const QString& path) {
                    (void)TemplateFiles::write(path, json); // nobody is told, by design
                });
}

} // namespace quillet
