#include "storage/RecordingFileManagerError.h"

#include <utility>

namespace quillet {

RecordingFileManagerError RecordingFileManagerError::creationFailed(PlatformError underlying) {
    RecordingFileManagerError error(Case::creationFailed);
    error.m_underlying = std::move(underlying);
    return error;
}

RecordingFileManagerError RecordingFileManagerError::insufficientDiskSpace(std::int64_t freeBytes) {
    RecordingFileManagerError error(Case::insufficientDiskSpace);
    error.m_freeBytes = freeBytes;
    return error;
}

RecordingFileManagerError RecordingFileManagerError::documentsDirectoryUnavailable() {
    return RecordingFileManagerError(Case::documentsDirectoryUnavailable);
}

RecordingFileManagerError RecordingFileManagerError::pathExistsAsFile() {
    return RecordingFileManagerError(Case::pathExistsAsFile);
}

QString RecordingFileManagerError::errorDescription() const {
    switch (m_case) {
    case Case::creationFailed:
        return QStringLiteral("Could not create Recordings folder: ") + m_underlying.description;
    case Case::insufficientDiskSpace:
        return QStringLiteral("Not enough disk space to record. Free some space and try again.");
    case Case::documentsDirectoryUnavailable:
        return QStringLiteral("Recordings folder is not available.");
    case Case::pathExistsAsFile:
        return QStringLiteral("Recordings path exists but is not a directory.");
    }
    return {};
}

QString localizedDescription(const StorageError& error) {
    if (const auto* ours = std::get_if<RecordingFileManagerError>(&error)) return ours->errorDescription();
    return std::get<PlatformError>(error).description;
}

} // namespace quillet
