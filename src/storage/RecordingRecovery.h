#pragma once

#include <QString>

#include <filesystem>
#include <vector>

namespace quillet {

/// What became of one unfinished recording.
struct RecoveryOutcome {
    enum class Kind {
        Repaired,     ///< now a plain, seekable .m4a
        BeingWritten, ///< somebody is recording into it; untouched
        NotRepaired   ///< untouched or as it was found; reason says why
    };
    std::filesystem::path file;
    Kind kind = Kind::NotRepaired;
    double durationSeconds = 0; ///< Repaired only
    QString reason;             ///< NotRepaired only: a clause for the user
};

/// Looks through a folder (not its sub-folders) for .m4a files that a killed process or a power cut left unfinished and
/// finishes each in place. Finished files are not listed and not touched; nothing is ever deleted. Blocks on the disk:
/// never on the main thread or the capture queue. Two recoveries of one folder at once do not disturb each other.
[[nodiscard]] std::vector<RecoveryOutcome> recoverRecordings(const std::filesystem::path& folder);

} // namespace quillet
