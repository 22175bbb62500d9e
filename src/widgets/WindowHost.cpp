#include "widgets/WindowHost.h"

#include "platform/WindowSystem.h"
#include "widgets/Theme.h"

#include <QGuiApplication>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWindow>

namespace quillet {

QWidget* makeWindow(const QString& title, QWidget* view) {
    auto* const window = new QWidget(nullptr, Qt::Window);
    window->setWindowTitle(title);
    auto* const column = new QVBoxLayout(window);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(view);
    auto* const close = new QShortcut(QKeySequence::Close, window);
    QObject::connect(close, &QShortcut::activated, window, &QWidget::close);
    return window;
}

QSize fittingScreen(QSize size) {
    constexpr int kFrame = 48; // a title bar and a little air
    const QSize wanted(Theme::shared().scaled(size.width()), Theme::shared().scaled(size.height()));
    const QScreen* const screen = QGuiApplication::primaryScreen();
    if (!screen) return wanted;
    return wanted.boundedTo(screen->availableSize() - QSize(kFrame, kFrame)).expandedTo(size / 2);
}

void showCentred(QWidget& window) {
    if (const QScreen* const screen = QGuiApplication::primaryScreen()) {
        QRect place(QPoint(), window.size());
        place.moveCenter(screen->availableGeometry().center());
        window.move(place.topLeft());
    }
    window.show();
    bringToFront(window);
}

void bringToFront(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    if (QWindow* const native = window.windowHandle()) activateForUser(*native);
}

} // namespace quillet
