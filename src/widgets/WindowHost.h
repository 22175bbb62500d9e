#pragma once

#include <QSize>
#include <QString>
#include <QWidget>

namespace quillet {

/// A top-level window around a view, which becomes a part of it. Deleting it is the caller's business; Ctrl+W closes
/// it.
[[nodiscard]] QWidget* makeWindow(const QString& title, QWidget* view);

/// The size at the present text size, but not more than the screen has room for.
[[nodiscard]] QSize fittingScreen(QSize size);

void showCentred(QWidget& window);
void bringToFront(QWidget& window);

} // namespace quillet
