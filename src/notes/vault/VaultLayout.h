#pragma once

#include "platform/DurableFolder.h"
#include "platform/NotesApplication.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace quillet::vault {

/// The application that a vault was made with, as its traces in the vault's root tell.
enum class VaultKind { Plain, Obsidian, Logseq, Zettlr };

/// Where notes and recordings go in a vault and how the one refers to the other.
struct VaultLayout {
    VaultKind kind = VaultKind::Plain;
    QStringList notes;                    ///< from the root: the folder of the notes, and of the user's folders
    QStringList attachments;              ///< from the root, or from the note's folder
    bool attachmentsBelowTheNote = false; ///< attachments starts from the note's folder
};

[[nodiscard]] VaultLayout readLayout(DurableFolder& root);

/// The whole text of a note. Both places are folders from the vault's root.
struct NotePlaces {
    QStringList note;
    QStringList recording;
    QString recordingName;
};
[[nodiscard]] QString noteText(VaultKind kind, const NoteDraft& draft, const NotePlaces& places,
                               const QDateTime& recordedAt);

} // namespace quillet::vault
