#pragma once

#include <QString>

#include <string>

namespace quillet::vault {

/// What a note of this title is called as a file, without its suffix: readable everywhere the vault may be carried to
/// (other systems, links in Markdown), never empty, never hidden, at most 100 characters.
[[nodiscard]] QString fileBaseName(const QString& title);

/// The file's name at the attempt-th try: "Weekly sync.md", "Weekly sync (2).md" and so on. With a base
/// name of ours the whole stays within the 255 bytes that file systems take. The suffix has its dot.
[[nodiscard]] std::string fileName(const QString& baseName, int attempt, const QString& suffix);

/// The suffix of a recording in the vault, with its dot: the file's own, or .m4a where that is none.
[[nodiscard]] QString attachmentSuffix(const QString& fileName);

/// Whether a folder directly below another one can have this name and is shown.
[[nodiscard]] bool isFolderName(const QString& name);

} // namespace quillet::vault
