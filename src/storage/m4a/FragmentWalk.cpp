#include "storage/m4a/FragmentWalk.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <optional>

namespace quillet::m4a {
namespace {

/// A fragment of less than a second takes less than 300 bytes before its data; one read of this size nearly always
/// suffices.
constexpr std::size_t kUsualWindow = 1024;
constexpr std::uint32_t kMostPacketsPerFragment = 1024;
constexpr std::uint32_t kLongestFragmentHeader = 512 + 16 * kMostPacketsPerFragment;
/// Twice what the format lets two channels of one packet take.
constexpr std::uint32_t kLongestPacket = 2 * 2 * 768;
static_assert(kLongestPacket <= std::numeric_limits<std::uint16_t>::max());
/// A month of sound: bounds the memory that a made-up file can ask for.
constexpr std::size_t kMostPackets = std::size_t{31} * 24 * 3600 * 48000 / kPacketFrames;
/// Several times what the fragments of one sync can leave behind.
constexpr std::int64_t kMostRubbish = 1 << 20;

Failure<PlatformError> refusal(const QString& why) { return Failure{PlatformError{0, why}}; }

struct Fragment {
    std::uint64_t firstFrame = 0;
    std::uint32_t packets = 0;
    std::uint32_t samePacketBytes = 0; ///< 0: each has its own
    Bytes trackRun;                    ///< where the own sizes are, one record for each packet
    std::uint32_t recordBytes = 0;
    std::uint32_t sizeInRecord = 0; ///< offset
    std::uint32_t dataOffset = 0;   ///< from the beginning of the fragment

    [[nodiscard]] std::uint32_t packetBytes(std::uint32_t index) const {
        if (samePacketBytes != 0) return samePacketBytes;
        ByteReader reader(trackRun.subspan(std::size_t{index} * recordBytes + sizeInRecord));
        return reader.u32();
    }
};

struct TrackDefaults {
    std::uint32_t duration = 0;
    std::uint32_t bytes = 0;
};

/// tfhd: which track, and values for all packets of the fragment.
std::optional<TrackDefaults> parseFragmentHeader(Bytes payload, TrackDefaults defaults) {
    constexpr std::uint32_t kBaseOffset = 0x1, kDescription = 0x2, kDuration = 0x8, kSize = 0x10,
                            kBaseIsFragment = 0x20000;
    ByteReader reader(payload);
    reader.u8();
    const std::uint32_t flags = reader.u24();
    if (reader.u32() != 1 || (flags & kBaseIsFragment) == 0 || (flags & kBaseOffset) != 0) return std::nullopt;
    if (flags & kDescription) reader.u32();
    if (flags & kDuration) defaults.duration = reader.u32();
    if (flags & kSize) defaults.bytes = reader.u32();
    return reader.ok() ? std::optional(defaults) : std::nullopt;
}

/// trun: how many packets, how long each is, where they are.
std::optional<Fragment> parseTrackRun(Bytes payload, const TrackDefaults& defaults) {
    constexpr std::uint32_t kDataOffset = 0x1, kFirstFlags = 0x4, kDuration = 0x100, kSize = 0x200, kFlags = 0x400,
                            kCompositionOffset = 0x800;
    ByteReader reader(payload);
    reader.u8();
    const std::uint32_t flags = reader.u24();
    Fragment fragment;
    fragment.packets = reader.u32();
    if ((flags & kDataOffset) == 0) return std::nullopt;
    fragment.dataOffset = reader.u32();
    if (flags & kFirstFlags) reader.u32();
    for (const std::uint32_t field : {kDuration, kSize, kFlags, kCompositionOffset}) {
        if ((flags & field) == 0) continue;
        if (field == kSize) fragment.sizeInRecord = fragment.recordBytes;
        fragment.recordBytes += 4;
    }
    fragment.trackRun = reader.rest();
    fragment.samePacketBytes = (flags & kSize) ? 0 : defaults.bytes;
    const bool ownDurations = (flags & kDuration) != 0;
    const bool sane = reader.ok() && fragment.packets > 0 && fragment.packets <= kMostPacketsPerFragment &&
                      fragment.trackRun.size() >= std::size_t{fragment.packets} * fragment.recordBytes &&
                      (ownDurations || defaults.duration == kPacketFrames) &&
                      ((flags & kSize) || (defaults.bytes > 0 && defaults.bytes <= kLongestPacket));
    if (!sane) return std::nullopt;
    for (std::uint32_t i = 0; ownDurations && i < fragment.packets; ++i) {
        ByteReader record(fragment.trackRun.subspan(std::size_t{i} * fragment.recordBytes));
        if (record.u32() != kPacketFrames) return std::nullopt;
    }
    return fragment;
}

std::optional<Fragment> parseFragment(Bytes payload, const TrackDefaults& movieDefaults) {
    const auto track = findBox(payload, fourCc("traf"));
    if (!track) return std::nullopt;
    const auto header = findBox(*track, fourCc("tfhd"));
    const auto time = findBox(*track, fourCc("tfdt"));
    const auto run = findBox(*track, fourCc("trun"));
    if (!header || !time || !run) return std::nullopt;
    const auto defaults = parseFragmentHeader(*header, movieDefaults);
    if (!defaults) return std::nullopt;
    auto fragment = parseTrackRun(*run, *defaults);
    ByteReader timeReader(*time);
    const bool wide = timeReader.u8() == 1;
    timeReader.u24();
    if (fragment) fragment->firstFrame = wide ? timeReader.u64() : timeReader.u32();
    return timeReader.ok() ? fragment : std::nullopt;
}

/// One pass over a file.
class Walker {
public:
    Walker(DurableFile& file, Walk& walk, const TrackDefaults& defaults)
        : m_file(file), m_walk(walk), m_defaults(defaults) {}

