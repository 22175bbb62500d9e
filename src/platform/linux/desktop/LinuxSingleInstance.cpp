#include "platform/linux/desktop/LinuxSingleInstance.h"

#include "platform/RemoteCommandNames.h"
#include "platform/linux/desktop/Bus.h"
#include "support/MainThread.h"

#include <utility>

namespace quillet {
namespace {

constexpr bus::Address kApplication{LinuxSingleInstance::kName, LinuxSingleInstance::kPath,
                                    "org.freedesktop.Application"};

constexpr uint kDoNotQueue = 4; // in a request for a name
enum NameReply : uint { PrimaryOwner = 1, Exists = 3, AlreadyOwner = 4 };

} // namespace

void ApplicationObject::Activate(const QVariantMap&) { later(RemoteCommand::Open); }
void ApplicationObject::Open(const QStringList&, const QVariantMap&) { later(RemoteCommand::Open); }

void ApplicationObject::ActivateAction(const QString& name, const QVariantList&, const QVariantMap&) {
    if (const auto command = remoteCommandNamed(name)) later(*command);
}

void ApplicationObject::later(RemoteCommand command) const {
    // The caller is answered first: a command may end the program.
    if (onCommand) MainThread::post([run = onCommand, command] { run(command); });
}

LinuxSingleInstance::LinuxSingleInstance(const QDBusConnection& bus, const QString& socketFolder)
    : m_bus(bus), m_socket(socketFolder) {}

void LinuxSingleInstance::claim(RemoteCommand command, std::function<void(RemoteCommand)> onCommand,
                                std::function<void(Claim)> done) {
    m_object.onCommand = onCommand;
    // The object before the name: whoever sees the name may call at once.
    m_bus.registerObject(QLatin1String(kPath), &m_object, QDBusConnection::ExportScriptableContents);
    bus::ask(m_bus, bus::methodCall(bus::kDaemon, "RequestName", {QLatin1String(kName), kDoNotQueue}), this,
             [this, command, onCommand = std::move(onCommand), done = std::move(done)](const QDBusMessage& reply) {
                 if (bus::failed(reply)) return claimSocket(command, onCommand, done);
                 const uint outcome = bus::firstValue(reply).toUInt();
                 if (outcome == PrimaryOwner || outcome == AlreadyOwner) {
                     (void)m_socket.take(onCommand); // another session of the user's may have it
                     return done(Claim::First);
                 }
                 sendOverBus(command, [done](BusAnswer answer) {
                     done(answer == BusAnswer::Taken ? Claim::Delivered : Claim::Unreached);
                 });
             });
}

void LinuxSingleInstance::claimSocket(RemoteCommand command, const std::function<void(RemoteCommand)>& onCommand,
                                      const std::function<void(Claim)>& done) {
    if (m_socket.take(onCommand)) return done(Claim::First);
    m_socket.send(command, [done](bool delivered) { done(delivered ? Claim::Delivered : Claim::Unreached); });
}

void LinuxSingleInstance::send(RemoteCommand command, std::function<void(bool)> done) {
    sendOverBus(command, [this, command, done = std::move(done)](BusAnswer answer) {
        if (answer == BusAnswer::Nobody) return m_socket.send(command, done);
        done(answer == BusAnswer::Taken);
    });
}

void LinuxSingleInstance::sendOverBus(RemoteCommand command, std::function<void(BusAnswer)> done) {
    const QDBusMessage call = command == RemoteCommand::Open
                                  ? bus::methodCall(kApplication, "Activate", {QVariantMap()})
                                  : bus::methodCall(kApplication, "ActivateAction",
                                                    {remoteCommandName(command), QVariantList(), QVariantMap()});
    bus::ask(m_bus, call, this, [done = std::move(done)](const QDBusMessage& reply) {
        if (!bus::failed(reply)) return done(BusAnswer::Taken);
        const bool silent = reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NoReply");
        done(silent ? BusAnswer::NoAnswer : BusAnswer::Nobody);
    });
}

} // namespace quillet
