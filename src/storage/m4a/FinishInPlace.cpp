#include "storage/m4a/FinishInPlace.h"

#include "storage/m4a/FragmentWalk.h"
#include "support/Require.h"

#include <algorithm>
#include <limits>

namespace quillet::m4a {
namespace {

constexpr std::int64_t kLargest32 = std::numeric_limits<std::uint32_t>::max();

/// Lets the last data box end with the last packet. Otherwise a repair cut short would leave a box that takes the
/// beginning of the new movie for sound.
Result<void> closeLastDataBox(DurableFile& file, const Walk& walk, const Retries& retries) {
    std::byte now[4];
    const auto got = file.readAt(walk.lastDataBox, now);
    if (!got) return Failure{got.error()};
    BoxWriter size;
    size.u32(static_cast<std::uint32_t>(walk.soundEnd - walk.lastDataBox));
    if (std::ranges::equal(now, size.view())) return {};
    return writeDurably(file, walk.lastDataBox, size.view(), retries);
}

/// Makes what follows the sound end the walk for good, before the new movie is written there. When the power fails
/// meanwhile, a torn fragment, half overwritten, might be taken for a whole one otherwise, and a long movie without its
/// beginning for the greater part of the recording behind a damaged spot.
Result<void> coverRest(DurableFile& file, const Walk& walk, std::int64_t newEnd, const Retries& retries) {
    const std::int64_t rest = std::max(walk.fileSize, newEnd) - walk.soundEnd;
    BoxWriter header;
    header.u32(static_cast<std::uint32_t>(std::min(rest, kLargest32)));
    header.u32(fourCc("free"));
    return writeDurably(file, walk.soundEnd, header.view(), retries);
}

/// What goes over the header of the first movie box, in one write inside one disk sector.
BoxWriter spanningDataBox(const Walk& walk) {
    const std::int64_t bytes = walk.soundEnd - walk.movieOffset;
    const bool large = bytes > kLargest32;
    BoxWriter header;
    header.u32(large ? 1 : static_cast<std::uint32_t>(bytes));
    header.u32(fourCc("mdat"));
    if (large) header.u64(static_cast<std::uint64_t>(bytes));
    return header;
}

} // namespace

Result<FinishedRecording> finishInPlace(DurableFile& file, const Retries& retries) {
    const auto walked = walkFragments(file);
    if (!walked) return Failure{walked.error()};
    const Walk& walk = *walked;
    const auto from = parseUnfinishedMovie(walk.movie);
    require(from.has_value(), "the walk has read this movie");
    const FinishedMovie movie(*from, walk.samples);
    const std::int64_t end = walk.soundEnd + movie.size();

    if (auto room = file.reserve(end); !room) return Failure{room.error()};
    auto done = closeLastDataBox(file, walk, retries);
    if (done) done = coverRest(file, walk, end, retries);
    if (done)
        done = writeDurably(
            file, [&] { return movie.writeTo(file, walk.soundEnd); }, retries);
    if (done) done = file.truncate(end);
    if (!done) {
        // Without the new movie it is the recording in fragments again, and no larger than before.
        (void)file.truncate(walk.soundEnd);
        return Failure{done.error()};
    }
    done = writeDurably(file, walk.movieOffset, spanningDataBox(walk).view(), retries);
    if (!done) return Failure{done.error()};
    return FinishedRecording{static_cast<std::int64_t>(walk.samples.packetBytes.size()) - 1};
}

} // namespace quillet::m4a
