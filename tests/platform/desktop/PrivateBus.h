#pragma once

#include "support/WaitFor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QVariantList>

namespace quillet::test {

/// A message bus of its own that starts no services, so that nothing of this machine is ever reached. Several
/// connections from one process stand for several programs.
class PrivateBus {
public:
    PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();

    [[nodiscard]] bool started() const { return !m_address.isEmpty(); }
    [[nodiscard]] QDBusConnection connection(const QString& program);

    /// From now on the bus takes what is sent and answers nothing, as on a machine that has stopped responding.
    void freeze();

    /// A connection that never was one.
    [[nodiscard]] static QDBusConnection none() { return QDBusConnection(QStringLiteral("no-such-bus")); }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

/// Calls as another program would, and gives the answer.
[[nodiscard]] QDBusMessage callAs(const QDBusConnection& program, const QString& service, const char* path,
                                  const char* interface, const char* method, const QVariantList& arguments = {});

/// Until all that the one has sent so far has arrived at the other.
void settle(const QDBusConnection& from, const QDBusConnection& to);

} // namespace quillet::test
