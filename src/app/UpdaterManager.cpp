#include "app/UpdaterManager.h"

#include <utility>

namespace quillet {

UpdaterManager::UpdaterManager(std::shared_ptr<ExternalPrograms> programs, QString downloadPage)
    : m_programs(std::move(programs)), m_downloadPage(std::move(downloadPage)) {}

void UpdaterManager::checkForUpdates() {
    const QUrl page(m_downloadPage, QUrl::StrictMode);
    if (page.isValid() && !page.isRelative()) m_programs->openUrl(page);
}

} // namespace quillet
