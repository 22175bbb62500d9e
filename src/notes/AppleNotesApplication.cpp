#include "notes/AppleNotesApplication.h"

#include <QFile>

namespace quillet {

NotesAccess AppleNotesApplication::probeAccess() {
    return m_runner.checkNotesAutomationAccess() ? NotesAccess::Granted : NotesAccess::Denied;
}

NoteOutcome AppleNotesApplication::createNoteWithAttachment(const NoteDraft& draft) {
    const QString path = QFile::decodeName(draft.attachment.c_str());
    const CreateNoteResult result = m_runner.createNoteWithAttachment(path, draft.title, draft.body, draft.folderName);
    if (result.success) return NoteOutcome::made();
    return result.isAutomationDenied
               ? NoteOutcome::refused(QStringLiteral("Notes does not let this program create notes."))
               : NoteOutcome::failed(QStringLiteral("Notes could not create the note."));
}

} // namespace quillet
