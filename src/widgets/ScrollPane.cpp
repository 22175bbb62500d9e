#include "widgets/ScrollPane.h"

#include "widgets/Theme.h"

#include <QPainter>
#include <QScrollBar>

namespace quillet {

ScrollPane::ScrollPane(const QString& accessibleName, QWidget* contents, QWidget* parent) : QScrollArea(parent) {
    setAccessibleName(accessibleName);
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    setWidget(contents);
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this,
            [this](int least, int most) { setFocusPolicy(most > least ? Qt::TabFocus : Qt::NoFocus); });
}

void ScrollPane::focusInEvent(QFocusEvent* event) {
    QScrollArea::focusInEvent(event);
    viewport()->update();
}

void ScrollPane::focusOutEvent(QFocusEvent* event) {
    QScrollArea::focusOutEvent(event);
    viewport()->update();
}

void ScrollPane::paintEvent(QPaintEvent* event) {
    QScrollArea::paintEvent(event);
    if (!hasFocus()) return;
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::shared().ink(Ink::Accent), 2));
    painter.drawRoundedRect(QRectF(viewport()->rect()).adjusted(2, 2, -2, -2), 6, 6);
}

} // namespace quillet
