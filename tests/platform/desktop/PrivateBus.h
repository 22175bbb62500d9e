#pragma once

#include "support/Files.h"
#include "support/Require.h"
#include "support/WaitFor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QVariantList>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>

namespace quillet::test {

using namespace Qt::StringLiterals;

/// A message bus of its own that starts no services, so that nothing of this machine is ever reached. Several
/// connections from one process stand for several programs. Without one the test program ends: nothing that follows
/// would mean anything.
class PrivateBus {
public:
    PrivateBus() {
        const QString file =
            makeFile(m_folder.filePath(u"bus.conf"_s),
                     "<busconfig><listen>unix:path=" + m_folder.path().toUtf8() +
                         "/bus</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow "
                         "send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow "
                         "own=\"*\"/></policy></busconfig>");
        m_daemon.start(u"dbus-daemon"_s, {u"--config-file="_s + file, u"--nofork"_s, u"--print-address"_s});
        require(m_daemon.waitForReadyRead(5000), "no dbus-daemon");
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus() {
        for (const QString& name : m_connections) QDBusConnection::disconnectFromBus(name);
        m_daemon.kill(); // it has nothing to save, and may be frozen
        m_daemon.waitForFinished(3000);
    }

    [[nodiscard]] QDBusConnection connection() {
        static std::atomic<int> count = 0;
        m_connections << QString::number(++count);
        return QDBusConnection::connectToBus(m_address, m_connections.last());
    }
    /// From now on the bus takes what is sent and answers nothing, as on a machine that has stopped responding.
    void freeze() { kill(static_cast<pid_t>(m_daemon.processId()), SIGSTOP); }

    /// A connection that never was one.
    [[nodiscard]] static QDBusConnection none() { return QDBusConnection(u"no-such-bus"_s); }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

/// A bus with a connection for the program under test.
class BusTest : public testing::Test {
protected:
    PrivateBus m_bus;
    QDBusConnection m_connection = m_bus.connection();
};

/// Calls as another program would, and gives the answer.
inline QDBusMessage callAs(const QDBusConnection& program, const QString& service, const char* path,
                           const char* interface, const char* method, const QVariantList& arguments = {}) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, QLatin1String(path), QLatin1String(interface), QLatin1String(method));
    call.setArguments(arguments);
    const QDBusPendingCallWatcher pending(program.asyncCall(call, 5000));
    waitFor([&] { return pending.isFinished(); }, 6000);
    return pending.reply();
}

/// Until all that the one has sent so far has arrived at the other.
inline void settle(const QDBusConnection& from, const QDBusConnection& to) {
    // The bus keeps each connection's order, so its answer to the second comes behind what the first had sent.
    for (const QDBusConnection& program : {from, to})
        callAs(program, u"org.freedesktop.DBus"_s, "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId");
    processEvents(); // the answer is known of before what came in front of it has been delivered
}

} // namespace quillet::test
