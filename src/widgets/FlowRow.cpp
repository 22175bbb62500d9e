#include "widgets/FlowRow.h"

#include <QStyle>
#include <QWidget>

#include <algorithm>

namespace quillet {
namespace {

bool grows(const QLayoutItem* item) { return item->expandingDirections() & Qt::Horizontal; }

/// What it takes at least: the size it likes, unless it can grow and may so be smaller, too.
int leastWidth(const QLayoutItem* item) { return grows(item) ? item->minimumSize().width() : item->sizeHint().width(); }

int height(const QLayoutItem* item) { return item->sizeHint().height(); }

int lineHeight(const std::vector<QLayoutItem*>& line) {
    int tallest = 0;
    for (const QLayoutItem* item : line) tallest = std::max(tallest, height(item));
    return tallest;
}

} // namespace

FlowRow::FlowRow(int spacing) {
    setContentsMargins(0, 0, 0, 0);
    setSpacing(spacing);
}

FlowRow::~FlowRow() = default;

void FlowRow::addItem(QLayoutItem* item) { m_items.emplace_back(item); }

QLayoutItem* FlowRow::itemAt(int index) const {
    return index >= 0 && index < count() ? m_items[static_cast<std::size_t>(index)].get() : nullptr;
}

QLayoutItem* FlowRow::takeAt(int index) {
    if (!itemAt(index)) return nullptr;
    QLayoutItem* const taken = m_items[static_cast<std::size_t>(index)].release();
    m_items.erase(m_items.begin() + index);
    return taken;
}

std::vector<FlowRow::Line> FlowRow::lines(int width) const {
    std::vector<Line> all;
    int used = 0;
    for (const auto& item : m_items) {
        if (item->isEmpty()) continue; // a hidden widget
        const int needed = leastWidth(item.get());
        if (all.empty() || used + spacing() + needed > width) {
            all.emplace_back();
            used = needed;
        } else {
            used += spacing() + needed;
        }
        all.back().push_back(item.get());
    }
    return all;
}

int FlowRow::heightForWidth(int width) const {
    int total = 0;
    for (const Line& line : lines(width)) total += lineHeight(line) + (total > 0 ? spacing() : 0);
    return total;
}

QSize FlowRow::sizeHint() const {
    int width = 0;
    int tallest = 0;
    for (const auto& item : m_items) {
        if (item->isEmpty()) continue;
        width += item->sizeHint().width() + (width > 0 ? spacing() : 0);
        tallest = std::max(tallest, height(item.get()));
    }
    return {width, tallest};
}

QSize FlowRow::minimumSize() const {
    QSize least(0, 0);
    for (const auto& item : m_items) {
        if (!item->isEmpty()) least = least.expandedTo({leastWidth(item.get()), height(item.get())});
    }
    return least;
}

void FlowRow::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    int top = rect.top();
    for (const Line& line : lines(rect.width())) {
        const int tall = lineHeight(line);
        place(line, {rect.left(), top, rect.width(), tall});
        top += tall + spacing();
    }
}

void FlowRow::place(const Line& line, const QRect& rect) const {
    int rest = rect.width() - spacing() * (static_cast<int>(line.size()) - 1);
    for (const QLayoutItem* item : line) rest -= leastWidth(item);
    auto growing = static_cast<int>(std::count_if(line.begin(), line.end(), grows));
    int left = rect.left();
    for (QLayoutItem* item : line) {
        int width = leastWidth(item);
        if (grows(item)) {
            const int share = std::max(0, rest) / growing--;
            width += share;
            rest -= share;
        }
        const int tall = height(item);
        const QRect place(left, rect.top() + (rect.height() - tall) / 2, std::min(width, rect.width()), tall);
        item->setGeometry(QStyle::visualRect(parentWidget()->layoutDirection(), rect, place));
        left += width + spacing();
    }
}

} // namespace quillet
