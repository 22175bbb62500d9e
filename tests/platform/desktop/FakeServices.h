#pragma once

#include "PrivateBus.h"

#include <QDBusContext>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <vector>

namespace quillet::test {

/// A service of the desktop under its well-known name.
class FakeService : public QObject {
public:
    FakeService(const QDBusConnection& connection, const char* name, const char* path)
        : bus(connection), m_name(QLatin1String(name)), m_path(QLatin1String(path)) {}
    ~FakeService() override { stop(); }

    void start() {
        answer();
        takeName();
    }
    void takeName() { bus.registerService(m_name); }
    void answer() {
        bus.registerObject(m_path, this,
                           QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                               QDBusConnection::ExportAllProperties);
    }
    void stop() {
        bus.unregisterService(m_name);
        bus.unregisterObject(m_path);
    }

    QDBusConnection bus;

private:
    QString m_name;
    QString m_path;
};

class FakeNotifications : public FakeService {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Shown {
        uint replaces = 0;
        QString title{};
        QString body{};
        QStringList actions{};
        QVariantMap hints{};
    };
    explicit FakeNotifications(const QDBusConnection& connection)
        : FakeService(connection, "org.freedesktop.Notifications", "/org/freedesktop/Notifications") {}

    QStringList capabilities{u"actions"_s, u"body"_s, u"body-markup"_s};
    std::vector<Shown> shown;
    QList<uint> taken;
    uint lastId = 40;

public Q_SLOTS:
    QStringList GetCapabilities() const { return capabilities; }
    uint Notify(const QString&, uint replaces, const QString&, const QString& title, const QString& body,
                const QStringList& actions, const QVariantMap& hints, int) {
        shown.push_back({replaces, title, body, actions, hints});
        return replaces != 0 ? replaces : ++lastId;
    }
    void CloseNotification(uint id) {
        taken.append(id);
        Q_EMIT NotificationClosed(id, 3);
    }

Q_SIGNALS:
    void ActionInvoked(uint id, const QString& key);
    void NotificationClosed(uint id, uint reason);
};

class FakeLoginManager : public FakeService {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    explicit FakeLoginManager(const QDBusConnection& connection)
        : FakeService(connection, "org.freedesktop.login1", "/org/freedesktop/login1") {}
    ~FakeLoginManager() override {
        for (const int end : m_ends) close(end);
    }

    /// How many of the descriptors handed out are still open on the other side.
    [[nodiscard]] int held() const {
        int open = 0;
        for (const int end : m_ends) {
            pollfd query{end, POLLIN, 0};
            poll(&query, 1, 0);
            open += (query.revents & POLLHUP) == 0;
        }
        return open;
    }
    QStringList asked;

public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why, const QString& mode) {
        asked << QStringList{what, who, why, mode}.join(QLatin1Char('|'));
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0) return {};
        m_ends.push_back(ends[0]);
        QDBusUnixFileDescriptor given;
        given.giveFileDescriptor(ends[1]);
        return given;
    }

private:
    std::vector<int> m_ends;
};

class FakeScreenSaver : public FakeService {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    explicit FakeScreenSaver(const QDBusConnection& connection)
        : FakeService(connection, "org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver") {}

    QList<uint> held;
    uint lastCookie = 6;

public Q_SLOTS:
    uint Inhibit(const QString&, const QString&) {
        held.append(++lastCookie);
        return lastCookie;
    }
    void UnInhibit(uint cookie) { held.removeOne(cookie); }
};

/// The two sides of the desktop portal that we use, one interface each.
class FakePortalRequest : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Request")

public:
    int closes = 0;

public Q_SLOTS:
    void Close() { ++closes; }
};

class FakeInhibitPortal : public FakeService {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Inhibit")

public:
    explicit FakeInhibitPortal(const QDBusConnection& connection)
        : FakeService(connection, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop") {
        bus.registerObject(u"/request/1"_s, &request, QDBusConnection::ExportAllSlots);
    }

    FakePortalRequest request;
    QList<uint> flagsAsked;

public Q_SLOTS:
    QDBusObjectPath Inhibit(const QString&, uint flags, const QVariantMap&) {
        flagsAsked.append(flags);
        return QDBusObjectPath(u"/request/1"_s);
    }
};

class FakeSettingsPortal : public FakeService, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit FakeSettingsPortal(const QDBusConnection& connection)
        : FakeService(connection, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop") {}

    QVariantMap settings; ///< by group and key

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key) {
        const QVariant value = settings.value(group + QLatin1Char(' ') + key);
        if (!value.isValid()) sendErrorReply(u"org.freedesktop.portal.Error.NotFound"_s, u"no such setting"_s);
        return QDBusVariant(QVariant::fromValue(QDBusVariant(value))); // a variant in a variant, as the real one
    }

Q_SIGNALS:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);
};

/// Asks nobody: what its user does is decided by the test.
class FakeFileChooserPortal : public FakeService, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.FileChooser")
    Q_PROPERTY(uint version MEMBER version)

public:
    struct Asked {
        QString method, parent, title;
        QVariantMap options;
        QString request;
    };
    explicit FakeFileChooserPortal(const QDBusConnection& connection)
        : FakeService(connection, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop") {}

    void respond(uint response, const QStringList& uris) const {
        QDBusMessage signal =
            QDBusMessage::createSignal(asked.back().request, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        signal.setArguments({response, QVariantMap{{u"uris"_s, uris}}});
        bus.send(signal);
    }

    uint version = 3;
    bool refuses = false;
    bool isSilent = false;
    std::vector<Asked> asked;
    FakePortalRequest dialog; ///< the last one opened

public Q_SLOTS:
    QDBusObjectPath OpenFile(const QString& parent, const QString& title, const QVariantMap& options) {
        return open("OpenFile", parent, title, options);
    }
    QDBusObjectPath SaveFile(const QString& parent, const QString& title, const QVariantMap& options) {
        return open("SaveFile", parent, title, options);
    }

private:
    QDBusObjectPath open(const char* method, const QString& parent, const QString& title, const QVariantMap& options) {
        const QString sender = message().service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
        const QString request = u"/org/freedesktop/portal/desktop/request/"_s + sender + QLatin1Char('/') +
                                options.value(u"handle_token"_s).toString();
        asked.push_back({QLatin1String(method), parent, title, options, request});
        bus.registerObject(request, &dialog, QDBusConnection::ExportAllSlots);
        if (refuses) sendErrorReply(QDBusError::AccessDenied, u"no"_s);
        if (isSilent) setDelayedReply(true);
        return QDBusObjectPath(request);
    }
};

class FakeFileManager : public FakeService {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    explicit FakeFileManager(const QDBusConnection& connection)
        : FakeService(connection, "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1") {}

    QStringList shown;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString&) { shown << uris; }
};

} // namespace quillet::test
