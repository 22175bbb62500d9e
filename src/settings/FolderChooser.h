#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>

namespace quillet {

/// What a folder chooser shows; the texts are translated where they are shown.
struct FolderQuestion {
    QString title;
    QString message;
    std::optional<std::filesystem::path> startFolder; ///< absent: wherever the chooser likes to begin
};

/// Asks the user for one folder, which may be made on the way, without blocking the rest of the program; answers on the
/// main thread, with nothing when the user thinks better of it. It answers at most once and may never answer.
using FolderChooser = std::function<void(const FolderQuestion& question,
                                         std::function<void(std::optional<std::filesystem::path> folder)> answer)>;

} // namespace quillet
