#pragma once

#include "platform/SingleInstance.h"

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

namespace quillet {

/// The place of the one running program, and the road of commands to it, without a session bus: a lock and a local
/// socket in a folder that only the user can enter. Owned by the single instance; main thread, never waits. A process
/// that died leaves nothing that would keep the next one out.
class CommandSocket : public QObject {
public:
    explicit CommandSocket(const QString& folder);

    /// False when another process has the place.
    [[nodiscard]] bool take(std::function<void(RemoteCommand)> onCommand);

    /// True when the process that has the place took the command. Where take() has found one, it gets time to listen.
    void send(RemoteCommand command, const std::function<void(bool delivered)>& done);

private:
    void serve(const std::function<void(RemoteCommand)>& onCommand);

    QString m_folder;
    std::unique_ptr<QLockFile> m_lock;
    bool m_isTaken = false; ///< by another process
    QLocalServer m_server;
};

} // namespace quillet
