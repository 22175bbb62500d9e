#include "platform/linux/desktop/Bus.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QMetaObject>

#include <utility>

namespace quillet::bus {

QDBusMessage startingCall(const Address& address, const char* method, const QVariantList& arguments) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(QString::fromLatin1(address.service), QString::fromLatin1(address.path),
                                       QString::fromLatin1(address.interface), QString::fromLatin1(method));
    call.setArguments(arguments);
    return call;
}

QDBusMessage methodCall(const Address& address, const char* method, const QVariantList& arguments) {
    QDBusMessage call = startingCall(address, method, arguments);
    call.setAutoStartService(false);
    return call;
}

void ask(const QDBusConnection& bus, const QDBusMessage& call, QObject* context, Reply then, int patienceMs) {
    if (!bus.isConnected()) { // an unconnected bus gives no answer at all
        const QDBusMessage none = call.createErrorReply(QDBusError::Disconnected, QStringLiteral("no bus"));
        QMetaObject::invokeMethod(
            context, [then = std::move(then), none] { then(none); }, Qt::QueuedConnection);
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, patienceMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [then = std::move(then)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         then(finished->reply());
                     });
}

QVariant unwrapped(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

QVariant firstValue(const QDBusMessage& reply) {
    return failed(reply) ? QVariant() : unwrapped(reply.arguments().value(0));
}

} // namespace quillet::bus
