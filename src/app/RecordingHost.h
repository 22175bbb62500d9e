#pragma once

#include "app/RecorderUIModel.h"
#include "capture/AudioCaptureEngine.h"
#include "storage/RecordingFileManager.h"
#include "support/NotificationCenter.h"
#include "support/SerialQueue.h"
#include "support/UserDefaults.h"

#include <functional>

namespace quillet {

/// The program around the capture engine: answers its questions from the recordings folder, the settings, the alert
/// slot and the notes application. The objects given to it must outlive it.
class RecordingHost final : public AudioCaptureEngine::Host {
public:
    /// What becomes of a recording's note.
    struct Notes {
        std::function<std::optional<CreateNoteResult>(const std::filesystem::path& recording, WallTime recordedAt)>
            create;
        /// A recording has been given another name; on a thread that may wait.
        std::function<void(const std::filesystem::path& from, const std::filesystem::path& to)> renamed;
    };

    enum class NotePolicy {
        AsTheUserChose, ///< the setting, at the moment of stopping
        Always
    };

    RecordingHost(RecordingFileManager& files, const UserDefaults& defaults, RecorderUIModel& uiModel,
                  NotificationCenter& notifications, Notes notes, NotePolicy notePolicy = NotePolicy::AsTheUserChose);

    Result<std::filesystem::path, StorageError> generateFileURL() override { return m_files.generateFileURL(); }
    Result<std::filesystem::path, StorageError> generateFileURLInApplicationSupport() override {
        return m_files.generateFileURLInApplicationSupport();
    }
    void recordingStartsIn(const std::filesystem::path& folder) override;
    void earlierRecordingSetAside(const std::filesystem::path& from, const std::filesystem::path& to) override;
    void appendToTestLog(WallTime timestamp, const std::filesystem::path& recording) override;
    void recordingDidComplete(const std::filesystem::path& recording) override;
    std::optional<CreateNoteResult> createNote(const std::filesystem::path& recording, WallTime recordedAt) override;
    bool autoCreateNote() override;
    void showDiskFull() override { m_uiModel.showDiskFull(); }
    void showPermissionDenied() override { m_uiModel.showPermissionDenied(); }
    void showNotesAutomationDenied() override { m_uiModel.showNotesAutomationDenied(); }
    void showAppleScriptFailure() override { m_uiModel.showAppleScriptFailure(); }

private:
    RecordingFileManager& m_files;
    const UserDefaults& m_defaults;
    RecorderUIModel& m_uiModel;
    NotificationCenter& m_notifications;
    const Notes m_notes;
    const NotePolicy m_notePolicy;
    // Last: their threads end before the rest goes. A repair may watch a file for seconds, a note waits for renames.
    SerialQueue m_repairs{"quillet.repairs"};
    SerialQueue m_renames{"quillet.renames"};
};

} // namespace quillet
