#include "templates/ui/TemplatesTabView.h"

#include "templates/ui/PreviewSheet.h"
#include "templates/ui/TemplateEditorSheet.h"
#include "templates/ui/TemplateListView.h"
#include "templates/ui/TemplatePicker.h"
#include "templates/ui/TemplateSaveDialog.h"
#include "widgets/Controls.h"
#include "widgets/FlowRow.h"

#include <QHideEvent>
#include <QPointer>
#include <QVBoxLayout>

#include <utility>

namespace quillet {

TemplatesTabView::TemplatesTabView(std::shared_ptr<TemplatesTabModel> model, QWidget* parent)
    : QWidget(parent), m_model(std::move(model)) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(12);
    addPicker(*column);
    column->addWidget(makeDivider(this));
    addList(*column);
    addButtons(*column);
    subscribe();
}

TemplatesTabView::TemplatesTabView(std::shared_ptr<TemplateManager> manager, QWidget* parent)
    : TemplatesTabView(std::make_shared<TemplatesTabModel>(
                           std::move(manager),
                           [this](const QString& proposedName, std::function<void(const QString&)> confirmed) {
                               showTemplateSaveDialog(this, proposedName, std::move(confirmed));
                           }),
                       parent) {}

TemplatesTabView::~TemplatesTabView() { closeSheets(); }

void TemplatesTabView::addPicker(QVBoxLayout& column) {
    auto* const row = new FlowRow(12);
    auto* const label = new TextLabel(tr("Active Template"), TextStyle::Body, Ink::Label, this);
    label->setWordWrap(false);
    row->addWidget(label);
    m_picker = new TemplatePicker([this](const QUuid& id) { m_model->choose(id); }, this);
    m_picker->setAccessibleName(tr("Active Template"));
    m_picker->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_picker->setMinimumContentsLength(5);
    label->setBuddy(m_picker);
    row->addWidget(m_picker);
    column.addLayout(row);
}

void TemplatesTabView::addList(QVBoxLayout& column) {
    column.addWidget(new TextLabel(tr("Templates"), TextStyle::Subheadline, Ink::Secondary, this));
    m_list = new TemplateListView(
        [this](const MeetingTemplate& each) {
            return TemplateRowActions{
                .onSelect = [this, id = each.id] { m_model->choose(id); },
                .onEdit = [this, each] { m_model->startEditing(each); },
                .onDelete = [this, id = each.id] { m_model->templateManager->deleteTemplate(id); },
                .onExport = [this, each] { m_model->exportTemplate(each); },
                .onPreview = [this, each] { m_model->showPreview(each); }};
        },
        this);
    m_list->setAccessibleName(tr("Templates"));
    column.addWidget(m_list, 1);
}

void TemplatesTabView::addButtons(QVBoxLayout& column) {
    auto* const row = new FlowRow;
    QPushButton* const add = makeButton(tr("New Template"), ButtonRole::Bordered, QStringLiteral("plus"), this);
    connect(add, &QPushButton::clicked, this, [this] { m_model->showNewTemplateSheet.set(true); });
    row->addWidget(add);
    m_preview = makeButton(tr("Preview"), ButtonRole::Bordered, {}, this);
    connect(m_preview, &QPushButton::clicked, this, [this] { m_model->showPreviewSheet.set(true); });
    row->addWidget(m_preview);
    column.addLayout(row);
}

void TemplatesTabView::subscribe() {
    TemplateManager& manager = *m_model->templateManager;
    manager.customTemplates.subscribe(this, [this](const auto&) {
        const auto all = m_model->templateManager->allTemplates();
        m_picker->setTemplates(all);
        m_list->setTemplates(all);
    });
    manager.selectedTemplateId.subscribe(this, [this](const std::optional<QUuid>& id) {
        m_picker->setSelectedId(id);
        m_list->setSelectedId(id);
        m_preview->setEnabled(m_model->canShowPreview());
    });
    bindSheet(m_model->showNewTemplateSheet, [this]() -> Sheet* {
        return new NewTemplateSheet(
            [this](const QString& name, const QString& content) { m_model->saveNewTemplate(name, content); },
            [this] { m_model->showNewTemplateSheet.set(false); }, this);
    });
    bindSheet(m_model->isEditing, [this]() -> Sheet* {
        return new EditTemplateSheet(
            m_model->selectedTemplate(),
            [this](const QString& name, const QString& content) { m_model->saveEditedTemplate(name, content); },
            [this] { m_model->isEditing.set(false); }, this);
    });
    bindSheet(m_model->showPreviewSheet, [this]() -> Sheet* {
        return new PreviewSheet(
            m_model->previewContent(), [this] { m_model->showPreviewSheet.set(false); }, this);
    });
}

void TemplatesTabView::bindSheet(Published<bool>& isShown, std::function<Sheet*()> make) {
    const auto open = std::make_shared<QPointer<Sheet>>();
    isShown.subscribe(this, [open, make = std::move(make)](bool shown) {
        if (shown && !*open) {
            *open = make();
            (*open)->show();
        } else if (!shown && *open) {
            Sheet* const closing = std::exchange(*open, nullptr);
            closing->done(QDialog::Accepted);
        }
    });
}

void TemplatesTabView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) closeSheets(); // minimised, it comes back as it was
}

void TemplatesTabView::closeSheets() {
    for (Published<bool>* shown : {&m_model->showNewTemplateSheet, &m_model->isEditing, &m_model->showPreviewSheet}) {
        if (shown->value()) shown->set(false);
    }
}

} // namespace quillet
