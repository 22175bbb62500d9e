#pragma once

#include "notes/joplin/JoplinClient.h"
#include "platform/NotesApplication.h"

#include <QFile>

#include <filesystem>

namespace quillet::joplin {

/// A recording as it is when its note is asked for. While requests are under way, another one may take its name; what
/// has been opened stays the same.
struct Recording {
    explicit Recording(const std::filesystem::path& path);
    [[nodiscard]] bool isOpen() const { return file.isOpen(); }

    QFile file; ///< closed when it is no file or cannot be read
    QString canonicalPath;
    QString name;
    QString suffix;
    qint64 bytes = 0;
    qint64 modifiedMs = 0;
};

/// Puts the note and its recording into the folder: the recording, then the note without a body, then the body. The ids
/// follow from what was asked for, so that an attempt that finds what an earlier one left (Joplin was killed, an answer
/// was lost) goes on from there instead of doubling it. What this attempt made is removed again when it fails; so that
/// it is not another attempt's, only one at a time works on the same note, those of other processes included, which are
/// told by a file in the lock folder.
[[nodiscard]] Result<void, Fault> makeNote(Client& client, const NoteDraft& draft, Recording& recording,
                                           const QString& folderId, const std::filesystem::path& lockFolder);

} // namespace quillet::joplin
