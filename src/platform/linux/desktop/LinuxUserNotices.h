#pragma once

#include "platform/UserNotices.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>

#include <map>
#include <optional>

namespace quillet {

/// org.freedesktop.Notifications. One notice per subject is on its way at a time, because only the service's answer
/// says how it can be replaced or taken away; what comes meanwhile waits, and only the latest of it counts.
class LinuxUserNotices final : public QObject, public UserNotices {
    Q_OBJECT

public:
    explicit LinuxUserNotices(const QDBusConnection& bus);

    void show(const UserNotice& notice) override;
    void withdraw(const QString& subject) override;

private Q_SLOTS:
    void actionInvoked(uint id, const QString& key);
    void closed(uint id, uint reason);

private:
    struct Slot {
        uint id = 0; ///< the service's, 0 while there is none
        bool onItsWay = false;
        bool unwanted = false; ///< withdrawn while on its way
        std::optional<UserNotice> next{};
        std::function<void()> onAction{};
    };
    void send(const UserNotice& notice);
    void notify(const UserNotice& notice, const QStringList& capabilities);
    void arrived(const QString& subject, uint id);
    [[nodiscard]] std::map<QString, Slot>::iterator find(uint id);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_service;
    std::map<QString, Slot> m_slots;
};

} // namespace quillet
