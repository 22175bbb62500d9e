#pragma once

#include "support/Result.h"
#include "templates/MeetingTemplate.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace quillet {

/// Templates in files of their own, as they are exported and taken in again. Each call may block on the disk; errors
/// are sentences for the user. Any thread.
namespace TemplateFiles {

/// Whole or not at all, replacing any file; in place where the name is too long for one beside it.
[[nodiscard]] Result<void, QString> write(const QString& path, const QByteArray& bytes);
/// Refuses what is too large to be meant.
[[nodiscard]] Result<QByteArray, QString> read(const QString& path);

/// What an exported file (one record or a list) adds to the user's templates: an id that is taken already is replaced
/// by a new one, so nothing that exists is overwritten, and the program's own flags are dropped, so that what was
/// imported can be edited and deleted.
[[nodiscard]] Result<std::vector<MeetingTemplate>, QString> imported(const QByteArray& json,
                                                                     const std::vector<MeetingTemplate>& existing);

} // namespace TemplateFiles
} // namespace quillet
