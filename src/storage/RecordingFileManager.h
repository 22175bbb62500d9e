#pragma once

#include "platform/FileServices.h"
#include "storage/RecordingFileManagerError.h"
#include "support/DateTexts.h"
#include "support/UserDefaults.h"

#include <QString>
#include <QTimeZone>

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace quillet {

/// Decides where a recording goes and what it is called: a default folder inside the application's own data folder, or
/// a folder of the user's choice that is found again at the next start.
///
/// Names have the resolution of a minute; two recordings of one minute in one folder get the same name, and the writer
/// sets the earlier one aside. The file-URL calls belong to the capture queue, the folder choice and the file manager's
/// actions to the main thread, the log to the recording's finishing thread; the folder is not changed while a recording
/// starts, so there is no locking.
class RecordingFileManager {
public:
    static constexpr std::int64_t kLeastFreeBytes = 104857600; ///< 100 MiB

    RecordingFileManager(FileServices& fileManager, UserDefaults& defaults,
                         std::function<WallTime()> now = std::chrono::system_clock::now);
    RecordingFileManager(const RecordingFileManager&) = delete;
    RecordingFileManager& operator=(const RecordingFileManager&) = delete;

    /// The URL for a recording that starts now, in the effective folder, which is made if need be. The file is not.
    Result<std::filesystem::path, StorageError> generateFileURL();
    /// The same in the default folder, whatever the user chose: the way out when that folder fails.
    Result<std::filesystem::path, StorageError> generateFileURLInApplicationSupport();
    Result<void, StorageError> ensureRecordingsDirectoryExists();
    Result<void, StorageError> checkDiskSpace();

    [[nodiscard]] std::optional<std::filesystem::path> defaultRecordingsDirectoryURL() const;
    [[nodiscard]] std::optional<std::filesystem::path> effectiveRecordingsDirectoryURL() const;
    /// Where recordings may be: the effective folder, and the default one, where they go when a chosen one fails.
    [[nodiscard]] std::vector<std::filesystem::path> recordingFolders() const;
    /// Absent while the default folder is in use.
    [[nodiscard]] const std::optional<std::filesystem::path>& resolvedCustomDirectoryURL() const {
        return m_resolvedCustomDirectoryURL;
    }
    /// A folder takes no files, or is not there and cannot be made, as when its disk is unplugged: if it is the user's,
    /// recordings go to the default one instead. Blocks for as long as its disk or network does; any thread.
    [[nodiscard]] static bool isUnwritable(const std::filesystem::path& folder);
    /// With "~" for the home folder; an em dash when there is no folder at all.
    [[nodiscard]] QString recordingsDirectoryDisplayPath() const;

    /// Absent goes back to the default folder. False when the choice could not be stored: the one before goes on
    /// counting.
    bool setCustomRecordingsDirectory(const std::optional<std::filesystem::path>& url);
    bool resetToDefaultRecordingsDirectory();

    void openRecordingsFolderInFinder();
    void showInFinderSelecting(const std::filesystem::path& url);

    /// One line in "test_log.txt" of the application's data folder. Never reports failure: the recording is safe.
    void appendToTestLog(WallTime timestamp, const std::filesystem::path& recordingAbsolutePath);

private:
    Result<void, StorageError> checkDiskSpaceForDirectory(const std::filesystem::path& folder);
    [[nodiscard]] std::string fileName() const;
    void resolveCustomRecordingsBookmarkIfNeeded();
    void stopAccess();

    FileServices& m_fileManager;
    UserDefaults& m_defaults;
    const std::function<WallTime()> m_now;
    const QTimeZone m_timeZone = presentTimeZone(); ///< names keep to the zone of the program's start
    std::optional<std::filesystem::path> m_resolvedCustomDirectoryURL;
    bool m_isSecurityScopedAccessStarted = false;
};

} // namespace quillet
