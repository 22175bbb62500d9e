#include "templates/ui/TemplateEditorSheet.h"

#include "support/Require.h"
#include "templates/Placeholders.h"
#include "templates/ui/TextArea.h"
#include "widgets/Controls.h"
#include "widgets/FlowRow.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLineEdit>
#include <QPainter>
#include <QTextDocument>
#include <QVBoxLayout>

#include <limits>

namespace quillet {
namespace {

/// Below a plain button, so that a placeholder looks like something to pick up.
class TokenGround final : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* const button = qobject_cast<QWidget*>(watched);
        if (button && event->type() == QEvent::Paint) {
            QPainter painter(button);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.setBrush(Theme::shared().fill(Fill::Control));
            const double radius = Theme::shared().scaled(5);
            painter.drawRoundedRect(QRectF(button->rect()), radius, radius);
        }
        return false;
    }
};

QString defaultContent() {
    const auto& builtIn = MeetingTemplate::builtInTemplates();
    require(!builtIn.empty(), "there are no built-in templates");
    return builtIn.front().content;
}

} // namespace

TemplateEditorSheet::TemplateEditorSheet(const QString& title, const QString& name, const QString& content,
                                         const OnSave& onSave, const std::function<void()>& onCancel, QWidget* parent)
    : Sheet(title, parent),
      m_givenName(name),
      m_givenContent(content),
      m_name(new QLineEdit(this)),
      m_content(new TextArea(tr("Template Content"), this)) {
    addFields();
    addPlaceholders();
    addButtons(onSave, onCancel);
    resize(Theme::shared().scaled(600), Theme::shared().scaled(580));
    m_name->setFocus();
}

QVBoxLayout& TemplateEditorSheet::addCaptioned(const QString& caption) {
    auto* const column = new QVBoxLayout;
    column->setSpacing(4);
    column->addWidget(new TextLabel(caption, TextStyle::Caption, Ink::Secondary, this));
    contents()->addLayout(column);
    return *column;
}

void TemplateEditorSheet::addFields() {
    m_name->setAccessibleName(tr("Template Name"));
    m_name->setMaxLength(std::numeric_limits<int>::max()); // else a long name is cut without a word
    m_name->setText(m_givenName);
    m_shownName = m_name->text();
    addCaptioned(tr("Template Name")).addWidget(m_name);

    m_content->setPlainText(m_givenContent);
    m_shownContent = m_content->document()->toRawText();
    contents()->addWidget(m_content, 1);
}

void TemplateEditorSheet::addPlaceholders() {
    auto* const flow = new FlowRow(Theme::shared().scaled(8));
    auto* const ground = new TokenGround(this);
    for (const Placeholder& placeholder : placeholderReference()) {
        QPushButton* const button = makeButton(placeholder.text, ButtonRole::Plain, {}, this);
        setTextStyle(*button, TextStyle::Monospaced);
        button->setToolTip(QCoreApplication::translate("Placeholders", placeholder.description));
        button->setAccessibleDescription(button->toolTip());
        button->installEventFilter(ground);
        connect(button, &QPushButton::clicked, this, [this, text = placeholder.text] { append(text); });
        flow->addWidget(button);
    }
    addCaptioned(tr("Placeholders")).addLayout(flow);
}

void TemplateEditorSheet::addButtons(const OnSave& onSave, const std::function<void()>& onCancel) {
    connect(addCancelButton(tr("Cancel")), &QPushButton::clicked, this, onCancel);
    QPushButton* const save = addDefaultButton(tr("Save"));
    connect(save, &QPushButton::clicked, this, [this, onSave] { onSave(name(), content()); });
    const auto update = [this, save] { save->setEnabled(!m_name->text().isEmpty()); };
    connect(m_name, &QLineEdit::textChanged, save, update);
    update();
}

void TemplateEditorSheet::append(const QString& placeholder) {
    QTextCursor end(m_content->document()); // one of its own: the user's stays where it is
    end.movePosition(QTextCursor::End);
    end.insertText(placeholder);
}

// What is shown decides, not the fields' own notes of having been edited: what assistive technology enters leaves none.
QString TemplateEditorSheet::name() const {
    const QString text = m_name->text();
    return text == m_shownName ? m_givenName : text;
}

QString TemplateEditorSheet::content() const {
    // Not toPlainText(), which turns no-break spaces into ordinary ones.
    QString text = m_content->document()->toRawText();
    if (text == m_shownContent) return m_givenContent;
    for (QChar& c : text) {
        if (c == QChar::ParagraphSeparator || c == QChar::LineSeparator) c = QLatin1Char('\n');
    }
    return text;
}

NewTemplateSheet::NewTemplateSheet(const OnSave& onSave, const std::function<void()>& onCancel, QWidget* parent)
    : TemplateEditorSheet(tr("New Template"), {}, defaultContent(), onSave, onCancel, parent) {}

EditTemplateSheet::EditTemplateSheet(const std::optional<MeetingTemplate>& meetingTemplate, const OnSave& onSave,
                                     const std::function<void()>& onCancel, QWidget* parent)
    : TemplateEditorSheet(tr("Edit Template"), meetingTemplate ? meetingTemplate->name : QString(),
                          meetingTemplate ? meetingTemplate->content : QString(), onSave, onCancel, parent) {}

} // namespace quillet
