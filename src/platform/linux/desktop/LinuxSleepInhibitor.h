#pragma once

#include "platform/SleepInhibitor.h"

#include <QDBusConnection>
#include <QObject>

namespace quillet {

/// Asks the system's login manager not to sleep or idle, which lasts as long as a descriptor is open, and the desktop
/// not to blank or lock: through the screen saver's interface, or the portal where there is none. Each of them may be
/// missing. A hold that ends before an answer came is given back when it comes.
class LinuxSleepInhibitor final : public QObject, public SleepInhibitor {
public:
    LinuxSleepInhibitor(const QDBusConnection& systemBus, const QDBusConnection& sessionBus);

    [[nodiscard]] std::unique_ptr<Hold> hold(const QString& reason) override;

private:
    struct Grants;
    class LinuxHold;

    void askLoginManager(const std::shared_ptr<Grants>& grants, const QString& reason);
    void askScreenSaver(const std::shared_ptr<Grants>& grants, const QString& reason);
    void askPortal(const std::shared_ptr<Grants>& grants, const QString& reason);

    QDBusConnection m_systemBus;
    QDBusConnection m_sessionBus;
};

} // namespace quillet
