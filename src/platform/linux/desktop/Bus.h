#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>

#include <functional>

/// D-Bus as this program uses it: questions without waiting, and never starting a service that does not run, unless the
/// call says so. A missing bus answers like a missing service.
namespace quillet::bus {

inline constexpr int kPatienceMs = 3000;
inline constexpr int kStartingPatienceMs = 25'000; ///< for a service that the bus may have to start

/// Where a service's object is found.
struct Address {
    const char* service;
    const char* path;
    const char* interface;
};

[[nodiscard]] QDBusMessage methodCall(const Address& address, const char* method, const QVariantList& arguments = {});

/// The same, where the bus may start the service for the call.
[[nodiscard]] QDBusMessage startingCall(const Address& address, const char* method, const QVariantList& arguments = {});

using Reply = std::function<void(const QDBusMessage&)>;

/// Hands the reply, or the error message, to the context's thread; drops it when the context is gone.
void ask(const QDBusConnection& bus, const QDBusMessage& call, QObject* context, Reply then,
         int patienceMs = kPatienceMs);

[[nodiscard]] inline bool failed(const QDBusMessage& reply) { return reply.type() != QDBusMessage::ReplyMessage; }

/// The first value of a reply, out of however many variants it is wrapped in; invalid when there is none.
[[nodiscard]] QVariant firstValue(const QDBusMessage& reply);

/// A value out of the variants it is wrapped in.
[[nodiscard]] QVariant unwrapped(QVariant value);

/// The bus itself.
inline constexpr Address kDaemon{"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"};

} // namespace quillet::bus
