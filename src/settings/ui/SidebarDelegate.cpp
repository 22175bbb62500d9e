#include "settings/ui/SidebarDelegate.h"

#include "widgets/Symbol.h"

#include <QPainter>

namespace quillet {
namespace {

constexpr int kMargin = 10; ///< beside the ground
constexpr int kPadding = 8; ///< between the ground's edge and what is on it
constexpr int kGap = 8;
constexpr double kRadius = 7;

int symbolSide() { return Theme::shared().scaled(18); }

} // namespace

QSize SidebarDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const {
    const QFontMetrics metrics(Theme::shared().font(TextStyle::Body));
    const int text = metrics.horizontalAdvance(index.data().toString());
    return {text + symbolSide() + kGap + 2 * (kMargin + kPadding) + 2, metrics.height() + Theme::shared().scaled(18)};
}

void SidebarDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const Theme& theme = Theme::shared();
    const bool isSelected = option.state & QStyle::State_Selected;
    const bool showsFocus =
        (option.state & QStyle::State_HasFocus) && (option.state & QStyle::State_KeyboardFocusChange);
    const QRectF ground = QRectF(option.rect).adjusted(kMargin, 2, -kMargin, -2);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(showsFocus ? QPen(theme.ink(Ink::Accent), 2) : QPen(Qt::NoPen));
    painter->setBrush(isSelected                               ? theme.fill(Fill::Selection)
                      : option.state & QStyle::State_MouseOver ? theme.fill(Fill::Control)
                                                               : QColor(Qt::transparent));
    painter->drawRoundedRect(ground, kRadius, kRadius);

    const int side = symbolSide();
    const auto left = static_cast<int>(ground.left()) + kPadding;
    const QRect symbol(left, option.rect.center().y() - side / 2 + 1, side, side);
    painter->drawPixmap(symbol, symbolPixmap(index.data(kSymbolRole).toString(), side,
                                             painter->device()->devicePixelRatioF(), theme.ink(Ink::Accent)));
    painter->setFont(theme.font(TextStyle::Body));
    painter->setPen(theme.ink(Ink::Label));
    const QRect text = QRect(option.rect).adjusted(symbol.right() + kGap - option.rect.left(), 0, -kMargin, 0);
    painter->drawText(text, Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine, index.data().toString());
    painter->restore();
}

} // namespace quillet
