#include "platform/linux/desktop/ToolkitMenu.h"

#include "support/MainThread.h"

#include <QAction>

namespace quillet {
namespace {

void fill(QMenu& menu, const std::vector<MenuEntry>& entries) {
    menu.clear();
    for (const MenuEntry& entry : entries) {
        if (entry.isSeparator()) {
            menu.addSeparator();
            continue;
        }
        QString title = entry.title;
        QAction* action = menu.addAction(title.replace(QLatin1Char('&'), QLatin1String("&&")));
        action->setShortcut(entry.shortcut);
        action->setEnabled(entry.enabled);
        // Later: the menu closes first, and the action may show a window or end the program.
        QObject::connect(action, &QAction::triggered, &menu, [run = entry.action] {
            if (run) MainThread::post(run);
        });
    }
}

} // namespace

std::unique_ptr<QMenu> makeToolkitMenu(std::function<std::vector<MenuEntry>()> entries) {
    auto menu = std::make_unique<QMenu>();
    QMenu* opened = menu.get();
    fill(*menu, entries()); // an empty menu is not even opened
    QObject::connect(opened, &QMenu::aboutToShow, opened,
                     [opened, entries = std::move(entries)] { fill(*opened, entries()); });
    return menu;
}

} // namespace quillet
