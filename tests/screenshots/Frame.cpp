#include "Frame.h"

#include "widgets/Theme.h"

#include <QPainter>
#include <QPainterPath>

namespace quillet::test {
namespace {

constexpr int kRoom = 20;
constexpr int kTitleBar = 34;
constexpr int kRadius = 10;
constexpr int kShadow = 14;

QSizeF sizeOf(const QPixmap& picture) { return QSizeF(picture.size()) / picture.devicePixelRatio(); }

QColor ground() {
    return Theme::shared().colorScheme() == ColorScheme::Dark ? QColor(0x46, 0x4a, 0x54) : QColor(0xd9, 0xdd, 0xe5);
}

QPixmap emptyGround(QSizeF size, qreal ratio) {
    QPixmap picture((size * ratio).toSize());
    picture.setDevicePixelRatio(ratio);
    picture.fill(ground());
    return picture;
}

void paintShadow(QPainter& painter, const QRectF& window) {
    painter.setPen(Qt::NoPen);
    for (int ring = kShadow; ring > 0; --ring) {
        painter.setBrush(QColor(0, 0, 0, 1 + (kShadow - ring) / 3));
        painter.drawRoundedRect(window.adjusted(-ring, 3 - ring, ring, 3 + ring), kRadius + ring, kRadius + ring);
    }
}

} // namespace

QPixmap framed(const QPixmap& window, const QString& title) {
    const Theme& theme = Theme::shared();
    const QRectF frame(QPointF(kRoom, kRoom), sizeOf(window) + QSizeF(0, kTitleBar));
    QPixmap picture = emptyGround(frame.size() + QSizeF(2 * kRoom, 2 * kRoom), window.devicePixelRatio());
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    paintShadow(painter, frame);
    QPainterPath shape;
    shape.addRoundedRect(frame, kRadius, kRadius);
    painter.setClipPath(shape);
    painter.fillPath(shape, theme.fill(Fill::Window));
    const QRectF bar(frame.topLeft(), QSizeF(frame.width(), kTitleBar));
    painter.setFont(theme.font(TextStyle::SubheadlineMedium));
    painter.setPen(theme.ink(Ink::Secondary));
    painter.drawText(bar, Qt::AlignCenter, title);
    painter.fillRect(QRectF(bar.left(), bar.bottom() - 1, bar.width(), 1), theme.fill(Fill::Border));
    painter.drawPixmap(bar.bottomLeft(), window);
    return picture;
}

QPixmap onGround(const QPixmap& window) {
    QPixmap picture = emptyGround(sizeOf(window) + QSizeF(kRoom, kRoom), window.devicePixelRatio());
    QPainter(&picture).drawPixmap(QPointF(kRoom / 2.0, kRoom / 2.0), window);
    return picture;
}

} // namespace quillet::test
