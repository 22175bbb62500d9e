#include "platform/linux/desktop/NotifierHost.h"

#include "platform/linux/desktop/Bus.h"

#include <QTimer>

#include <algorithm>
#include <array>

namespace quillet {
namespace {

constexpr bus::Address kWatcher{"org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                "org.kde.StatusNotifierWatcher"};
constexpr bus::Address kWatcherProperties{"org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                          "org.freedesktop.DBus.Properties"};

/// Panels that are known to pass a press of the primary button on, by the names they own on the bus.
constexpr std::array kPanelsThatTell{"org.kde.plasmashell", "org.xfce.Panel"};

/// A watcher owns its name a moment before its object answers.
constexpr std::array kRetriesMs{200, 500, 1000, 2000, 4000};

} // namespace

NotifierHost::NotifierHost(const QDBusConnection& bus, const QString& itemPath) : m_bus(bus), m_itemPath(itemPath) {
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_watcher.addWatchedService(QLatin1String(kWatcher.service));
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) { ownerChanged(!owner.isEmpty()); });
}

void NotifierHost::start() {
    if (!m_bus.isConnected()) return become(State::NoWatcher);
    m_watcher.setConnection(m_bus);
    // Without a service name: with one, the bus would be asked for its owner, and waited for.
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        m_bus.connect(QString(), QLatin1String(kWatcher.path), QLatin1String(kWatcher.interface), QLatin1String(signal),
                      this, SLOT(hostsChanged()));
    }
    bus::ask(m_bus, bus::methodCall(bus::kDaemon, "NameHasOwner", {QLatin1String(kWatcher.service)}), this,
             [this, life = m_life](const QDBusMessage& reply) {
                 if (life == m_life) ownerChanged(bus::firstValue(reply).toBool());
             });
}

void NotifierHost::ownerChanged(bool present) {
    ++m_life;
    if (!present) return become(State::NoWatcher);
    askWhoElseIsThere();
    registerItem(0);
}

void NotifierHost::registerItem(std::size_t attempt) {
    bus::ask(m_bus, bus::methodCall(kWatcher, "RegisterStatusNotifierItem", {m_bus.baseService()}), this,
             [this, attempt, life = m_life](const QDBusMessage& reply) {
                 if (life != m_life) return;
                 if (!bus::failed(reply)) return askForHost();
                 if (attempt == kRetriesMs.size()) return become(State::NoHost);
                 QTimer::singleShot(kRetriesMs.at(attempt), this, [this, attempt, life] {
                     if (life == m_life) registerItem(attempt + 1);
                 });
             });
}

void NotifierHost::askForHost() {
    const QVariantList property{QLatin1String(kWatcher.interface), QStringLiteral("IsStatusNotifierHostRegistered")};
    bus::ask(m_bus, bus::methodCall(kWatcherProperties, "Get", property), this,
             [this, life = m_life](const QDBusMessage& reply) {
                 if (life != m_life) return;
                 // One that does not know the question shows what it was given.
                 const bool shown = bus::failed(reply) || bus::firstValue(reply).toBool();
                 become(shown ? State::Shown : State::NoHost);
             });
}

void NotifierHost::askWhoElseIsThere() {
    bus::ask(m_bus, bus::methodCall(bus::kDaemon, "ListNames"), this, [this](const QDBusMessage& reply) {
        const QStringList names = bus::firstValue(reply).toStringList();
        const bool tells = std::any_of(kPanelsThatTell.begin(), kPanelsThatTell.end(),
                                       [&](const char* name) { return names.contains(QLatin1String(name)); });
        if (tells == m_tellsOfPresses) return;
        m_tellsOfPresses = tells;
        Q_EMIT changed();
    });
}

void NotifierHost::hostsChanged() {
    if (m_state != State::Shown && m_state != State::NoHost) return;
    askWhoElseIsThere();
    askForHost();
}

void NotifierHost::become(State state) {
    if (state == m_state) return;
    m_state = state;
    Q_EMIT changed();
}

} // namespace quillet
