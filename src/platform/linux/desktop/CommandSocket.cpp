#include "platform/linux/desktop/CommandSocket.h"

#include "platform/RemoteCommandNames.h"
#include "platform/linux/desktop/Bus.h"

#include <QFile>
#include <QLocalSocket>
#include <QTimer>

#include <sys/stat.h>
#include <unistd.h>

namespace quillet {
namespace {

constexpr qint64 kLongestLine = 64;
constexpr int kConnectAgainMs = 50;
constexpr QByteArrayView kTaken = "taken\n";

/// Made ours alone, or refused: whoever can enter it can command the program.
bool isPrivateFolder(const QString& folder) {
    if (folder.isEmpty()) return false;
    const QByteArray path = QFile::encodeName(folder);
    mkdir(path.constData(), 0700);
    struct stat found {};
    return lstat(path.constData(), &found) == 0 && S_ISDIR(found.st_mode) && found.st_uid == geteuid() &&
           (found.st_mode & 077) == 0;
}

QString socketIn(const QString& folder) { return folder + QStringLiteral("/instance.socket"); }

} // namespace

CommandSocket::CommandSocket(const QString& folder) : m_folder(isPrivateFolder(folder) ? folder : QString()) {
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
}

bool CommandSocket::take(std::function<void(RemoteCommand)> onCommand) {
    if (m_folder.isEmpty()) return true; // nothing to build on
    m_lock = std::make_unique<QLockFile>(m_folder + QStringLiteral("/instance.lock"));
    m_lock->setStaleLockTime(0); // however long we run; a dead owner's lock does not count
    if (!m_lock->tryLock(0)) {
        const bool held = m_lock->error() == QLockFile::LockFailedError;
        m_lock.reset();
        m_isTaken = held;
        return !held;
    }
    QLocalServer::removeServer(socketIn(m_folder));
    connect(&m_server, &QLocalServer::newConnection, this,
            [this, onCommand = std::move(onCommand)] { serve(onCommand); });
    m_server.listen(socketIn(m_folder));
    return true;
}

void CommandSocket::serve(const std::function<void(RemoteCommand)>& onCommand) {
    while (QLocalSocket* peer = m_server.nextPendingConnection()) {
        connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
        QTimer::singleShot(bus::kPatienceMs, peer, [peer] { peer->abort(); });
        const auto read = [peer, onCommand] {
            if (!peer->canReadLine()) {
                if (peer->bytesAvailable() > kLongestLine) peer->abort();
                return;
            }
            const auto command = remoteCommandNamed(QString::fromUtf8(peer->readLine(kLongestLine)).trimmed());
            if (!command) return peer->abort();
            peer->write(kTaken.data(), kTaken.size());
            peer->flush();
            peer->disconnectFromServer();
            onCommand(*command);
        };
        connect(peer, &QLocalSocket::readyRead, peer, read);
        if (peer->bytesAvailable() > 0) read();
    }
}

void CommandSocket::send(RemoteCommand command, const std::function<void(bool)>& done) {
    auto* socket = new QLocalSocket(this);
    const auto finish = [socket, done, told = std::make_shared<bool>(false)](bool delivered) {
        if (*told) return;
        *told = true;
        socket->deleteLater();
        done(delivered);
    };
    connect(socket, &QLocalSocket::connected, socket,
            [socket, command] { socket->write(remoteCommandName(command).toUtf8() + '\n'); });
    connect(socket, &QLocalSocket::readyRead, socket, [socket, finish] {
        if (socket->canReadLine()) finish(socket->readLine(kLongestLine) == kTaken);
    });
    connect(socket, &QLocalSocket::disconnected, socket, [finish] { finish(false); });
    connect(socket, &QLocalSocket::errorOccurred, socket, [this, socket, finish](QLocalSocket::LocalSocketError error) {
        const bool listens =
            error != QLocalSocket::ServerNotFoundError && error != QLocalSocket::ConnectionRefusedError;
        if (listens || !m_isTaken) return finish(false);
        // Whoever took the place at the same moment will listen in the next.
        QTimer::singleShot(kConnectAgainMs, socket, [this, socket] { socket->connectToServer(socketIn(m_folder)); });
    });
    QTimer::singleShot(m_folder.isEmpty() ? 0 : bus::kPatienceMs, socket, [finish] { finish(false); });
    if (!m_folder.isEmpty()) socket->connectToServer(socketIn(m_folder));
}

} // namespace quillet
