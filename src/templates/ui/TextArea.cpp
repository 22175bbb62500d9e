#include "templates/ui/TextArea.h"

#include "widgets/Controls.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <QTextDocument>

namespace quillet {

TextArea::TextArea(const QString& accessibleName, QWidget* parent) : QPlainTextEdit(parent) {
    constexpr int kMargin = 4;
    setAccessibleName(accessibleName);
    setTextStyle(*this, TextStyle::Monospaced);
    setTabChangesFocus(true);
    setFrameShape(NoFrame);
    setViewportMargins(kMargin, kMargin, kMargin, kMargin);
    viewport()->setAutoFillBackground(false);
}

bool TextArea::event(QEvent* event) {
    if (event->type() != QEvent::Paint) return QPlainTextEdit::event(event);
    QPainter painter(this);
    QStyleOption field;
    field.initFrom(this);
    style()->drawPrimitive(QStyle::PE_PanelLineEdit, &field, &painter, this);
    return true;
}

void TextArea::focusInEvent(QFocusEvent* event) {
    QPlainTextEdit::focusInEvent(event);
    update();
}

void TextArea::focusOutEvent(QFocusEvent* event) {
    QPlainTextEdit::focusOutEvent(event);
    update();
}

} // namespace quillet
