#include "storage/m4a/FragmentedFile.h"

#include "storage/m4a/Movie.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace quillet::m4a {
namespace {

/// Asking for space 9 minutes at a time also keeps the file in few pieces.
constexpr std::int64_t kRoomStep = 16 << 20;
/// Half a minute: what has to be written to hold the room must not keep a slow network busy for long.
constexpr std::int64_t kFilledRoomStep = 1 << 20;
constexpr std::size_t kZerosPerWrite = 64 << 10;
/// For what the file system itself needs to note where the new pieces are, and for one more fragment.
constexpr std::int64_t kRoomMargin = 256 << 10;

} // namespace

Result<void> FragmentedFile::append(const Fragments& fragments) {
    auto done = appendTogether(fragments);
    if (done || fragments.sizes.size() == 1) return done;
    // Where there is no room for all, there may be for some.
    std::size_t begin = 0;
    for (std::size_t i = 0; i < fragments.sizes.size(); ++i) {
        const std::size_t bytes = fragments.sizes[i].bytes;
        done = appendTogether({fragments.bytes.subspan(begin, bytes), fragments.sizes.subspan(i, 1)});
        if (!done) return done;
        begin += bytes;
    }
    return {};
}

Result<void> FragmentedFile::appendTogether(const Fragments& fragments) {
    const std::int64_t end = m_end + static_cast<std::int64_t>(fragments.bytes.size());
    const std::int64_t count = m_fragments + static_cast<std::int64_t>(fragments.sizes.size());
    std::int64_t packets = m_packets;
    for (const Fragments::Size& size : fragments.sizes) packets += size.packets;
    auto done = makeRoom(end + movieBytesAtMost(packets, count) + kRoomMargin);
    if (!done) return done;
    done = writeDurably(*m_file, m_end, fragments.bytes, m_retries);
    if (!done) {
        // What arrived of it may be in memory only; a finished file must not contain it.
        (void)m_file->truncate(m_end);
        m_roomUpTo = 0;
        return done;
    }
    m_end = end;
    m_packets = packets;
    m_fragments = count;
    return {};
}

Result<void> FragmentedFile::makeRoom(std::int64_t upTo) {
    if (upTo <= m_roomUpTo) return {};
    for (std::size_t attempt = 0;; ++attempt) {
        for (const std::int64_t ahead : {kRoomStep, std::int64_t{0}}) {
            auto done = makeRoom(upTo, ahead);
            if (done) return done;
            const bool last = ahead == 0;
            if (last && (attempt == m_retries.size() || !mayPass(done.error()))) return done;
        }
        std::this_thread::sleep_for(m_retries[attempt]);
    }
}

Result<void> FragmentedFile::makeRoom(std::int64_t upTo, std::int64_t ahead) {
    const auto reserved = m_file->reserve(upTo + ahead);
    if (!reserved) return Failure{reserved.error()};
    if (!*reserved) return fillRoom(upTo + std::min(ahead, kFilledRoomStep));
    m_roomUpTo = upTo + ahead;
    return {};
}

/// Zeros end the walk of a repair, so that a killed process leaves what it leaves anywhere else. They have to reach the
/// disk: a network file system asks for their space no sooner.
Result<void> FragmentedFile::fillRoom(std::int64_t upTo) {
    const std::int64_t from = std::max(m_end, m_roomUpTo);
    const std::vector<std::byte> zeros(kZerosPerWrite);
    const auto fill = [&]() -> Result<void> {
        for (std::int64_t at = from; at < upTo; at += std::ssize(zeros)) {
            const auto count = static_cast<std::size_t>(std::min<std::int64_t>(std::ssize(zeros), upTo - at));
            if (auto done = m_file->writeAt(at, std::span(zeros).first(count)); !done) return done;
        }
        return {};
    };
    auto done = writeDurably(*m_file, fill, {});
    if (done) {
        m_roomUpTo = upTo;
    } else {
        (void)m_file->truncate(from); // what arrived of them is of use to others only
    }
    return done;
}

Result<FinishedRecording> FragmentedFile::finish() { return finishInPlace(*m_file, m_retries); }

} // namespace quillet::m4a
