#pragma once

#include <QUrl>

#include <filesystem>

namespace quillet {

/// The file's URL and back, byte for byte. QUrl's own way leads through text, which loses names that are no valid
/// UTF-8: file systems have them, from archives and discs of other times.
[[nodiscard]] QUrl fileUrl(const std::filesystem::path& path);
[[nodiscard]] std::filesystem::path pathOf(const QUrl& fileUrl);

} // namespace quillet
