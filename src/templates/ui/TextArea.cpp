#include "templates/ui/TextArea.h"

#include "widgets/Controls.h"
#include "widgets/Theme.h"

#include <QEvent>
#include <QPainter>
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
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Theme::shared().fill(Fill::Card));
    painter.setPen(hasFocus() ? QPen(Theme::shared().ink(Ink::Accent), 2)
                              : QPen(Theme::shared().fill(Fill::Border), 1));
    const double radius = Theme::shared().scaled(6);
    const double inset = hasFocus() ? 1 : 0.5;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius, radius);
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
