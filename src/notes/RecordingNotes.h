#pragma once

#include "notes/NoteIntegrator.h"
#include "notes/PendingNotes.h"

#include <optional>

namespace quillet {

/// Sees a recording through to its note and does not forget it when that fails: what the note needs is kept from before
/// the attempt until a note has been made. Blocks like the notes application does; on a worker. What is given to it
/// must outlive it. A list that cannot be kept never keeps a note from being made. A recording that is not finished
/// gets no note, which would keep its unfinished copy for good.
class RecordingNotes {
public:
    RecordingNotes(const NoteIntegrator& integrator, PendingNotes& pending)
        : m_integrator(integrator), m_pending(pending) {}

    /// A recording that has just been completed. Absent when nothing was attempted; the recording is kept then, too.
    [[nodiscard]] std::optional<NoteOutcome> makeNote(const std::filesystem::path& recording, WallTime completedAt);

    /// A recording of the past: under the title and in the folder that its note would have had then, or, where no
    /// folder can have that name, in the one of the present settings. One that was not kept goes by the time stamp of
    /// its file and by the present settings.
    [[nodiscard]] std::optional<NoteOutcome> makeNoteLater(const std::filesystem::path& recording,
                                                           const MeetingDetails& details = {},
                                                           const std::optional<QString>& folderName = {});

private:
    std::optional<NoteOutcome> attempt(const NoteRequest& request);

    const NoteIntegrator& m_integrator;
    PendingNotes& m_pending;
};

} // namespace quillet
