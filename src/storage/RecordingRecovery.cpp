#include "storage/RecordingRecovery.h"

#include "capture/MediaTime.h"
#include "platform/RecordingFiles.h"
#include "storage/m4a/FinishInPlace.h"
#include "storage/m4a/FragmentWalk.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <fstream>
#include <optional>
#include <system_error>
#include <thread>

namespace quillet {
namespace {

using Kind = RecoveryOutcome::Kind;

constexpr std::chrono::seconds kSettling{5}; ///< seven times what a recording needs to add the next piece to its file
constexpr std::chrono::hours kLongAgo{1};    ///< more than the clocks of two machines differ by

bool hasRecordingExtension(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    std::ranges::transform(extension, extension.begin(), [](unsigned char c) { return std::tolower(c); });
    return extension == ".m4a";
}

RecoveryOutcome notRepaired(const std::filesystem::path& file, const QString& reason) {
    return {file, Kind::NotRepaired, 0, reason};
}

RecoveryOutcome beingWritten(const std::filesystem::path& file) { return {file, Kind::BeingWritten, 0, {}}; }

RecoveryOutcome repair(const std::filesystem::path& file, DurableFile& opened) {
    const auto finished = m4a::finishInPlace(opened);
    if (!finished) return notRepaired(file, finished.error().description);
    const auto frames = static_cast<double>(finished->blocks * kBlockFrames);
    return {file, Kind::Repaired, frames / kSampleRateHz, {}};
}

/// An unfinished recording that nobody seems to be writing.
struct Leftover {
    std::filesystem::path file;
    FileVersion seen;
};

bool changedLately(const Leftover& leftover) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return leftover.seen.changedNs > std::chrono::nanoseconds(now - kLongAgo).count(); // or it is said to in the future
}

/// Nothing for what has been finished meanwhile.
std::optional<RecoveryOutcome> repair(const Leftover& leftover) {
    auto opened = openRecordingForRepair(leftover.file);
    if (!opened) return notRepaired(leftover.file, opened.error().description);
    if (opened->kind == RecordingForRepair::Kind::BeingRepaired) return std::nullopt; // whoever repairs it reports it
    if (opened->kind == RecordingForRepair::Kind::BeingWritten) return beingWritten(leftover.file);
    // Another recovery may have finished it between the glance and the lock.
    std::vector<std::byte> head(m4a::kStartBytes);
    const auto got = opened->file->readAt(0, head);
    if (!got) return notRepaired(leftover.file, got.error().description);
    head.resize(*got);
    if (m4a::inspectStart(head).kind == m4a::StartKind::Other) return std::nullopt;
    if (opened->version != leftover.seen) return beingWritten(leftover.file);
    return repair(leftover.file, *opened->file);
}

/// Looks at one file after another, then finishes those that need it.
class Recovery {
public:
    void lookAt(const std::filesystem::path& file);
    [[nodiscard]] std::vector<RecoveryOutcome> finish();

private:
    std::vector<Leftover> m_leftovers;
    std::vector<RecoveryOutcome> m_outcomes;
};

void Recovery::lookAt(const std::filesystem::path& file) {
    if (!hasRecordingExtension(file)) return;
    const auto glance = glanceAtRecording(file, m4a::kStartBytes);
    if (!glance) {
        m_outcomes.push_back(notRepaired(file, glance.error().description));
    } else if (glance->kind == RecordingGlance::Kind::BeingWritten) {
        m_outcomes.push_back(beingWritten(file));
    } else if (glance->kind == RecordingGlance::Kind::Readable &&
               m4a::inspectStart(glance->head).kind != m4a::StartKind::Other) {
        m_leftovers.push_back({file, glance->version});
    }
}

std::vector<RecoveryOutcome> Recovery::finish() {
    // Some network volumes hide from one machine what another one has locked. Who records there adds to the file.
    if (std::ranges::any_of(m_leftovers, changedLately)) std::this_thread::sleep_for(kSettling);
    for (const Leftover& leftover : m_leftovers) {
        if (auto outcome = repair(leftover)) m_outcomes.push_back(std::move(*outcome));
    }
    std::ranges::sort(m_outcomes, {}, &RecoveryOutcome::file);
    return std::move(m_outcomes);
}

} // namespace

// Not by a glance: where there are no locks, that takes a file just changed for one being written.
bool isUnfinishedRecording(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) return false;
    std::vector<std::byte> head(m4a::kStartBytes);
    std::ifstream in(file, std::ios::binary);
    in.read(reinterpret_cast<char*>(head.data()), std::ssize(head));
    head.resize(static_cast<std::size_t>(in.gcount()));
    return m4a::inspectStart(head).kind == m4a::StartKind::Unfinished;
}

std::vector<RecoveryOutcome> recoverRecordings(const std::filesystem::path& folder) {
    Recovery recovery;
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    for (const std::filesystem::directory_iterator end; !error && entries != end; entries.increment(error))
        recovery.lookAt(entries->path());
    return recovery.finish();
}

std::vector<RecoveryOutcome> recoverRecording(const std::filesystem::path& file) {
    Recovery recovery;
    recovery.lookAt(file);
    return recovery.finish();
}

} // namespace quillet
