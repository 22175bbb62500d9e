#include "storage/m4a/FinishInPlace.h"

#include "platform/linux/ffmpeg/Libav.h"
#include "storage/m4a/FragmentWalk.h"
#include "storage/m4a/TestRecordings.h"

#include <gtest/gtest.h>

#include <set>

namespace quillet::test {
namespace {

using m4a::finishInPlace;
using m4a::fourCc;

constexpr std::int64_t kBlocks = 82; ///< two whole fragments and a short one

bool isPrefix(const std::vector<float>& part, const std::vector<float>& whole) {
    return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

/// Offsets of all top-level boxes.
std::vector<std::size_t> boxEdges(const ByteVector& file) {
    std::vector<std::size_t> edges;
    m4a::Bytes rest = file;
    do edges.push_back(file.size() - rest.size());
    while (m4a::takeBox(rest));
    return edges;
}

/// One recording, left unfinished, and everything known about it from libav alone.
class FinishInPlaceTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_leftover = unfinishedRecording(kBlocks);
        MemoryFile file(s_leftover);
        ASSERT_TRUE(finishInPlace(file, {}).ok());
        s_finished = file.disk().bytes;
        s_sound = decode(s_finished);
        s_packetEnds = demux(s_finished).packetEnds;
    }

    /// How many packets lie wholly in front of an offset.
    static std::int64_t packetsBefore(std::size_t offset) {
        return std::ranges::upper_bound(s_packetEnds, static_cast<std::int64_t>(offset)) - s_packetEnds.begin();
    }

