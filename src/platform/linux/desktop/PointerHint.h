#pragma once

#include <QList>
#include <QPoint>
#include <QRect>

#include <optional>

namespace quillet {

/// Which place to believe for a press: the pointer's where the system lets programs see it, else what the panel
/// reported when that can be true. Some panels report the place within the icon, some nothing but zeros.
[[nodiscard]] std::optional<QPoint> believablePoint(QPoint reported, std::optional<QPoint> pointer,
                                                    const QList<QRect>& screens);

/// The pointer, on a real X server; elsewhere it is known only while it is above our own windows.
[[nodiscard]] std::optional<QPoint> visiblePointer();

/// For this session's screens.
[[nodiscard]] std::optional<QPoint> believablePoint(QPoint reported);

} // namespace quillet
