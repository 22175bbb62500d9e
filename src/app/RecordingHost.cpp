#include "app/RecordingHost.h"

#include "storage/RecordingRecovery.h"
#include "support/FileUrl.h"

namespace quillet {

RecordingHost::RecordingHost(RecordingFileManager& files, const UserDefaults& defaults, RecorderUIModel& uiModel,
                             NotificationCenter& notifications, Notes notes, NotePolicy notePolicy)
    : m_files(files),
      m_defaults(defaults),
      m_uiModel(uiModel),
      m_notifications(notifications),
      m_notes(std::move(notes)),
      m_notePolicy(notePolicy) {}

void RecordingHost::recordingStartsIn(const std::filesystem::path& folder) {
    m_repairs.async([folder] { static_cast<void>(recoverRecordings(folder)); });
}

void RecordingHost::earlierRecordingSetAside(const std::filesystem::path& from, const std::filesystem::path& to) {
    m_renames.async([this, from, to] { m_notes.renamed(from, to); });
    // The look through the folder may have met it under neither name.
    m_repairs.async([to] { static_cast<void>(recoverRecording(to)); });
}

void RecordingHost::appendToTestLog(WallTime timestamp, const std::filesystem::path& recording) {
    m_files.appendToTestLog(timestamp, recording);
}

void RecordingHost::recordingDidComplete(const std::filesystem::path& recording) {
    m_notifications.post(Notifications::recordingDidComplete,
                         {{QStringLiteral("url"), fileUrl(recording)},
                          {QStringLiteral("isUnfinished"), isUnfinishedRecording(recording)}});
}

std::optional<CreateNoteResult> RecordingHost::createNote(const std::filesystem::path& recording, WallTime recordedAt) {
    m_renames.sync([] {}); // one may be on its way, and this note may be filed under the name of before
    const auto result = m_notes.create(recording, recordedAt);
    // An alert would call it saved; the notice of its end has said what it is, and its note is kept for later.
    return isUnfinishedRecording(recording) ? std::nullopt : result;
}

bool RecordingHost::autoCreateNote() {
    return m_notePolicy == NotePolicy::Always || m_defaults.boolean(DefaultsKeys::autoCreateNote);
}

} // namespace quillet
