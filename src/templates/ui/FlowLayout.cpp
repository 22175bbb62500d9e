#include "templates/ui/FlowLayout.h"

#include <QStyle>
#include <QWidget>

#include <algorithm>

namespace quillet {

FlowLayout::FlowLayout(int horizontalGap, int verticalGap)
    : m_horizontalGap(horizontalGap), m_verticalGap(verticalGap) {
    setContentsMargins(0, 0, 0, 0);
}

void FlowLayout::addItem(QLayoutItem* item) { m_items.emplace_back(item); }

QLayoutItem* FlowLayout::itemAt(int index) const {
    return index >= 0 && index < count() ? m_items[static_cast<std::size_t>(index)].get() : nullptr;
}

QLayoutItem* FlowLayout::takeAt(int index) {
    if (!itemAt(index)) return nullptr;
    const auto place = m_items.begin() + index;
    QLayoutItem* const item = place->release();
    m_items.erase(place);
    return item;
}

std::vector<FlowLayout::Placed> FlowLayout::placedIn(const QRect& rect) const {
    std::vector<Placed> placed;
    QPoint at = rect.topLeft();
    int lineHeight = 0;
    for (const auto& item : m_items) {
        const QSize size = item->sizeHint();
        if (at.x() > rect.left() && at.x() + size.width() > rect.right() + 1) {
            at = {rect.left(), at.y() + lineHeight + m_verticalGap};
            lineHeight = 0;
        }
        placed.push_back({item.get(), QRect(at, size)});
        at.rx() += size.width() + m_horizontalGap;
        lineHeight = std::max(lineHeight, size.height());
    }
    return placed;
}

int FlowLayout::heightForWidth(int width) const {
    int bottom = 0;
    for (const Placed& each : placedIn({0, 0, width, 0})) bottom = std::max(bottom, each.rect.bottom() + 1);
    return bottom;
}

QSize FlowLayout::minimumSize() const {
    QSize size;
    for (const auto& item : m_items) size = size.expandedTo(item->sizeHint());
    return size;
}

void FlowLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    const Qt::LayoutDirection direction = parentWidget() ? parentWidget()->layoutDirection() : Qt::LeftToRight;
    for (const Placed& each : placedIn(rect)) each.item->setGeometry(QStyle::visualRect(direction, rect, each.rect));
}

} // namespace quillet
