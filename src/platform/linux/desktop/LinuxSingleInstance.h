#pragma once

#include "platform/SingleInstance.h"
#include "platform/linux/desktop/CommandSocket.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <functional>

namespace quillet {

/// org.freedesktop.Application as desktops and shortcuts call it. Owned by the single instance; main thread.
class ApplicationObject : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    std::function<void(RemoteCommand)> onCommand;

public Q_SLOTS:
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList& parameter,
                                     const QVariantMap& platformData);

private:
    void later(RemoteCommand command) const;
};

/// One program per session bus, which the bus itself guarantees through the well-known name; without a bus, one per
/// user through a socket. The one that has the name listens on the socket as well, so that a shortcut without a bus
/// still reaches it.
class LinuxSingleInstance final : public QObject, public SingleInstance {
public:
    static constexpr const char* kName = "com.corvane.Quillet";
    static constexpr const char* kPath = "/com/corvane/Quillet";

    LinuxSingleInstance(const QDBusConnection& bus, const QString& socketFolder);

    void claim(RemoteCommand command, std::function<void(RemoteCommand)> onCommand,
               std::function<void(Claim)> done) override;
    void send(RemoteCommand command, std::function<void(bool delivered)> done) override;

private:
    enum class BusAnswer { Taken, Nobody, NoAnswer };

    void claimSocket(RemoteCommand command, const std::function<void(RemoteCommand)>& onCommand,
                     const std::function<void(Claim)>& done);
    void sendOverBus(RemoteCommand command, std::function<void(BusAnswer)> done);

    QDBusConnection m_bus;
    CommandSocket m_socket;
    ApplicationObject m_object;
};

} // namespace quillet
