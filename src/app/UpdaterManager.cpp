#include "app/UpdaterManager.h"

#include <utility>

namespace quillet {

UpdaterManager::UpdaterManager(std::shared_ptr<Desktop> desktop, QString downloadPage)
    : m_desktop(std::move(desktop)), m_downloadPage(std::move(downloadPage)) {}

void UpdaterManager::checkForUpdates() {
    const QUrl page(m_downloadPage, QUrl::StrictMode);
    if (page.isValid() && !page.isRelative()) m_desktop->openUrl(page);
}

} // namespace quillet
