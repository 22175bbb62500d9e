#pragma once

#include "app/DownloadPage.h"
#include "platform/ExternalPrograms.h"
#include "support/Published.h"

#include <QString>

#include <memory>

namespace quillet {

/// Serves the command that checks for updates: it opens the product's download page in the user's browser. Nothing is
/// compared and nothing is fetched by the program itself. Main thread; an address that is none opens nothing.
class UpdaterManager {
public:
    explicit UpdaterManager(std::shared_ptr<ExternalPrograms> programs,
                            QString downloadPage = QString::fromLatin1(kDownloadPageToBeSuppliedByOwners));

    Published<bool> canCheckForUpdates{true};

    void checkForUpdates();

private:
    const std::shared_ptr<ExternalPrograms> m_programs;
    const QString m_downloadPage;
};

} // namespace quillet
