#pragma once

#include "platform/StatusItem.h"
#include "support/MainThread.h"

#include <QMenu>

#include <vector>

namespace quillet {

/// Gives a menu of the toolkit's these entries and no others.
inline void fillMenu(QMenu& menu, const std::vector<MenuEntry>& entries) {
    menu.clear();
    for (const MenuEntry& entry : entries) {
        if (entry.isSeparator()) {
            menu.addSeparator();
            continue;
        }
        QString title = entry.title;
        QAction* const action = menu.addAction(title.replace(QLatin1Char('&'), QLatin1String("&&")));
        action->setShortcut(entry.shortcut);
        action->setEnabled(entry.enabled);
        // Later: the menu closes first, and the action may show a window or end the program.
        QObject::connect(action, &QAction::triggered, &menu, [run = entry.action] {
            if (run) MainThread::post(run);
        });
    }
}

} // namespace quillet
