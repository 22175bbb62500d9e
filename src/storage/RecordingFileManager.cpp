#include "storage/RecordingFileManager.h"

#include "platform/DurableFolder.h"
#include "support/DisplayPath.h"

#include <QDateTime>
#include <QLocale>

#include <fstream>
#include <system_error>

namespace quillet {
namespace fs = std::filesystem;
namespace {

bool isThere(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

bool isDirectory(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

} // namespace

RecordingFileManager::RecordingFileManager(FileServices& fileManager, UserDefaults& defaults,
                                           std::function<WallTime()> now)
    : m_fileManager(fileManager), m_defaults(defaults), m_now(std::move(now)) {
    resolveCustomRecordingsBookmarkIfNeeded();
}

Result<fs::path, StorageError> RecordingFileManager::generateFileURL() {
    if (const auto ensured = ensureRecordingsDirectoryExists(); !ensured) return Failure{ensured.error()};
    if (const auto enough = checkDiskSpace(); !enough) return Failure{enough.error()};
    const auto folder = effectiveRecordingsDirectoryURL();
    if (!folder) return Failure{RecordingFileManagerError::documentsDirectoryUnavailable()};
    return *folder / fileName();
}

Result<fs::path, StorageError> RecordingFileManager::generateFileURLInApplicationSupport() {
    const auto folder = defaultRecordingsDirectoryURL();
    if (!folder) return Failure{RecordingFileManagerError::documentsDirectoryUnavailable()};
    if (!isThere(*folder)) {
        if (const auto created = m_fileManager.createDirectories(*folder); !created) return Failure{created.error()};
    }
    if (!isDirectory(*folder)) return Failure{RecordingFileManagerError::pathExistsAsFile()};
    if (const auto enough = checkDiskSpaceForDirectory(*folder); !enough) return Failure{enough.error()};
    return *folder / fileName();
}

Result<void, StorageError> RecordingFileManager::ensureRecordingsDirectoryExists() {
    const auto folder = effectiveRecordingsDirectoryURL();
    if (!folder) return Failure{RecordingFileManagerError::documentsDirectoryUnavailable()};
    if (isThere(*folder)) {
        if (!isDirectory(*folder)) return Failure{RecordingFileManagerError::pathExistsAsFile()};
        return {};
    }
    if (const auto created = m_fileManager.createDirectories(*folder); !created)
        return Failure{RecordingFileManagerError::creationFailed(created.error())};
    return {};
}

Result<void, StorageError> RecordingFileManager::checkDiskSpace() {
    const auto folder = effectiveRecordingsDirectoryURL();
    if (!folder) return Failure{RecordingFileManagerError::documentsDirectoryUnavailable()};
    return checkDiskSpaceForDirectory(*folder);
}

Result<void, StorageError> RecordingFileManager::checkDiskSpaceForDirectory(const fs::path& folder) {
    const auto free = m_fileManager.freeBytes(folder);
    if (!free) return Failure{free.error()};
    if (*free && **free < kLeastFreeBytes) return Failure{RecordingFileManagerError::insufficientDiskSpace(**free)};
    return {};
}

std::string RecordingFileManager::fileName() const {
    const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(m_now().time_since_epoch());
    const auto local = QDateTime::fromMSecsSinceEpoch(sinceEpoch.count(), m_timeZone);
    // Digits of no locale: a name sorts by its time everywhere.
    return "Meeting_" + QLocale::c().toString(local, QStringLiteral("yyyy-MM-dd_HH-mm")).toStdString() + ".m4a";
}

std::optional<fs::path> RecordingFileManager::defaultRecordingsDirectoryURL() const {
    const auto support = m_fileManager.applicationSupportDirectory();
    if (!support) return std::nullopt;
    return *support / "Recordings";
}

std::optional<fs::path> RecordingFileManager::effectiveRecordingsDirectoryURL() const {
    return m_resolvedCustomDirectoryURL ? m_resolvedCustomDirectoryURL : defaultRecordingsDirectoryURL();
}

std::vector<fs::path> RecordingFileManager::recordingFolders() const {
    std::vector<fs::path> folders;
    for (const auto& folder : {effectiveRecordingsDirectoryURL(), defaultRecordingsDirectoryURL()}) {
        if (folder && (folders.empty() || folders.front() != *folder)) folders.push_back(*folder);
    }
    return folders;
}

bool RecordingFileManager::isUnwritable(const fs::path& folder) {
    fs::path nearest = folder;
    std::error_code ignored;
    // Nothing can be made in the place of a link that leads nowhere.
    while (!isThere(nearest) && !fs::is_symlink(nearest, ignored) && nearest.has_relative_path())
        nearest = nearest.parent_path();
    const auto opened = openDurableFolder(nearest, IfMissing::Fail);
    return !opened || !(*opened)->checkWritable();
}

QString RecordingFileManager::recordingsDirectoryDisplayPath() const {
    const auto folder = effectiveRecordingsDirectoryURL();
    return folder ? displayPath(*folder, m_fileManager.homeDirectory()) : QStringLiteral("—");
}

bool RecordingFileManager::setCustomRecordingsDirectory(const std::optional<fs::path>& url) {
    stopAccess();
    // Stored before access: a folder that cannot be reached now is found at the next start.
    const auto bookmark = url ? m_fileManager.makeBookmark(*url) : QByteArray();
    const bool isStored = bookmark && !bookmark->isEmpty()
                              ? m_defaults.set(DefaultsKeys::recordingsFolderBookmark, *bookmark)
                              : m_defaults.remove(DefaultsKeys::recordingsFolderBookmark);
    if (isStored) m_resolvedCustomDirectoryURL = url;
    m_isSecurityScopedAccessStarted =
        m_resolvedCustomDirectoryURL && m_fileManager.startAccess(*m_resolvedCustomDirectoryURL);
    if (!m_isSecurityScopedAccessStarted) m_resolvedCustomDirectoryURL.reset();
    return isStored;
}

bool RecordingFileManager::resetToDefaultRecordingsDirectory() { return setCustomRecordingsDirectory(std::nullopt); }

void RecordingFileManager::stopAccess() {
    if (m_isSecurityScopedAccessStarted && m_resolvedCustomDirectoryURL)
        m_fileManager.stopAccess(*m_resolvedCustomDirectoryURL);
    m_isSecurityScopedAccessStarted = false;
}

void RecordingFileManager::resolveCustomRecordingsBookmarkIfNeeded() {
    const auto bookmark = m_defaults.data(DefaultsKeys::recordingsFolderBookmark);
    if (!bookmark || bookmark->isEmpty()) return;
    const auto resolved = m_fileManager.resolveBookmark(*bookmark);
    if (!resolved || !m_fileManager.startAccess(resolved->url)) return; // stays stored for the next start
    m_isSecurityScopedAccessStarted = true;
    m_resolvedCustomDirectoryURL = resolved->url;
    if (!resolved->isStale) return;
    if (const auto fresh = m_fileManager.makeBookmark(resolved->url))
        m_defaults.set(DefaultsKeys::recordingsFolderBookmark, *fresh);
}

void RecordingFileManager::openRecordingsFolderInFinder() {
    const auto folder = effectiveRecordingsDirectoryURL();
    if (folder && isThere(*folder)) m_fileManager.openInFileManager(*folder);
}

void RecordingFileManager::showInFinderSelecting(const fs::path& url) {
    if (isThere(url)) m_fileManager.revealInFileManager(url);
}

void RecordingFileManager::appendToTestLog(WallTime timestamp, const fs::path& recordingAbsolutePath) {
    const auto support = m_fileManager.applicationSupportDirectory();
    if (!support) return;
    if (!isThere(*support) && !m_fileManager.createDirectories(*support)) return;
    const std::string name = "test_log.txt";
    const fs::path log = *support / name;
    const QByteArray line = iso8601(timestamp).toUtf8() + ' ' + QByteArray(recordingAbsolutePath.c_str()) + '\n';
    if (isThere(log)) {
        std::ofstream(log, std::ios::app | std::ios::binary).write(line.constData(), line.size());
    } else if (const auto folder = openDurableFolder(*support, IfMissing::Fail)) {
        static_cast<void>((*folder)->addFile([&name](int) { return name; }, line)); // complete, or not at all
    }
}

} // namespace quillet
