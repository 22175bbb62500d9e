#include "app/RecordingHost.h"

#include "storage/RecordingRecovery.h"

#include <QFile>
#include <QUrl>

namespace quillet {

RecordingHost::RecordingHost(RecordingFileManager& files, const UserDefaults& defaults, RecorderUIModel& uiModel,
                             NotificationCenter& notifications, CreateNote createNote, NotePolicy notePolicy)
    : m_files(files),
      m_defaults(defaults),
      m_uiModel(uiModel),
      m_notifications(notifications),
      m_createNote(std::move(createNote)),
      m_notePolicy(notePolicy) {}

void RecordingHost::recordingStartsIn(const std::filesystem::path& folder) {
    m_repairs.async([folder] { static_cast<void>(recoverRecordings(folder)); });
}

void RecordingHost::appendToTestLog(WallTime timestamp, const std::filesystem::path& recording) {
    m_files.appendToTestLog(timestamp, recording);
}

void RecordingHost::recordingDidComplete(const std::filesystem::path& recording) {
    m_notifications.post(Notifications::recordingDidComplete,
                         {{QStringLiteral("url"), QUrl::fromLocalFile(QFile::decodeName(recording.c_str()))}});
}

std::optional<CreateNoteResult> RecordingHost::createNote(const std::filesystem::path& recording, WallTime recordedAt) {
    return m_createNote(recording, recordedAt);
}

bool RecordingHost::autoCreateNote() {
    return m_notePolicy == NotePolicy::Always || m_defaults.boolean(DefaultsKeys::autoCreateNote);
}

} // namespace quillet
