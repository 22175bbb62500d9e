#pragma once

#include "platform/StatusItem.h"

#include <QMenu>

#include <functional>
#include <memory>
#include <vector>

namespace quillet {

/// The status item's menu as a window of our own, for trays and panels that cannot show it themselves. Fills itself
/// each time it opens.
[[nodiscard]] std::unique_ptr<QMenu> makeToolkitMenu(std::function<std::vector<MenuEntry>()> entries);

} // namespace quillet
