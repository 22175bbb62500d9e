#pragma once

#include <QString>

#include <filesystem>
#include <optional>

namespace quillet {

/// A path as people write it: with "~" for the home folder, where there is one.
[[nodiscard]] QString displayPath(const std::filesystem::path& path, const std::optional<std::filesystem::path>& home);

} // namespace quillet
