#include "templates/ui/PreviewSheet.h"

#include "templates/ui/TextArea.h"
#include "widgets/Controls.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QVBoxLayout>

namespace quillet {

PreviewSheet::PreviewSheet(const QString& content, const std::function<void()>& onDismiss, QWidget* parent)
    : Sheet(tr("Template Preview"), parent), m_content(content), m_onDismiss(onDismiss) {
    auto* const view = new TextArea(tr("Template Preview"), this);
    view->setReadOnly(true);
    view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    view->setPlainText(m_content);
    contents()->addWidget(view, 1);

    connect(addButton(tr("Copy")), &QPushButton::clicked, this, [this] {
        QGuiApplication::clipboard()->clear();
        QGuiApplication::clipboard()->setText(m_content);
    });
    QPushButton* const done = addDefaultButton(tr("Done"));
    connect(done, &QPushButton::clicked, this, m_onDismiss);
    resize(Theme::shared().scaled(600), Theme::shared().scaled(520));
    done->setFocus();
}

void PreviewSheet::reject() { m_onDismiss(); }

} // namespace quillet
