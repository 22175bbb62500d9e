#pragma once

#include "widgets/Theme.h"

#include <QAccessible>
#include <QEventLoop>
#include <QPixmap>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

#include <vector>

namespace quillet::test {

/// What assistive technology calls the widget.
inline QString accessibleName(QWidget& widget) {
    QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(&widget);
    return interface ? interface->text(QAccessible::Name) : QString();
}

/// The visible widgets of that type and accessible name, in the order of the tree.
template <typename Widget = QWidget>
std::vector<Widget*> findAll(const QWidget& root, const QString& name) {
    std::vector<Widget*> found;
    for (Widget* const widget : root.findChildren<Widget*>()) {
        if (widget->isVisibleTo(&root) && accessibleName(*widget) == name) found.push_back(widget);
    }
    return found;
}

/// The one visible widget of that type and accessible name; a test failure and null when there is not exactly one.
template <typename Widget = QWidget>
Widget* find(const QWidget& root, const QString& name) {
    const std::vector<Widget*> found = findAll<Widget>(root, name);
    EXPECT_EQ(found.size(), 1U) << "widgets called " << name.toStdString();
    return found.size() == 1 ? found.front() : nullptr;
}

/// Whether a text is to be read somewhere in the window, in whole.
inline bool shows(const QWidget& root, const QString& text) { return !findAll(root, text).empty(); }

/// Gives the usual look back at the end of a test that changed it.
struct UsualLook {
    ~UsualLook() {
        Theme::shared().setTextScale(1);
        Theme::shared().setColorScheme(std::nullopt);
    }
};

/// Lets a change of size or text run its course through nested layouts, which takes turns of a real event loop: a busy
/// machine may need all of a time limit for the first of them.
inline void letLayoutsSettle() {
    for (int turn = 0; turn < 10; ++turn) {
        QEventLoop loop;
        QTimer::singleShot(5, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

/// Keeps a picture of the widget as NAME.png in the folder QUILLET_SCREENSHOTS, when that is set.
inline void keepPicture(QWidget& widget, const QString& name) {
    const QString folder = qEnvironmentVariable("QUILLET_SCREENSHOTS");
    if (folder.isEmpty()) return;
    EXPECT_TRUE(widget.grab().save(folder + QLatin1Char('/') + name + QLatin1String(".png")));
}

} // namespace quillet::test
