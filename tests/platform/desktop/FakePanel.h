#pragma once

#include "PrivateBus.h"
#include "platform/linux/desktop/NotifierTypes.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>

namespace quillet::test {

/// A panel that shows status items, and the watcher that keeps the list of them.
class FakePanel : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER hasHost)

public:
    explicit FakePanel(const QDBusConnection& connection) : bus(connection) {}
    ~FakePanel() override { stop(); }

    void start() {
        answer();
        takeName();
    }
    void takeName() { bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")); }
    void answer() {
        bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                           QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties |
                               QDBusConnection::ExportAllSignals);
    }
    void stop() {
        bus.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher"));
        bus.unregisterObject(QStringLiteral("/StatusNotifierWatcher"));
    }

    [[nodiscard]] QVariant property(const char* name) const {
        const QDBusMessage reply = callAs(bus, items.value(0), "/StatusNotifierItem", "org.freedesktop.DBus.Properties",
                                          "Get", {QStringLiteral("org.kde.StatusNotifierItem"), QLatin1String(name)});
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }
    QDBusMessage press(const char* method, int x, int y) const {
        return callAs(bus, items.value(0), "/StatusNotifierItem", "org.kde.StatusNotifierItem", method, {x, y});
    }
    QDBusMessage menu(const char* method, const QVariantList& arguments) const {
        return callAs(bus, items.value(0), "/MenuBar", "com.canonical.dbusmenu", method, arguments);
    }
    [[nodiscard]] QList<MenuLayout> menuLines() const {
        const QDBusMessage reply = menu("GetLayout", {0, -1, QStringList()});
        return qdbus_cast<MenuLayout>(reply.arguments().value(1)).children;
    }
    [[nodiscard]] QStringList menuTitles() const {
        QStringList titles;
        for (const MenuLayout& line : menuLines()) titles << line.properties.value(QStringLiteral("label")).toString();
        return titles;
    }
    void click(int id) const {
        (void)menu("Event", {id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())), 0U});
    }

    QDBusConnection bus;
    bool hasHost = true;
    QStringList items;

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service) { items.prepend(service); }

Q_SIGNALS:
    void StatusNotifierHostRegistered();
    void StatusNotifierHostUnregistered();
};

} // namespace quillet::test
