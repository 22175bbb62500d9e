#include "platform/linux/desktop/PointerHint.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace quillet {
namespace {

constexpr int kLargestIcon = 64;

} // namespace

std::optional<QPoint> believablePoint(QPoint reported, std::optional<QPoint> pointer, const QList<QRect>& screens) {
    if (pointer) return pointer;
    if (reported.x() < kLargestIcon && reported.y() < kLargestIcon) return std::nullopt;
    const bool onScreen =
        std::any_of(screens.begin(), screens.end(), [&](const QRect& screen) { return screen.contains(reported); });
    return onScreen ? std::optional(reported) : std::nullopt;
}

std::optional<QPoint> visiblePointer() {
    const bool realX11 =
        QGuiApplication::platformName() == QLatin1String("xcb") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    return realX11 ? std::optional(QCursor::pos()) : std::nullopt;
}

std::optional<QPoint> believablePoint(QPoint reported) {
    QList<QRect> screens;
    for (const QScreen* screen : QGuiApplication::screens()) screens.append(screen->geometry());
    return believablePoint(reported, visiblePointer(), screens);
}

} // namespace quillet