    Result<void> collect(std::int64_t position);
    Result<void> dropUnwrittenEnd();
    Result<void> judgeRest();

private:
    enum class Step { GoOn, End };
    Result<Bytes> window(std::int64_t position, std::size_t bytes);
    Result<Step> takeFragment(std::int64_t& position);
    Result<std::uint32_t> writtenPackets(std::size_t chunk, std::size_t firstPacket);
    Result<bool> endsInZeros(std::int64_t from, std::int64_t atMost);
    Result<bool> restHoldsLaterSound();

    DurableFile& m_file;
    Walk& m_walk;
    const TrackDefaults m_defaults;
    std::vector<std::byte> m_buffer;
    std::size_t m_collectedPackets = 0; ///< before an unwritten end was dropped
};

/// Fewer bytes than asked for at the end of the file only. Valid until the next call.
Result<Bytes> Walker::window(std::int64_t position, std::size_t bytes) {
    if (m_buffer.size() < bytes) m_buffer.resize(bytes);
    const auto got = m_file.readAt(position, std::span(m_buffer).first(bytes));
    if (!got) return Failure{got.error()};
    return Bytes(m_buffer).first(*got);
}

Result<void> Walker::collect(std::int64_t position) {
    while (true) {
        const auto step = takeFragment(position);
        if (!step) return Failure{step.error()};
        m_collectedPackets = m_walk.samples.packetBytes.size();
        if (*step == Step::End) return {};
    }
}

Result<Walker::Step> Walker::takeFragment(std::int64_t& position) {
    auto bytes = window(position, kUsualWindow);
    if (!bytes) return Failure{bytes.error()};
    ByteReader header(*bytes);
    const std::uint32_t fragmentBytes = header.u32();
    const bool isFragment = header.u32() == fourCc("moof");
    if (!isFragment || fragmentBytes < kBoxHeaderBytes || fragmentBytes > kLongestFragmentHeader) return Step::End;
    const std::size_t both = std::size_t{fragmentBytes} + kBoxHeaderBytes;
    if (both > bytes->size()) {
        bytes = window(position, both);
        if (!bytes) return Failure{bytes.error()};
        if (both > bytes->size()) return Step::End; // cut off
    }
    const auto fragment = parseFragment(bytes->subspan(kBoxHeaderBytes, fragmentBytes - kBoxHeaderBytes), m_defaults);
    ByteReader dataHeader(bytes->subspan(fragmentBytes));
    const std::uint32_t dataBytes = dataHeader.u32();
    auto& sizes = m_walk.samples.packetBytes;
    const bool fits = fragment && dataHeader.u32() == fourCc("mdat") && dataBytes >= kBoxHeaderBytes &&
                      fragment->dataOffset == both &&
                      fragment->firstFrame == sizes.size() * std::uint64_t{kPacketFrames};
    if (!fits) return Step::End;

    const std::int64_t data = position + static_cast<std::int64_t>(both);
    const std::int64_t declaredEnd = data - kBoxHeaderBytes + dataBytes;
    const std::int64_t end = std::min(declaredEnd, m_walk.fileSize);
    SampleTable::Chunk chunk{data, 0};
    std::int64_t next = data;
    while (chunk.packets < fragment->packets && sizes.size() < kMostPackets) {
        const std::uint32_t packet = fragment->packetBytes(chunk.packets);
        if (packet == 0 || packet > kLongestPacket || next + packet > end) break;
        sizes.push_back(static_cast<std::uint16_t>(packet));
        next += packet;
        ++chunk.packets;
    }
    if (chunk.packets == 0) return Step::End;
    m_walk.samples.chunks.push_back(chunk);
    position = declaredEnd;
    const bool whole = chunk.packets == fragment->packets && declaredEnd < m_walk.fileSize;
    return whole ? Step::GoOn : Step::End;
}

/// How many of a chunk's packets have reached the disk. A power cut can leave pages of zeros where a fragment should
/// be, at its end or in its middle; a packet always ends in a byte other than zero (an end mark of three ones, padded
/// to a whole byte), so that each page missing shows at the end of some packet.
Result<std::uint32_t> Walker::writtenPackets(std::size_t chunk, std::size_t firstPacket) {
    const SampleTable& samples = m_walk.samples;
    const std::uint32_t packets = samples.chunks[chunk].packets;
    std::size_t total = 0;
    for (std::uint32_t i = 0; i < packets; ++i) total += samples.packetBytes[firstPacket + i];
    const auto data = window(samples.chunks[chunk].offset, total);
    if (!data) return Failure{data.error()};
    std::size_t end = 0;
    for (std::uint32_t i = 0; i < packets; ++i) {
        end += samples.packetBytes[firstPacket + i];
        if (end > data->size() || (*data)[end - 1] == std::byte{0}) return i;
    }
    return packets;
}

/// Only the fragments of the last sync can be affected, everything before them was on the disk before they were begun.
Result<void> Walker::dropUnwrittenEnd() {
    SampleTable& samples = m_walk.samples;
    std::size_t firstPacket = samples.packetBytes.size();
    std::size_t clean = 0;
    std::size_t chunk = samples.chunks.size();
    while (chunk > 0 && clean < kMostFragmentsPerSync) {
        --chunk;
        firstPacket -= samples.chunks[chunk].packets;
        const auto written = writtenPackets(chunk, firstPacket);
        if (!written) return Failure{written.error()};
        if (*written == samples.chunks[chunk].packets) {
            ++clean;
            continue;
        }
        clean = 0;
        samples.chunks[chunk].packets = *written;
        samples.chunks.resize(*written == 0 ? chunk : chunk + 1);
        samples.packetBytes.resize(firstPacket + *written);
    }
    return {};
}

Result<bool> Walker::endsInZeros(std::int64_t from, std::int64_t atMost) {
    constexpr std::int64_t kStep = 1 << 16;
    for (std::int64_t end = m_walk.fileSize; end - from > atMost; end = std::max(from, end - kStep)) {
        const std::int64_t begin = std::max(from, end - kStep);
        const auto bytes = window(begin, static_cast<std::size_t>(end - begin));
        if (!bytes) return Failure{bytes.error()};
        if (std::any_of(bytes->begin(), bytes->end(), [](std::byte byte) { return byte != std::byte{0}; }))
            return false;
    }
    return true;
}

/// Whether more fragments lie behind the sound that was found than the first of a sync, torn by a power cut, can have
/// behind it. A torn one continues just that sound; those after it continue more.
Result<bool> Walker::restHoldsLaterSound() {
    const std::int64_t rest = std::min(m_walk.fileSize - m_walk.soundEnd, kMostRubbish);
    const auto bytes = window(m_walk.soundEnd, static_cast<std::size_t>(rest));
    if (!bytes) return Failure{bytes.error()};
    static constexpr std::array kType = {std::byte{'m'}, std::byte{'o'}, std::byte{'o'}, std::byte{'f'}};
    const std::uint64_t foundFrames = m_collectedPackets * std::uint64_t{kPacketFrames};
    std::size_t later = 0;
    for (auto at = bytes->begin(); at != bytes->end(); ++at) {
        at = std::search(at, bytes->end(), kType.begin(), kType.end());
        const auto offset = static_cast<std::size_t>(at - bytes->begin());
        if (at == bytes->end()) break;
        if (offset < kType.size()) continue;
        const std::uint32_t length = ByteReader(bytes->subspan(offset - kType.size())).u32();
        const Bytes payload = bytes->subspan(offset + kType.size());
        if (length < kBoxHeaderBytes || length - kBoxHeaderBytes > payload.size()) continue;
        const auto fragment = parseFragment(payload.first(length - kBoxHeaderBytes), m_defaults);
        if (fragment && fragment->firstFrame > foundFrames) ++later;
    }
    return later >= kMostFragmentsPerSync;
}

/// What follows the sound is given up when finishing. That must be the remains of one sync, zeros, or an earlier
/// attempt at finishing; more than that means that a damaged spot hides a part of the recording.
Result<void> Walker::judgeRest() {
    const auto bytes = window(m_walk.soundEnd, kBoxHeaderBytes);
    if (!bytes) return Failure{bytes.error()};
    ByteReader header(*bytes);
    header.u32();
    const std::uint32_t type = header.u32();
    if (type == fourCc("moov") || type == fourCc("free")) return {};
    const auto hidesSound = restHoldsLaterSound();
    if (!hidesSound) return Failure{hidesSound.error()};
    if (*hidesSound) return refusal(QStringLiteral("it is damaged in the middle"));
    if (m_walk.fileSize - m_walk.soundEnd <= kMostRubbish) return {};
    const auto zeros = endsInZeros(m_walk.soundEnd, kMostRubbish);
    if (!zeros) return Failure{zeros.error()};
    return *zeros ? Result<void>() : refusal(QStringLiteral("it is damaged in the middle"));
}

} // namespace

FileStart inspectStart(Bytes head) {
    const bool cut = head.size() < kStartBytes; // the whole file is in sight
    if (std::all_of(head.begin(), head.end(), [](std::byte byte) { return byte == std::byte{0}; }))
        return {StartKind::CutShort};
    static constexpr std::array kFileType = {std::byte{'f'}, std::byte{'t'}, std::byte{'y'}, std::byte{'p'},
                                             std::byte{'M'}, std::byte{'4'}, std::byte{'A'}, std::byte{' '}};
    const Bytes brand = head.subspan(std::min<std::size_t>(4, head.size()));
    const std::size_t known = std::min(brand.size(), kFileType.size());
    if (!std::equal(kFileType.begin(), kFileType.begin() + known, brand.begin(), brand.begin() + known)) return {};

    ByteReader reader(head);
    const std::uint32_t fileTypeBytes = reader.u32();
    if (fileTypeBytes < kBoxHeaderBytes || fileTypeBytes > kLongestMovieStart) return {};
    reader.skip(fileTypeBytes - 4);
    const std::uint32_t movieBytes = reader.u32();
    const std::uint32_t type = reader.u32();
    if (!reader.ok()) return {cut ? StartKind::CutShort : StartKind::Other};
    if (type != fourCc("moov") || movieBytes < kBoxHeaderBytes || movieBytes > kLongestMovieStart) return {};
    const Bytes movie = reader.take(movieBytes - kBoxHeaderBytes);
    if (!reader.ok()) return {StartKind::CutShort};
    if (!parseUnfinishedMovie(movie)) return {};
    return {StartKind::Unfinished, fileTypeBytes, movieBytes};
}

Result<Walk> walkFragments(DurableFile& file) {
    Walk walk;
    const auto size = file.size();
    if (!size) return Failure{size.error()};
    walk.fileSize = *size;
    std::vector<std::byte> head(kStartBytes);
    const auto got = file.readAt(0, head);
    if (!got) return Failure{got.error()};
    head.resize(*got);
    if (head.empty()) return refusal(QStringLiteral("it is empty"));

    const FileStart start = inspectStart(head);
    if (start.kind == StartKind::Other) return refusal(QStringLiteral("it is not an unfinished recording"));
    if (start.kind == StartKind::CutShort) return refusal(QStringLiteral("it ends before the first sound"));
    walk.movieOffset = start.movieOffset;
    const Bytes movie = Bytes(head).subspan(start.movieOffset + kBoxHeaderBytes, start.movieBytes - kBoxHeaderBytes);
    walk.movie.assign(movie.begin(), movie.end());
    const auto parsed = parseUnfinishedMovie(walk.movie);
    if (!parsed) return refusal(QStringLiteral("it is not an unfinished recording"));

    Walker walker(file, walk, {parsed->defaultPacketDuration, parsed->defaultPacketBytes});
    if (auto done = walker.collect(std::int64_t{start.movieOffset} + start.movieBytes); !done)
        return Failure{done.error()};
    if (auto done = walker.dropUnwrittenEnd(); !done) return Failure{done.error()};
    // The first packet is priming: one alone makes no sound.
    const auto& packetBytes = walk.samples.packetBytes;
    if (packetBytes.size() < 2) return refusal(QStringLiteral("it ends before the first sound"));
    const SampleTable::Chunk& last = walk.samples.chunks.back();
    walk.lastDataBox = last.offset - kBoxHeaderBytes;
    walk.soundEnd = std::accumulate(packetBytes.end() - last.packets, packetBytes.end(), last.offset);
    if (auto done = walker.judgeRest(); !done) return Failure{done.error()};
    return walk;
}

} // namespace quillet::m4a
