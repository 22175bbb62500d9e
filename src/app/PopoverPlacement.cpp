#include "app/PopoverPlacement.h"

#include <algorithm>

namespace quillet {
namespace {

constexpr int kGap = 6; ///< between the popover and the panel or icon

const ScreenArea* screenOf(const QPoint& point, const std::vector<ScreenArea>& screens) {
    const auto found = std::find_if(screens.begin(), screens.end(),
                                    [&](const ScreenArea& screen) { return screen.geometry.contains(point); });
    return found == screens.end() ? nullptr : &*found;
}

int within(int wanted, int low, int high) { return std::max(low, std::min(wanted, high)); }

/// Beside the rectangle: below it in the upper half of its screen, else above; beside it at the left or right edge.
QPoint beside(const QRect& item, QSize popover, const ScreenArea& screen) {
    const QRect area = screen.available.adjusted(kGap, kGap, -kGap, -kGap);
    QPoint place(item.center().x() - popover.width() / 2, 0);
    const bool inSidePanel = !item.intersects(screen.available) && item.center().y() >= screen.available.top() &&
                             item.center().y() <= screen.available.bottom();
    if (inSidePanel) {
        const bool atLeft = item.center().x() < screen.available.left();
        place = {atLeft ? item.right() + kGap : item.left() - kGap - popover.width(),
                 item.center().y() - popover.height() / 2};
    } else if (item.center().y() < screen.geometry.center().y()) {
        place.setY(item.bottom() + kGap);
    } else {
        place.setY(item.top() - kGap - popover.height());
    }
    return {within(place.x(), area.left(), area.right() + 1 - popover.width()),
            within(place.y(), area.top(), area.bottom() + 1 - popover.height())};
}

} // namespace

QPoint placePopover(QSize popover, const PopoverAnchor& anchor, const std::vector<ScreenArea>& screens) {
    if (anchor.item && anchor.item->isValid()) {
        if (const ScreenArea* screen = screenOf(anchor.item->center(), screens))
            return beside(*anchor.item, popover, *screen);
    }
    // Some hosts tell coordinates within the panel: (12, 9) lies on a screen, but not where the press was. The pointer
    // is right wherever the window system tells it.
    for (const std::optional<QPoint>& point : {anchor.cursor, anchor.point}) {
        if (!point || point->isNull()) continue;
        if (const ScreenArea* screen = screenOf(*point, screens))
            return beside(QRect(*point, QSize(1, 1)), popover, *screen);
    }
    const ScreenArea& screen = screens.front();
    const bool panelBelow =
        screen.geometry.bottom() - screen.available.bottom() > screen.available.top() - screen.geometry.top();
    const int x = screen.available.right() + 1 - kGap - popover.width();
    const int y = panelBelow ? screen.available.bottom() + 1 - kGap - popover.height() : screen.available.top() + kGap;
    return {x, y};
}

} // namespace quillet
