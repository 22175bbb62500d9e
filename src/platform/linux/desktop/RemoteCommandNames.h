#pragma once

#include "platform/SingleInstance.h"

#include <QString>

#include <optional>

namespace quillet {

/// The command's name on the bus, on the socket and in the desktop file.
[[nodiscard]] QString remoteCommandName(RemoteCommand command);
[[nodiscard]] std::optional<RemoteCommand> remoteCommandNamed(const QString& name);

} // namespace quillet
