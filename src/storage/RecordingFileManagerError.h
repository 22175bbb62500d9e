#pragma once

#include "support/Result.h"

#include <QString>

#include <cstdint>
#include <variant>

namespace quillet {

/// Why no recording can be put where it should go. Each case has a fixed text for the user.
class RecordingFileManagerError {
public:
    enum class Case { creationFailed, insufficientDiskSpace, documentsDirectoryUnavailable, pathExistsAsFile };

    static RecordingFileManagerError creationFailed(PlatformError underlying);
    static RecordingFileManagerError insufficientDiskSpace(std::int64_t freeBytes);
    static RecordingFileManagerError documentsDirectoryUnavailable();
    static RecordingFileManagerError pathExistsAsFile();

    [[nodiscard]] Case which() const { return m_case; }
    /// With insufficientDiskSpace only.
    [[nodiscard]] std::int64_t freeBytes() const { return m_freeBytes; }
    [[nodiscard]] QString errorDescription() const;

private:
    explicit RecordingFileManagerError(Case which) : m_case(which) {}
    Case m_case;
    PlatformError m_underlying;
    std::int64_t m_freeBytes = 0;
};

/// Storage calls report one of ours, or pass the platform's own error through.
using StorageError = std::variant<RecordingFileManagerError, PlatformError>;
[[nodiscard]] QString localizedDescription(const StorageError& error);

} // namespace quillet
