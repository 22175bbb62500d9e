#pragma once

#include "platform/DurableFile.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace quillet {

/// A recording that this process is writing. As long as the object lives everybody else, this process included, finds
/// the file marked as being written; the mark dies with the process.
class RecordingFile : public DurableFile {
public:
    /// Takes the file out of its folder, unless something else has its name by now.
    virtual void remove() = 0;
};

/// Is told where an earlier recording lies now.
using TellSetAside = std::function<void(const std::filesystem::path& earlier)>;

/// Makes a new, empty file that only its owner may read. What already has that name is set aside first, as
/// "<stem> (earlier).m4a", "<stem> (earlier 2).m4a" and so on; nothing is ever replaced. Fails when that file is still
/// being written. Takes a few milliseconds at most, and leaves nothing behind when it fails.
[[nodiscard]] Result<std::unique_ptr<RecordingFile>> createRecordingFile(const std::filesystem::path& path,
                                                                         const TellSetAside& tell = {});

/// The same for a file that a library makes under its own power: what has the name is set aside before the library
/// makes the file, and the file is marked as being written as soon as it is there. The mark is a RecordingFile of which
/// only the life, and remove(), are of use.
[[nodiscard]] Result<void> setAsideEarlierRecording(const std::filesystem::path& path, const TellSetAside& tell = {});
[[nodiscard]] Result<std::unique_ptr<RecordingFile>> markAsBeingWritten(const std::filesystem::path& path);

/// One state of a file's content, to find out later whether somebody has gone on writing.
struct FileVersion {
    std::int64_t bytes = 0;
    std::int64_t changedNs = 0; ///< since 1970, by the clock of whoever keeps the volume
    bool operator==(const FileVersion&) const = default;
};

/// What a glance at a file tells.
struct RecordingGlance {
    enum class Kind {
        Readable,
        BeingWritten, ///< by this process or another one
        NotAFile      ///< a folder, a symbolic link, a device
    };
    Kind kind = Kind::Readable;
    std::vector<std::byte> head; ///< Readable only: how the file begins
    FileVersion version;         ///< Readable only: not newer than the head
};

/// Never waits for anybody and changes nothing. The error says why the file cannot be read.
[[nodiscard]] Result<RecordingGlance> glanceAtRecording(const std::filesystem::path& path, std::size_t headBytes);

/// A file opened for repair, kept from every other repair as long as `file` lives. When that goes, the file's
/// modification time is what it was before. The marks of who writes and who repairs are locks: on a volume that keeps
/// them to one machine, or to none, neither is seen from elsewhere.
struct RecordingForRepair {
    enum class Kind { Ready, BeingWritten, BeingRepaired };
    Kind kind = Kind::Ready;
    std::unique_ptr<DurableFile> file; ///< Ready only
    FileVersion version;               ///< Ready only: as it was opened
};

[[nodiscard]] Result<RecordingForRepair> openRecordingForRepair(const std::filesystem::path& path);

} // namespace quillet
