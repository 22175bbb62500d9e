#pragma once

#include <QPixmap>
#include <QString>

namespace quillet::test {

/// How a desktop would show a window: on a neutral ground, with a title bar, rounded corners and a shadow.
[[nodiscard]] QPixmap framed(const QPixmap& window, const QString& title);

/// A window that brings its own corners and shadow, on the same ground.
[[nodiscard]] QPixmap onGround(const QPixmap& window);

} // namespace quillet::test
