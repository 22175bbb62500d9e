#pragma once

#include "notes/NoteIntegrator.h"
#include "notes/PendingNotes.h"
#include "notes/RecordingNotes.h"
#include "platform/NotesApplication.h"
#include "support/UserDefaults.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace quillet {

/// The notes application that the settings choose at each call, so that a choice counts at once and for everybody who
/// holds it. The defaults must outlive it and be readable from any thread.
[[nodiscard]] std::shared_ptr<NotesApplication> makeNotesApplication(const UserDefaults& defaults);

/// All that it takes to turn recordings into notes, wired together.
struct NotesServices {
    /// isAutomationGranted is asked on the main thread, before anything is listed without the user asking for it.
    NotesServices(const UserDefaults& defaults, std::function<bool()> isAutomationGranted);

    /// For a recording that has just ended. That there is no notes application is nothing to report where the system
    /// brings one and nobody chose another, and a failure elsewhere. Blocks; a worker's.
    [[nodiscard]] std::optional<CreateNoteResult> makeNote(const std::filesystem::path& recording,
                                                           WallTime completedAt);

    const UserDefaults& defaults;
    const std::shared_ptr<NotesApplication> application;
    const NoteIntegrator integrator;
    PendingNotes pending;
    RecordingNotes recordings;
};

} // namespace quillet
