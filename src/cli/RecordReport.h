#pragma once

#include "capture/CaptureStatistics.h"
#include "platform/NotesApplication.h"

#include <QStringList>

#include <filesystem>
#include <optional>

namespace quillet::cli {

// What is told of a recording that has been made. The note's outcome is absent when none was wanted.

[[nodiscard]] double seconds(FrameCount frames);

/// A sentence for each thing that went wrong with its sound or its note.
[[nodiscard]] QStringList warnings(const CaptureStatistics& statistics, const std::optional<NoteOutcome>& note);

/// One line of JSON for other programs.
[[nodiscard]] QString jsonReport(const std::filesystem::path& recording, const CaptureStatistics& statistics,
                                 const std::optional<NoteOutcome>& note, const QStringList& sentences);

} // namespace quillet::cli
