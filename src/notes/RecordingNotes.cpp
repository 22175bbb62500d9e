#include "notes/RecordingNotes.h"

#include "storage/RecordingRecovery.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace quillet {
namespace {

WallTime lastModified(const std::filesystem::path& file) {
    const QDateTime modified = QFileInfo(QFile::decodeName(file.c_str())).lastModified();
    return modified.isValid() ? WallTime(std::chrono::milliseconds(modified.toMSecsSinceEpoch()))
                              : std::chrono::system_clock::now();
}

} // namespace

std::optional<NoteOutcome> RecordingNotes::makeNote(const std::filesystem::path& recording, WallTime completedAt) {
    const QString folder = m_integrator.folderNameOfSettings();
    static_cast<void>(m_pending.add({recording, completedAt, folder}));
    return attempt({.recording = recording, .recordedAt = completedAt, .details = {}, .folderName = folder});
}

std::optional<NoteOutcome> RecordingNotes::makeNoteLater(const std::filesystem::path& recording,
                                                         const MeetingDetails& details,
                                                         const std::optional<QString>& folderName) {
    NoteRequest request{.recording = recording, .recordedAt = {}, .details = details, .folderName = folderName};
    if (const auto pending = m_pending.find(recording)) {
        request.recordedAt = pending->completedAt;
        // In a folder that the application can never have, the note would fail for ever.
        if (!folderName && m_integrator.canUseFolder(pending->folderName)) request.folderName = pending->folderName;
    } else {
        request.recordedAt = lastModified(recording);
    }
    return attempt(request);
}

std::optional<NoteOutcome> RecordingNotes::attempt(const NoteRequest& request) {
    if (isUnfinishedRecording(request.recording))
        return NoteOutcome::failed(
            QStringLiteral("The recording is not finished; “quillet recover” may still repair it."));
    auto outcome = m_integrator.makeNote(request);
    if (outcome && outcome->success) static_cast<void>(m_pending.remove(request.recordedAt));
    return outcome;
}

} // namespace quillet
