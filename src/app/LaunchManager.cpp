#include "app/LaunchManager.h"

#include <utility>

namespace quillet {

LaunchManager::LaunchManager(std::unique_ptr<LoginItem> item) : m_item(std::move(item)) { refresh(); }

void LaunchManager::setLaunchAtLogin(bool enabled) {
    static_cast<void>((enabled ? m_item->registerItem() : m_item->unregisterItem()).ok());
    refresh();
}

void LaunchManager::refresh() { isEnabled.set(m_item->isEnabled()); }

} // namespace quillet