    static inline ByteVector s_leftover;
    static inline ByteVector s_finished;
    static inline std::vector<float> s_sound;
    static inline std::vector<std::int64_t> s_packetEnds;
};

TEST_F(FinishInPlaceTest, finishedFileIsPlainAndHoldsEveryBlockInItsPlace) {
    EXPECT_TRUE(demux(s_finished).isPlain);
    EXPECT_EQ(s_packetEnds.size(), kBlocks + 1);
    // One frame more than the sound, or GStreamer leaves out the last packet.
    EXPECT_EQ(demux(s_finished).durationFrames, kBlocks * kBlockFrames + 1);
    EXPECT_EQ(s_sound.size(), kBlocks * 2 * kBlockFrames);
    EXPECT_LT(worstBlockDb(s_sound, testSound(kBlocks)), -15);
    // Players that seek learn from these groups that decoding has to start a packet early.
    for (const std::uint32_t group : {fourCc("sgpd"), fourCc("sbgp")}) {
        EXPECT_TRUE(m4a::findBox(
            s_finished, {fourCc("moov"), fourCc("trak"), fourCc("mdia"), fourCc("minf"), fourCc("stbl"), group}));
    }
    // The sound itself has not moved.
    const std::size_t movie = boxEdges(s_leftover)[1];
    EXPECT_TRUE(std::equal(s_leftover.begin() + static_cast<std::ptrdiff_t>(movie) + 16, s_leftover.end(),
                           s_finished.begin() + static_cast<std::ptrdiff_t>(movie) + 16));
}

TEST_F(FinishInPlaceTest, cutAnywhereItKeepsEveryWholePacketInFrontOfTheCut) {
    std::set<std::size_t> cuts;
    for (const std::size_t edge : boxEdges(s_leftover)) {
        for (std::size_t near = edge < 24 ? 0 : edge - 24; near <= edge + 24; ++near) cuts.insert(near);
    }
    for (std::size_t cut = 5; cut < s_leftover.size(); cut += 397) cuts.insert(cut);
    enum class Tail { None, ShortZeros, LongZeros, RestOfFileZero };
    int decoded = 0;
    for (const std::size_t cut : cuts) {
        if (cut > s_leftover.size()) continue;
        for (const Tail tail : {Tail::None, Tail::ShortZeros, Tail::LongZeros, Tail::RestOfFileZero}) {
            SCOPED_TRACE(testing::Message() << "cut at " << cut << ", tail " << static_cast<int>(tail));
            ByteVector bytes(s_leftover.begin(), s_leftover.begin() + static_cast<std::ptrdiff_t>(cut));
            if (tail == Tail::ShortZeros) bytes.resize(cut + 5);
            if (tail == Tail::LongZeros) bytes.resize(cut + (3 << 20));
            if (tail == Tail::RestOfFileZero) bytes.resize(s_leftover.size());
            MemoryFile file(bytes);

            const auto finished = finishInPlace(file, {});

            const std::int64_t packets = packetsBefore(cut);
            ASSERT_EQ(finished.ok(), packets >= 2);
            if (!finished.ok()) {
                EXPECT_EQ(finished.error().code, 0);
                EXPECT_FALSE(finished.error().description.isEmpty());
                EXPECT_TRUE(file.disk().bytes == bytes) << "touched, though it cannot be repaired";
                continue;
            }
            ASSERT_EQ(finished->blocks, packets - 1);
            if ((cut + static_cast<std::size_t>(tail)) % 5 != 0) continue;
            ++decoded;
            EXPECT_TRUE(demux(file.disk().bytes).isPlain);
            const std::vector<float> sound = decode(file.disk().bytes);
            EXPECT_EQ(sound.size(), static_cast<std::size_t>(finished->blocks * 2 * kBlockFrames));
            EXPECT_TRUE(isPrefix(sound, s_sound));
        }
    }
    EXPECT_GT(decoded, 150);
}

/// Finishing is stopped after every single byte that it writes, in each of three ways, and then tried again.
TEST_F(FinishInPlaceTest, stoppedAtAnyByteItIsFinishedAllTheSameTheNextTime) {
    enum class Stop { Killed, PowerCut, DeviceError };
    const std::size_t header = boxEdges(s_leftover)[6];
    const std::size_t data = boxEdges(s_leftover)[7] + 8;
    // A movie box of several sectors, written over a fragment whose header alone reached the disk.
    const ByteVector longLeftover = unfinishedRecording(600);
    const std::size_t longData = boxEdges(longLeftover)[27] + 8;
    const struct {
        const ByteVector& of;
        std::size_t cut, zerosUpTo;
        std::int64_t step;
    } rows[] = {{s_leftover, s_leftover.size(), 0, 1},    {s_leftover, header + 30, 0, 3},
                {s_leftover, data + 5000, 0, 3},          {s_leftover, data + 5811, 0, 3},
                {s_leftover, data + 6622, 0, 3},          {s_leftover, data + 7433, data + 8200, 3},
                {s_leftover, data, s_leftover.size(), 3}, {longLeftover, longData, longData + 12'000, 5}};
    for (const auto& row : rows) {
        ByteVector leftover(row.of.begin(), row.of.begin() + static_cast<std::ptrdiff_t>(row.cut));
        leftover.resize(std::max(row.cut, row.zerosUpTo));
        MemoryFile straight(leftover);
        ASSERT_TRUE(finishInPlace(straight, {}).ok());
        const ByteVector& expected = straight.disk().bytes;
        int stopped = 0;
        for (const Stop stop : {Stop::Killed, Stop::PowerCut, Stop::DeviceError}) {
            for (std::int64_t after = 0;; after += row.step) {
                MemoryFile first(leftover);
                first.disk().bytesUntilFault = after;
                first.disk().diesAtFault = stop != Stop::DeviceError;
                if (finishInPlace(first, {}).ok()) break;
                ++stopped;
                MemoryFile second(stop == Stop::PowerCut ? first.disk().afterPowerCut(static_cast<unsigned>(after))
                                                         : first.disk().bytes);
                const auto finished = finishInPlace(second, {});
                ASSERT_TRUE(finished.ok() && second.disk().bytes == expected)
                    << "stopped in way " << static_cast<int>(stop) << " after " << after << ", cut at " << row.cut;
            }
        }
        EXPECT_GT(stopped, 3 * 300);
    }
}

TEST_F(FinishInPlaceTest, aFullDiskAndPassingErrorsAreSurvived) {
    MemoryFile full(s_leftover);
    full.disk().capacity = static_cast<std::int64_t>(s_leftover.size()) + 100;
    const auto refused = finishInPlace(full, {});
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.error().code, ENOSPC);
    EXPECT_TRUE(full.disk().bytes == s_leftover);

    MemoryFile flaky(s_leftover);
    flaky.disk().syncsToFail = 2;
    const std::chrono::milliseconds soon(1);
    ASSERT_TRUE(finishInPlace(flaky, {soon, soon}).ok());
    EXPECT_TRUE(flaky.disk().bytes == s_finished);
    EXPECT_TRUE(flaky.disk().durable == s_finished);
}

/// A page of zeros never reached the disk; other damage is of any kind, mostly where the structure is.
TEST_F(FinishInPlaceTest, damageLosesNothingThatPrecedesIt) {
    std::mt19937 random(7);
    const auto edges = boxEdges(s_leftover);
    int repaired = 0;
    for (unsigned round = 0; round < 4000; ++round) {
        ByteVector bytes = s_leftover;
        std::size_t first = bytes.size();
        const bool isPage = round % 4 == 0;
        for (unsigned change = isPage ? 0 : random() % 4 + 1; change > 0; --change) {
            const std::size_t at = random() % 4 == 0
                                       ? random() % bytes.size()
                                       : std::min(edges[random() % edges.size()] + random() % 220, bytes.size() - 1);
            bytes[at] = static_cast<std::byte>(random() % 3 == 0 ? 0xFF : random());
            first = std::min(first, at);
        }
        if (isPage) {
            first = (edges[2] / 4096 + 1 + random() % ((bytes.size() - edges[2]) / 4096 - 2)) * 4096;
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(first), 4096, std::byte{0});
        }
        MemoryFile file(bytes);
        const auto finished = finishInPlace(file, {});
        if (!finished) {
            EXPECT_TRUE(file.disk().bytes == bytes);
            continue;
        }
        ++repaired;
        EXPECT_LE(finished->blocks, kBlocks + 24);
        if (first < edges[2]) continue;
        if (isPage) {
            EXPECT_EQ(finished->blocks, packetsBefore(first) - 1) << "exact within the last sync";
        }
        // Fragments wholly in front of the first change are kept.
        const auto after = std::ranges::upper_bound(edges, first);
        const std::size_t fragment = static_cast<std::size_t>(after - edges.begin() - 1) / 2 * 2;
        EXPECT_GE(finished->blocks, packetsBefore(edges[fragment]) - 1 - 1);
    }
    EXPECT_GT(repaired, 500);
}

/// Fragments that shared a sync can have arrived in any order, and any page of them not at all.
TEST_F(FinishInPlaceTest, aPowerCutWithinASyncOfManyFragmentsLosesOnlyThose) {
    constexpr std::size_t kPage = 4096;
    const ByteVector leftBehind = unfinishedRecording(640);
    const auto edges = boxEdges(leftBehind);
    const auto packetEnds = demux(leftBehind).packetEnds;
    const std::vector<float> sound = testSound(640);
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        const std::size_t fragments = 1 + seed % (edges.size() / 2 - 9); // that were on the disk before
        MemoryDisk disk;
        disk.durable.assign(leftBehind.begin(),
                            leftBehind.begin() + static_cast<std::ptrdiff_t>(edges[2 + 2 * fragments]));
        disk.bytes.assign(leftBehind.begin(),
                          leftBehind.begin() + static_cast<std::ptrdiff_t>(edges[2 + 2 * (fragments + 8)]));
        ByteVector leftover = disk.bytes; // but for one page, in every other round, or for half of them
        const std::size_t pages = (disk.bytes.size() - disk.durable.size()) / kPage - 1;
        const std::size_t lost = (disk.durable.size() / kPage + 1 + seed / 2 % pages) * kPage;
        std::fill_n(leftover.begin() + static_cast<std::ptrdiff_t>(lost), kPage, std::byte{0});
        if (seed % 2 == 0) leftover = disk.afterPowerCut(seed, kPage);
        const auto torn = std::ranges::mismatch(leftover, disk.bytes).in1 - leftover.begin();
        MemoryFile file(leftover);

        const auto finished = finishInPlace(file, {});

        ASSERT_TRUE(finished.ok()) << finished.error().description.toStdString();
        const std::size_t onDisk = std::max(disk.durable.size(), static_cast<std::size_t>(torn) / kPage * kPage);
        const auto whole = std::ranges::upper_bound(packetEnds, static_cast<std::int64_t>(onDisk));
        EXPECT_EQ(finished->blocks, whole - packetEnds.begin() - 1);
        if (seed % 10 != 0) continue;
        const std::vector<float> decoded = decode(file.disk().bytes);
        ASSERT_EQ(decoded.size(), static_cast<std::size_t>(finished->blocks * 2 * kBlockFrames));
        EXPECT_LT(worstBlockDb(decoded, {sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(decoded.size())}),
                  -15);
    }
}

