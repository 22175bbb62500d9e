#include "platform/Appearance.h"
#include "platform/DesktopFiles.h"
#include "platform/FileDialogs.h"
#include "platform/SingleInstance.h"
#include "platform/SleepInhibitor.h"
#include "platform/StatusItem.h"
#include "platform/UserNotices.h"
#include "platform/linux/desktop/LinuxAppearance.h"
#include "platform/linux/desktop/LinuxDesktopFiles.h"
#include "platform/linux/desktop/LinuxSingleInstance.h"
#include "platform/linux/desktop/LinuxSleepInhibitor.h"
#include "platform/linux/desktop/LinuxStatusItem.h"
#include "platform/linux/desktop/LinuxUserNotices.h"
#include "platform/linux/desktop/PortalFileDialogs.h"

#include <QDBusConnection>
#include <QStandardPaths>

namespace quillet {

std::unique_ptr<StatusItem> makeStatusItem(StatusItem::Handlers handlers) {
    return std::make_unique<LinuxStatusItem>(
        std::move(handlers),
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("quillet-status-item")));
}

std::unique_ptr<SingleInstance> makeSingleInstance() {
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return std::make_unique<LinuxSingleInstance>(QDBusConnection::sessionBus(),
                                                 runtime.isEmpty() ? QString() : runtime + QStringLiteral("/quillet"));
}

std::unique_ptr<UserNotices> makeUserNotices() {
    return std::make_unique<LinuxUserNotices>(QDBusConnection::sessionBus());
}

std::unique_ptr<SleepInhibitor> makeSleepInhibitor() {
    return std::make_unique<LinuxSleepInhibitor>(QDBusConnection::systemBus(), QDBusConnection::sessionBus());
}

std::unique_ptr<Appearance> makeAppearance() {
    return std::make_unique<LinuxAppearance>(QDBusConnection::sessionBus());
}

std::unique_ptr<FileServices> makeDesktopFileServices() {
    return std::make_unique<LinuxDesktopFiles>(QDBusConnection::sessionBus());
}

std::unique_ptr<FileDialogs> makeFileDialogs() {
    return std::make_unique<PortalFileDialogs>(QDBusConnection::sessionBus());
}

} // namespace quillet
