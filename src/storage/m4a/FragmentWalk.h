#pragma once

#include "platform/DurableFile.h"
#include "storage/m4a/Movie.h"

#include <cstdint>
#include <vector>

namespace quillet::m4a {

/// How a file begins, as far as it matters to finishing.
enum class StartKind {
    Unfinished, ///< one of our recordings, to be continued in fragments
    CutShort,   ///< nothing at all, or one of our recordings that ends or was never written within its first bytes
    Other       ///< finished, or not ours
};
struct FileStart {
    StartKind kind = StartKind::Other;
    std::uint32_t movieOffset = 0; ///< Unfinished only
    std::uint32_t movieBytes = 0;  ///< of the whole box; Unfinished only
};
/// So many bytes from the front of a file always suffice for inspectStart().
constexpr std::size_t kStartBytes = 2 * kLongestMovieStart;
[[nodiscard]] FileStart inspectStart(Bytes head);

/// What can be played of an unfinished recording.
struct Walk {
    std::vector<std::byte> movie; ///< payload of the movie box at the front
    std::uint32_t movieOffset = 0;
    SampleTable samples;
    std::int64_t soundEnd = 0; ///< behind the last packet; what follows is of no use
    std::int64_t fileSize = 0;
    std::int64_t lastDataBox = 0; ///< the mdat that the last packet is in
};

/// So many fragments at most reach the disk by one sync: all of them, in any order and state, are what a power cut
/// finds.
constexpr std::size_t kMostFragmentsPerSync = 8;

/// Goes through the fragments of an unfinished recording, at the cost of one small read for each, and stops where they
/// stop making sense: at the first that is cut off or that did not wholly reach the disk. Fails without having changed
/// anything when the file is not ours, holds no sound, or is damaged in the middle rather than at its end.
/// Safe on hostile files: it reads no byte beyond the file and takes memory in proportion to its size.
[[nodiscard]] Result<Walk> walkFragments(DurableFile& file);

} // namespace quillet::m4a
