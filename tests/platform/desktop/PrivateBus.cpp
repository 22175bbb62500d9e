#include "PrivateBus.h"

#include <QFile>

#include <atomic>
#include <csignal>

namespace quillet::test {
namespace {

constexpr const char* kConfiguration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path=%1/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

} // namespace

PrivateBus::PrivateBus() {
    const QString file = m_folder.filePath(QStringLiteral("bus.conf"));
    QFile configuration(file);
    if (!configuration.open(QIODevice::WriteOnly)) return;
    configuration.write(QString::fromLatin1(kConfiguration).arg(m_folder.path()).toUtf8());
    configuration.close();
    m_daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--config-file=") + file, QStringLiteral("--nofork"),
                                                   QStringLiteral("--print-address")});
    if (m_daemon.waitForReadyRead(5000)) m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
}

PrivateBus::~PrivateBus() {
    for (const QString& name : m_connections) QDBusConnection::disconnectFromBus(name);
    m_daemon.kill(); // it has nothing to save, and may be frozen
    m_daemon.waitForFinished(3000);
}

void PrivateBus::freeze() { kill(static_cast<pid_t>(m_daemon.processId()), SIGSTOP); }

QDBusConnection PrivateBus::connection(const QString& program) {
    static std::atomic<int> count = 0;
    m_connections << program + QString::number(++count);
    return QDBusConnection::connectToBus(m_address, m_connections.last());
}

QDBusMessage callAs(const QDBusConnection& program, const QString& service, const char* path, const char* interface,
                    const char* method, const QVariantList& arguments) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, QLatin1String(path), QLatin1String(interface), QLatin1String(method));
    call.setArguments(arguments);
    const QDBusPendingCallWatcher pending(program.asyncCall(call, 5000));
    waitFor([&] { return pending.isFinished(); }, 6000);
    return pending.reply();
}

void settle(const QDBusConnection& from, const QDBusConnection& to) {
    // The bus keeps each connection's order, so its answer to the second comes behind what the first had sent.
    for (const QDBusConnection& program : {from, to})
        (void)callAs(program, QStringLiteral("org.freedesktop.DBus"), "/org/freedesktop/DBus", "org.freedesktop.DBus",
                     "GetId");
}

} // namespace quillet::test
