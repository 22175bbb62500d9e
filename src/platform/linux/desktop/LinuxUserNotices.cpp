#include "platform/linux/desktop/LinuxUserNotices.h"

#include "platform/linux/desktop/Bus.h"
#include "platform/linux/desktop/LinuxSingleInstance.h"

#include <QDBusPendingCall>

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

constexpr bus::Address kService{"org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                "org.freedesktop.Notifications"};

constexpr int kServiceDecides = -1; // how long a notice stays

uchar urgencyByte(UserNotice::Urgency urgency) { return urgency == UserNotice::Urgency::Critical ? 2 : 1; }

} // namespace

LinuxUserNotices::LinuxUserNotices(const QDBusConnection& bus) : m_bus(bus) {
    if (!m_bus.isConnected()) return;
    // Without a service name: with one, the bus would be asked for its owner, and waited for.
    m_bus.connect(QString(), QLatin1String(kService.path), QLatin1String(kService.interface),
                  QStringLiteral("ActionInvoked"), this, SLOT(actionInvoked(uint, QString)));
    m_bus.connect(QString(), QLatin1String(kService.path), QLatin1String(kService.interface),
                  QStringLiteral("NotificationClosed"), this, SLOT(closed(uint, uint)));
    // Numbers of a service that is gone may be somebody else's with the next one.
    m_service.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    m_service.addWatchedService(QLatin1String(kService.service));
    m_service.setConnection(m_bus);
    connect(&m_service, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        for (auto& [subject, slot] : m_slots) slot.id = 0;
    });
}

void LinuxUserNotices::show(const UserNotice& notice) {
    Slot& slot = m_slots[notice.subject];
    slot.unwanted = false;
    if (slot.onItsWay) {
        slot.next = notice;
    } else {
        send(notice);
    }
}

void LinuxUserNotices::withdraw(const QString& subject) {
    const auto found = m_slots.find(subject);
    if (found == m_slots.end()) return;
    Slot& slot = found->second;
    slot.onAction = nullptr;
    slot.next.reset();
    if (slot.onItsWay) {
        slot.unwanted = true;
        return;
    }
    if (slot.id != 0) m_bus.asyncCall(bus::methodCall(kService, "CloseNotification", {slot.id}));
    m_slots.erase(found);
}

void LinuxUserNotices::send(const UserNotice& notice) {
    m_slots[notice.subject].onItsWay = true;
    const auto then = [this, notice](const QDBusMessage& reply) {
        if (bus::failed(reply)) return arrived(notice.subject, 0);
        notify(notice, bus::firstValue(reply).toStringList());
    };
    bus::ask(m_bus, bus::startingCall(kService, "GetCapabilities"), this, then, bus::kStartingPatienceMs);
}

void LinuxUserNotices::notify(const UserNotice& notice, const QStringList& capabilities) {
    Slot& slot = m_slots[notice.subject];
    if (slot.unwanted || slot.next) return arrived(notice.subject, slot.id); // not needed any more
    slot.onAction = notice.onAction;

    const bool marksUp = capabilities.contains(QLatin1String("body-markup"));
    QStringList actions;
    if (!notice.actionTitle.isEmpty() && capabilities.contains(QLatin1String("actions")))
        actions << QStringLiteral("default") << notice.actionTitle << QStringLiteral("show") << notice.actionTitle;
    const QVariantMap hints{
        {QStringLiteral("urgency"), QVariant::fromValue(urgencyByte(notice.urgency))},
        {QStringLiteral("desktop-entry"), QLatin1String(LinuxSingleInstance::kName)},
    };
    const QVariantList arguments{QStringLiteral("Quillet"),
                                 slot.id,
                                 QLatin1String(LinuxSingleInstance::kName),
                                 notice.title,
                                 marksUp ? notice.body.toHtmlEscaped() : notice.body,
                                 actions,
                                 hints,
                                 kServiceDecides};
    const auto then = [this, subject = notice.subject](const QDBusMessage& reply) {
        arrived(subject, bus::firstValue(reply).toUInt());
    };
    bus::ask(m_bus, bus::methodCall(kService, "Notify", arguments), this, then, bus::kStartingPatienceMs);
}

void LinuxUserNotices::arrived(const QString& subject, uint id) {
    Slot& slot = m_slots[subject];
    slot.onItsWay = false;
    slot.id = id;
    if (slot.unwanted) return withdraw(subject);
    if (slot.next) return send(*std::exchange(slot.next, std::nullopt));
    if (id == 0) m_slots.erase(subject);
}

std::map<QString, LinuxUserNotices::Slot>::iterator LinuxUserNotices::find(uint id) {
    return std::find_if(m_slots.begin(), m_slots.end(),
                        [id](const auto& entry) { return id != 0 && entry.second.id == id; });
}

void LinuxUserNotices::actionInvoked(uint id, const QString&) {
    const auto found = find(id);
    if (found == m_slots.end()) return;
    if (const auto run = std::exchange(found->second.onAction, nullptr)) run();
}

void LinuxUserNotices::closed(uint id, uint) {
    const auto found = find(id);
    if (found == m_slots.end()) return;
    if (found->second.onItsWay) {
        found->second.id = 0; // the next one is under way and makes itself a place
    } else {
        m_slots.erase(found);
    }
}

} // namespace quillet
