#pragma once

#include <filesystem>
#include <optional>

namespace quillet {

/// Where this system keeps a program's own data of this user; absent when the user has no home. It may not exist yet.
[[nodiscard]] std::optional<std::filesystem::path> applicationSupportDirectory();

/// The file that holds the user's settings.
[[nodiscard]] std::filesystem::path standardSettingsFile();

/// The user's home folder; absent when the user has none.
[[nodiscard]] std::optional<std::filesystem::path> homeDirectory();

} // namespace quillet
