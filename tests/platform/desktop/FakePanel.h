#pragma once

#include "FakeServices.h"
#include "platform/linux/desktop/NotifierTypes.h"

namespace quillet::test {

/// A panel that shows status items, and the watcher that keeps the list of them.
class FakePanel : public FakeService {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER hasHost)

public:
    explicit FakePanel(const QDBusConnection& connection)
        : FakeService(connection, "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher") {}

    [[nodiscard]] QVariant property(const char* name) const {
        const QVariantList arguments = {u"org.kde.StatusNotifierItem"_s, QLatin1String(name)};
        const QDBusMessage reply =
            callAs(bus, items.value(0), "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get", arguments);
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }
    QDBusMessage call(const char* method, const QVariantList& arguments) const {
        return callAs(bus, items.value(0), "/StatusNotifierItem", "org.kde.StatusNotifierItem", method, arguments);
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
        for (const MenuLayout& line : menuLines()) titles << line.properties.value(u"label"_s).toString();
        return titles;
    }
    void click(int id) const {
        (void)menu("Event", {id, u"clicked"_s, QVariant::fromValue(QDBusVariant(QString())), 0U});
    }

    bool hasHost = true;
    QStringList items;

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service) { items.prepend(service); }

Q_SIGNALS:
    void StatusNotifierHostRegistered();
    void StatusNotifierHostUnregistered();
};

} // namespace quillet::test
