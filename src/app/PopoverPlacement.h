#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>
#include <vector>

namespace quillet {

/// A screen of the desktop, in Qt's coordinates.
struct ScreenArea {
    QRect geometry;  ///< all of it
    QRect available; ///< without panels and docks
};

/// What is known of the place of the icon, the most telling first. Any of it may be missing or wrong.
struct PopoverAnchor {
    std::optional<QRect> item;    ///< the icon's own rectangle
    std::optional<QPoint> point;  ///< what the desktop told with the press
    std::optional<QPoint> cursor; ///< the pointer, where the window system tells
};

/// The popover's top left corner: centred on the icon, on the inner side of the panel that holds it, and wholly within
/// a screen's available area. Without any anchor on a screen, the corner at the trailing end of the first screen where
/// panels hold their icons. There is at least one screen.
[[nodiscard]] QPoint placePopover(QSize popover, const PopoverAnchor& anchor, const std::vector<ScreenArea>& screens);

} // namespace quillet
