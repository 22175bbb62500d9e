#include "platform/linux/desktop/ToolkitMenu.h"

#include "platform/MenuFilling.h"

namespace quillet {

std::unique_ptr<QMenu> makeToolkitMenu(std::function<std::vector<MenuEntry>()> entries) {
    auto menu = std::make_unique<QMenu>();
    QMenu* opened = menu.get();
    fillMenu(*menu, entries()); // an empty menu is not even opened
    QObject::connect(opened, &QMenu::aboutToShow, opened,
                     [opened, entries = std::move(entries)] { fillMenu(*opened, entries()); });
    return menu;
}

} // namespace quillet
