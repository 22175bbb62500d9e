#pragma once

#include "platform/RecordingFiles.h"
#include "storage/m4a/FinishInPlace.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace quillet::m4a {

/// Fragments of a recording, one after the other.
struct Fragments {
    struct Size {
        std::size_t bytes = 0;
        int packets = 0;
    };
    std::span<const std::byte> bytes; ///< of all
    std::span<const Size> sizes;      ///< of each
};

/// A recording on the disk while it grows, fragment by fragment. Fragments are on the disk when append() returns, and
/// room for finishing is set aside before they are written, so that a full disk shows at a fragment's edge and the
/// recording can still be finished. Where the file system sets nothing aside, zeros behind the last fragment hold the
/// room. Owned by the recording's writer, used on its thread only.
class FragmentedFile {
public:
    FragmentedFile(std::unique_ptr<RecordingFile> file, const Retries& retries)
        : m_file(std::move(file)), m_retries(retries) {}

    /// kMostFragmentsPerSync at most: recovery does not look further back for what a power cut has torn. After a
    /// failure the file ends with the last fragment that it has room for, and nothing more should be appended.
    [[nodiscard]] Result<void> append(const Fragments& fragments);
    /// A plain .m4a from here on. After a failure it is what it was.
    [[nodiscard]] Result<FinishedRecording> finish();
    void remove() { m_file->remove(); }

    /// Blocks of 1,024 frames that its fragments play. The first packet is priming.
    [[nodiscard]] std::int64_t blocks() const { return m_packets > 0 ? m_packets - 1 : 0; }

private:
    Result<void> appendTogether(const Fragments& fragments);
    Result<void> makeRoom(std::int64_t upTo);
    Result<void> makeRoom(std::int64_t upTo, std::int64_t ahead);
    Result<void> fillRoom(std::int64_t upTo);

    const std::unique_ptr<RecordingFile> m_file;
    const Retries m_retries;
    std::int64_t m_end = 0;
    std::int64_t m_roomUpTo = 0;
    std::int64_t m_packets = 0;
    std::int64_t m_fragments = 0;
};

} // namespace quillet::m4a