ByteVector replaced(ByteVector bytes, std::string_view what, std::string_view by) {
    const auto pattern = std::as_bytes(std::span(what));
    const auto found = std::search(bytes.begin(), bytes.end(), pattern.begin(), pattern.end());
    EXPECT_NE(found, bytes.end());
    std::ranges::copy(std::as_bytes(std::span(by)), found);
    return bytes;
}

TEST_F(FinishInPlaceTest, whatIsNotAnUnfinishedRecordingOfOursStaysUntouched) {
    ByteVector damaged[] = {unfinishedRecording(450), unfinishedRecording(3000)};
    ASSERT_GT(damaged[1].size(), 1400U << 10);
    for (ByteVector& file : damaged) file[boxEdges(file)[10] + 5] = std::byte{'x'}; // near the beginning, no fragment
    ByteVector incomplete = unfinishedRecording(450);
    const auto edges = boxEdges(incomplete);
    incomplete.erase(incomplete.begin() + static_cast<std::ptrdiff_t>(edges[4]),
                     incomplete.begin() + static_cast<std::ptrdiff_t>(edges[6]));
    const std::pair<const char*, ByteVector> rows[] = {
        {"nothing", {}},
        {"text", ByteVector(5000, std::byte{'a'})},
        {"zeros", ByteVector(100'000)},
        {"finished already", s_finished},
        {"fragments of somebody else", replaced(s_leftover, "Quillet", "Somebdy")},
        {"another codec", replaced(s_leftover, "mp4a", "alac")},
        {"a fragment is missing", incomplete},
        {"a fragment is damaged", damaged[0]},
        {"a fragment far from the end is damaged", damaged[1]}};
    for (const auto& [name, bytes] : rows) {
        MemoryFile file(bytes);
        const auto finished = finishInPlace(file, {});
        ASSERT_FALSE(finished.ok()) << name;
        EXPECT_FALSE(finished.error().description.isEmpty()) << name;
        EXPECT_TRUE(file.disk().bytes == bytes) << name;
    }
}

constexpr std::uint32_t kMadeUpPackets = 1000;

/// What is in front of the packets of a made-up fragment, all of one size.
ByteVector madeUpFragmentStart(std::uint32_t index, std::uint32_t packetBytes) {
    m4a::BoxWriter out;
    out.box(fourCc("moof"), [&] {
        out.box(fourCc("traf"), [&] {
            out.fullBox(fourCc("tfhd"), 0, 0x20018, [&] {
                out.u32(1);
                out.u32(kBlockFrames);
                out.u32(packetBytes);
            });
            out.fullBox(fourCc("tfdt"), 1, 0, [&] { out.u64(std::uint64_t{index} * kMadeUpPackets * kBlockFrames); });
            out.fullBox(fourCc("trun"), 0, 1, [&] {
                out.u32(kMadeUpPackets);
                out.u32(8 + 8 + 24 + 20 + 20 + 8); // moof, traf, tfhd, tfdt, trun, mdat headers
            });
        });
    });
    out.u32(8 + kMadeUpPackets * packetBytes);
    out.u32(fourCc("mdat"));
    return out.take();
}

/// More than 4 GiB and more than 2^31 frames, without the sound: a sparse file of made-up fragments.
TEST_F(FinishInPlaceTest, recordingsOfManyHoursGetWideOffsetsAndTimes) {
    constexpr std::uint32_t kFragments = 2150;
    const auto packetBytes = [](std::uint32_t fragment) { return 2048 + fragment % 5; };
    const TemporaryFolder folder;
    auto created = createRecordingFile(folder / "long.m4a");
    ASSERT_TRUE(created.ok());
    RecordingFile& file = **created;
    const std::size_t movie = boxEdges(s_leftover)[1], start = boxEdges(s_leftover)[2];
    ASSERT_TRUE(file.writeAt(0, m4a::Bytes(s_leftover).first(start)).ok());
    auto position = static_cast<std::int64_t>(start);
    for (std::uint32_t i = 0; i < kFragments; ++i) {
        ByteVector bytes = madeUpFragmentStart(i, packetBytes(i));
        const std::size_t sound = kMadeUpPackets * packetBytes(i);
        const auto end = position + static_cast<std::int64_t>(bytes.size() + sound);
        if (i + m4a::kMostFragmentsPerSync >= kFragments) bytes.resize(bytes.size() + sound, std::byte{0x55});
        ASSERT_TRUE(file.writeAt(position, bytes).ok());
        position = end;
    }
    ASSERT_GT(position, std::int64_t{1} << 32);

    const auto finished = finishInPlace(file, {});

    ASSERT_TRUE(finished.ok()) << finished.error().description.toStdString();
    EXPECT_EQ(finished->blocks, std::int64_t{kFragments} * kMadeUpPackets - 1);
    std::vector<std::byte> head(movie + 16);
    ASSERT_TRUE(file.readAt(0, head).ok());
    m4a::ByteReader reader(m4a::Bytes(head).subspan(movie));
    EXPECT_EQ(reader.u32(), 1U);
    EXPECT_EQ(reader.u32(), fourCc("mdat"));
    EXPECT_EQ(reader.u64(), static_cast<std::uint64_t>(position) - movie);
    AVFormatContext* format = nullptr;
    ASSERT_GE(avformat_open_input(&format, (folder / "long.m4a").c_str(), nullptr, nullptr), 0);
    const AVStream* stream = format->streams[0];
    EXPECT_EQ(stream->nb_frames, std::int64_t{kFragments} * kMadeUpPackets);
    EXPECT_EQ(stream->duration, finished->blocks * kBlockFrames + 1);
    const auto* last = avformat_index_get_entry(format->streams[0], avformat_index_get_entries_count(stream) - 1);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->pos, position - packetBytes(kFragments - 1));
    avformat_close_input(&format);
}

/// The movie box of more than an hour and a half is longer than what a torn fragment can leave behind.
TEST_F(FinishInPlaceTest, aPowerCutWithinALongMovieBoxLosesNothing) {
    constexpr std::uint32_t kFragments = 400, kPacketBytes = 4;
    constexpr std::int64_t kWritten = 1'300'000;
    ByteVector leftover(s_leftover.begin(), s_leftover.begin() + static_cast<std::ptrdiff_t>(boxEdges(s_leftover)[2]));
    for (std::uint32_t i = 0; i < kFragments; ++i) {
        const ByteVector start = madeUpFragmentStart(i, kPacketBytes);
        leftover.insert(leftover.end(), start.begin(), start.end());
        leftover.resize(leftover.size() + kMadeUpPackets * kPacketBytes, std::byte{0x55});
    }
    MemoryFile straight(leftover);
    ASSERT_TRUE(finishInPlace(straight, {}).ok());
    for (unsigned seed = 0; seed < 8; ++seed) {
        MemoryFile first(leftover);
        first.disk().bytesUntilFault = kWritten;
        first.disk().diesAtFault = true;
        ASSERT_FALSE(finishInPlace(first, {}).ok());
        MemoryFile second(first.disk().afterPowerCut(seed));
        const auto finished = finishInPlace(second, {});
        ASSERT_TRUE(finished.ok()) << finished.error().description.toStdString() << ", " << seed;
        EXPECT_TRUE(second.disk().bytes == straight.disk().bytes) << seed;
    }
}

} // namespace
} // namespace quillet::test
