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

/// Whether a file is a recording that still has to be finished, or is being recorded. Looks at its first bytes only.
[[nodiscard]] bool isUnfinishedRecording(const std::filesystem::path& file);

/// Looks through a folder (not its sub-folders) for .m4a files that a killed process or a power cut left unfinished and
/// finishes each in place. Finished files are not listed and not touched; nothing is ever deleted. One that was changed
/// within the last hour is watched for 5 s first, because the lock of who writes it need not be visible here. Blocks on
/// the disk: never on the main thread or the capture queue. Two recoveries of one folder at once do not disturb each
/// other.
[[nodiscard]] std::vector<RecoveryOutcome> recoverRecordings(const std::filesystem::path& folder);

/// The same for one file; nothing is said of one that needs no attention.
[[nodiscard]] std::vector<RecoveryOutcome> recoverRecording(const std::filesystem::path& file);

} // namespace quillet
