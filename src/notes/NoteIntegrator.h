#pragma once

#include "notes/CreateNoteResult.h"
#include "platform/NotesApplication.h"
#include "support/DateTexts.h"
#include "support/UserDefaults.h"

#include <QString>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillet {

/// What is known of a meeting beside its recording. An absent text gets its placeholder in the note; an empty one is an
/// empty section.
struct MeetingDetails {
    std::optional<double> durationSeconds{};
    std::optional<QString> title{}; ///< absent: made of the recording's date
    std::optional<QString> attendees{};
    std::optional<QString> aiSummary{};
    std::optional<QString> keyDecisions{};
    std::optional<QString> actionItems{};
    std::optional<QString> followUps{};
    std::optional<QString> transcript{};
};

/// A recording that is to become a note.
struct NoteRequest {
    std::filesystem::path recording{};
    WallTime recordedAt{};
    MeetingDetails details{};
    std::optional<QString> folderName{}; ///< absent: the folder of the settings at this moment
};

[[nodiscard]] inline CreateNoteResult toCreateNoteResult(const NoteOutcome& outcome) {
    return {outcome.success, outcome.isAutomationDenied};
}

/// Turns recordings into notes: composes title and body, picks the folder of the user's settings and hands both to the
/// notes application; also lists and tests that application's folders for the settings and the onboarding. It keeps no
/// state of its own. Making a note blocks its caller for as long as the application takes and belongs on a worker; the
/// two other operations are asked on the main thread and answer there, later. Nothing throws.
class NoteIntegrator {
public:
    using FoldersCompletion = std::function<void(const std::vector<QString>& folders, bool failed)>;
    using TestCompletion = std::function<void(bool exists)>;

    /// isAutomationGranted is asked on the main thread. The defaults must outlive the integrator.
    NoteIntegrator(std::shared_ptr<NotesApplication> application, const UserDefaults& defaults,
                   std::function<bool()> isAutomationGranted,
                   std::function<WallTime()> now = std::chrono::system_clock::now);

    /// Absent when nothing was attempted: there is no recording, or no notes application.
    [[nodiscard]] std::optional<CreateNoteResult>
    createNote(const std::filesystem::path& recording, WallTime recordedAt, const MeetingDetails& details = {}) const;
    /// The same with the reason of a failure.
    [[nodiscard]] std::optional<NoteOutcome> makeNote(const NoteRequest& request) const;

    [[nodiscard]] bool isNotesAvailable() const { return m_application->isAvailable(); }
    /// The folder that the settings name, without white space around it; empty for the application's own place.
    [[nodiscard]] QString folderNameOfSettings() const;

    /// Whether notes can be put into a folder of this name, which may be empty.
    [[nodiscard]] bool canUseFolder(const QString& folderName) const;

    /// failed whenever the list is empty. The user is never asked for consent.
    void fetchFoldersAsyncDetailed(FoldersCompletion completion) const;
    void testFolderConnection(const QString& folderName, TestCompletion completion) const;

private:
    [[nodiscard]] QString body(const QString& title, const NoteRequest& request) const;
    [[nodiscard]] bool mayAsk() const { return isNotesAvailable() && m_isAutomationGranted(); }

    const std::shared_ptr<NotesApplication> m_application;
    const UserDefaults& m_defaults;
    const std::function<bool()> m_isAutomationGranted;
    const std::function<WallTime()> m_now;
};

} // namespace quillet
