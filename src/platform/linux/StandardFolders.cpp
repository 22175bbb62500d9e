#include "platform/StandardFolders.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace quillet {
namespace {

/// An XDG folder: the variable when it is an absolute path (the XDG base directory specification has relative ones
/// ignored), else the default below the home folder.
std::optional<std::filesystem::path> xdgDirectory(const char* variable, const char* belowHome) {
    if (const char* set = std::getenv(variable); set && set[0] == '/') return std::filesystem::path(set);
    const auto home = homeDirectory();
    if (!home) return std::nullopt;
    return *home / belowHome;
}

} // namespace

std::optional<std::filesystem::path> homeDirectory() {
    if (const char* home = std::getenv("HOME"); home && home[0] == '/') return std::filesystem::path(home);
    if (const passwd* user = getpwuid(getuid()); user && user->pw_dir && user->pw_dir[0] == '/')
        return std::filesystem::path(user->pw_dir);
    return std::nullopt;
}

std::optional<std::filesystem::path> applicationSupportDirectory() {
    const auto data = xdgDirectory("XDG_DATA_HOME", ".local/share");
    if (!data) return std::nullopt;
    return *data / "quillet";
}

std::filesystem::path standardSettingsFile() {
    const auto config = xdgDirectory("XDG_CONFIG_HOME", ".config");
    return config.value_or("/nonexistent") / "quillet" / "quillet.conf";
}

} // namespace quillet
