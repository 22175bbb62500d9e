#pragma once

#include "platform/SingleInstance.h"

#include <QString>

#include <array>
#include <optional>
#include <utility>

namespace quillet {

/// What the commands between two starts of the program are called on their way: on a bus, on a socket, among
/// notifications, and in the desktop file.
inline constexpr std::array<std::pair<RemoteCommand, const char*>, 4> kRemoteCommandNames{{
    {RemoteCommand::Open, "open"},
    {RemoteCommand::ToggleRecording, "toggle-recording"},
    {RemoteCommand::OpenSettings, "settings"},
    {RemoteCommand::Quit, "quit"},
}};

[[nodiscard]] inline QString remoteCommandName(RemoteCommand command) {
    for (const auto& [known, name] : kRemoteCommandNames) {
        if (known == command) return QString::fromLatin1(name);
    }
    return {};
}

/// Absent for anything that another program may have sent.
[[nodiscard]] inline std::optional<RemoteCommand> remoteCommandNamed(const QString& text) {
    for (const auto& [command, name] : kRemoteCommandNames) {
        if (text == QLatin1String(name)) return command;
    }
    return std::nullopt;
}

} // namespace quillet
