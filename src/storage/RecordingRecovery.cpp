#include "storage/RecordingRecovery.h"

#include "capture/MediaTime.h"
#include "platform/RecordingFiles.h"
#include "storage/m4a/FinishInPlace.h"
#include "storage/m4a/FragmentWalk.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <system_error>

namespace quillet {
namespace {

using Kind = RecoveryOutcome::Kind;

bool hasRecordingExtension(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    std::ranges::transform(extension, extension.begin(), [](unsigned char c) { return std::tolower(c); });
    return extension == ".m4a";
}

RecoveryOutcome notRepaired(const std::filesystem::path& file, const QString& reason) {
    return {file, Kind::NotRepaired, 0, reason};
}

RecoveryOutcome repair(const std::filesystem::path& file, DurableFile& opened) {
    const auto finished = m4a::finishInPlace(opened);
    if (!finished) return notRepaired(file, finished.error().description);
    const auto frames = static_cast<double>(finished->blocks * kBlockFrames);
    return {file, Kind::Repaired, frames / kSampleRateHz, {}};
}

/// Nothing for files that need no attention.
std::optional<RecoveryOutcome> examine(const std::filesystem::path& file) {
    const auto glance = glanceAtRecording(file, m4a::kStartBytes);
    if (!glance) return notRepaired(file, glance.error().description);
    if (glance->kind == RecordingGlance::Kind::NotAFile) return std::nullopt;
    if (glance->kind == RecordingGlance::Kind::BeingWritten) return RecoveryOutcome{file, Kind::BeingWritten, 0, {}};
    if (m4a::inspectStart(glance->head).kind == m4a::StartKind::Other) return std::nullopt;

    auto opened = openRecordingForRepair(file);
    if (!opened) return notRepaired(file, opened.error().description);
    if (opened->kind == RecordingForRepair::Kind::BeingWritten) return RecoveryOutcome{file, Kind::BeingWritten, 0, {}};
    if (opened->kind == RecordingForRepair::Kind::BeingRepaired) return std::nullopt; // whoever repairs it reports it
    // Another recovery may have finished it between the glance and the lock.
    std::vector<std::byte> head(m4a::kStartBytes);
    const auto got = opened->file->readAt(0, head);
    if (!got) return notRepaired(file, got.error().description);
    head.resize(*got);
    if (m4a::inspectStart(head).kind == m4a::StartKind::Other) return std::nullopt;
    return repair(file, *opened->file);
}

} // namespace

std::vector<RecoveryOutcome> recoverRecordings(const std::filesystem::path& folder) {
    std::vector<RecoveryOutcome> outcomes;
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    for (const std::filesystem::directory_iterator end; !error && entries != end; entries.increment(error)) {
        const std::filesystem::path& file = entries->path();
        if (!hasRecordingExtension(file)) continue;
        if (auto outcome = examine(file)) outcomes.push_back(std::move(*outcome));
    }
    std::ranges::sort(outcomes, {}, &RecoveryOutcome::file);
    return outcomes;
}

} // namespace quillet
