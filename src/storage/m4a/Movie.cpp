#include "storage/m4a/Movie.h"

#include "capture/MediaTime.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace quillet::m4a {
namespace {

constexpr std::uint32_t kTimescale = kSampleRateHz;
/// What does not depend on the recording's length, generously: headers, sample description, user data.
constexpr std::int64_t kFixedMovieBytes = 2 * kLongestMovieStart;
constexpr std::size_t kPacketSizeBytes = 4; ///< of an entry in stsz
constexpr std::size_t kPacketSizesPerWrite = 16 * 1024;

// The 3x3 matrix of an untransformed picture, which sound has as well.
void identityMatrix(BoxWriter& out) {
    for (const std::uint32_t value : {0x10000U, 0U, 0U, 0U, 0x10000U, 0U, 0U, 0U, 0x40000000U}) out.u32(value);
}

/// Times of version 0 boxes are 32 bits wide, and some readers take them for signed: 12.4 hours at 48 kHz.
struct Durations {
    std::uint64_t media;
    std::uint64_t edit;
    [[nodiscard]] std::uint32_t version() const {
        return std::max(media, edit) > std::uint64_t{std::numeric_limits<std::int32_t>::max()} ? 1 : 0;
    }
};

void time(BoxWriter& out, std::uint32_t version, std::uint64_t value) {
    version == 1 ? out.u64(value) : out.u32(static_cast<std::uint32_t>(value));
}

void movieHeader(BoxWriter& out, const Durations& durations) {
    const std::uint32_t version = durations.version();
    out.fullBox(fourCc("mvhd"), version, 0, [&] {
        time(out, version, 0); // created and changed: the file's own times tell
        time(out, version, 0);
        out.u32(kTimescale);
        time(out, version, durations.edit);
        out.u32(0x10000); // rate 1
        out.u16(0x100);   // volume 1
        out.zeros(10);
        identityMatrix(out);
        out.zeros(24);
        out.u32(2); // next track
    });
}

void trackHeader(BoxWriter& out, const Durations& durations) {
    const std::uint32_t version = durations.version();
    constexpr std::uint32_t kEnabledAndInMovie = 3;
    out.fullBox(fourCc("tkhd"), version, kEnabledAndInMovie, [&] {
        time(out, version, 0);
        time(out, version, 0);
        out.u32(1); // track
        out.u32(0);
        time(out, version, durations.edit);
        out.zeros(8);
        out.u16(0);     // layer
        out.u16(1);     // alternate group
        out.u16(0x100); // volume
        out.u16(0);
        identityMatrix(out);
        out.zeros(8); // width and height
    });
}

void editList(BoxWriter& out, const Durations& durations) {
    const std::uint32_t version = durations.version();
    out.box(fourCc("edts"), [&] {
        out.fullBox(fourCc("elst"), version, 0, [&] {
            out.u32(1);
            time(out, version, durations.edit);
            time(out, version, kPacketFrames);
            out.u32(0x10000); // rate 1
        });
    });
}

void mediaHeader(BoxWriter& out, const Durations& durations) {
    const std::uint32_t version = durations.version();
    constexpr std::uint32_t kUndeterminedLanguage = 0x55C4;
    out.fullBox(fourCc("mdhd"), version, 0, [&] {
        time(out, version, 0);
        time(out, version, 0);
        out.u32(kTimescale);
        time(out, version, durations.media);
        out.u16(kUndeterminedLanguage);
        out.u16(0);
    });
}

void sampleToChunk(BoxWriter& out, const std::vector<SampleTable::Chunk>& chunks) {
    BoxWriter entries;
    std::uint32_t count = 0;
    std::uint32_t previous = 0;
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        if (chunks[i].packets == previous) continue;
        previous = chunks[i].packets;
        entries.u32(static_cast<std::uint32_t>(i + 1));
        entries.u32(previous);
        entries.u32(1); // sample description
        ++count;
    }
    out.fullBox(fourCc("stsc"), 0, 0, [&] {
        out.u32(count);
        out.bytes(entries.view());
    });
}

void chunkOffsets(BoxWriter& out, const std::vector<SampleTable::Chunk>& chunks) {
    const bool wide = !chunks.empty() && chunks.back().offset > std::int64_t{std::numeric_limits<std::uint32_t>::max()};
    out.fullBox(wide ? fourCc("co64") : fourCc("stco"), 0, 0, [&] {
        out.u32(static_cast<std::uint32_t>(chunks.size()));
        for (const auto& chunk : chunks) {
            wide ? out.u64(static_cast<std::uint64_t>(chunk.offset))
                 : out.u32(static_cast<std::uint32_t>(chunk.offset));
        }
    });
}

/// Tells players that seek that decoding has to start one packet early.
void rollGroups(BoxWriter& out, std::uint32_t packets) {
    out.fullBox(fourCc("sgpd"), 1, 0, [&] {
        out.u32(fourCc("roll"));
        out.u32(2); // bytes per entry
        out.u32(1);
        out.u16(0xFFFF); // -1 packet
    });
    out.fullBox(fourCc("sbgp"), 0, 0, [&] {
        out.u32(fourCc("roll"));
        out.u32(1);
        out.u32(packets);
        out.u32(1);
    });
}

/// Leaves out the packet sizes and returns where they belong.
std::size_t sampleTable(BoxWriter& out, const MovieTemplate& from, const SampleTable& samples) {
    const auto packets = static_cast<std::uint32_t>(samples.packetBytes.size());
    std::size_t packetSizesFrom = 0;
    out.box(fourCc("stbl"), [&] {
        out.copiedBox(fourCc("stsd"), from.sampleDescription);
        out.fullBox(fourCc("stts"), 0, 0, [&] {
            out.u32(1);
            out.u32(packets);
            out.u32(kPacketFrames);
        });
        sampleToChunk(out, samples.chunks);
        out.fullBox(fourCc("stsz"), 0, 0, [&] {
            out.u32(0);
            out.u32(packets);
            packetSizesFrom = out.view().size();
            out.leaveOut(packets * kPacketSizeBytes);
        });
        chunkOffsets(out, samples.chunks);
        rollGroups(out, packets);
    });
    return packetSizesFrom;
}

bool isOurSampleDescription(Bytes description) {
    ByteReader reader(description);
    reader.u32();
    if (reader.u32() != 1) return false;
    Bytes rest = reader.rest();
    const auto entry = takeBox(rest);
    return entry && entry->type == fourCc("mp4a") && rest.empty();
}

bool isMarkedAsOurs(Bytes userData) {
    constexpr std::uint32_t kTool = 0xA9746F6F; // (c)too
    const auto meta = findBox(userData, fourCc("meta"));
    if (!meta || meta->size() < 4) return false;
    const auto text = findBox(meta->subspan(4), {fourCc("ilst"), kTool, fourCc("data")});
    constexpr std::size_t kTypeAndLocale = 8;
    constexpr std::size_t kMarkLength = sizeof kWriterMark - 1;
    return text && text->size() >= kTypeAndLocale + kMarkLength &&
           std::memcmp(text->data() + kTypeAndLocale, kWriterMark, kMarkLength) == 0;
}

std::uint32_t mediaTimescale(Bytes mediaHeader) {
    ByteReader reader(mediaHeader);
    reader.skip(reader.u8() == 1 ? 3 + 16 : 3 + 8);
    return reader.u32();
}

} // namespace

std::optional<MovieTemplate> parseUnfinishedMovie(Bytes movie) {
    const auto defaults = findBox(movie, {fourCc("mvex"), fourCc("trex")});
    const auto media = findBox(movie, {fourCc("trak"), fourCc("mdia")});
    const auto userData = findBox(movie, fourCc("udta"));
    if (!defaults || !media || !userData || !isMarkedAsOurs(*userData)) return std::nullopt;

    int tracks = 0;
    for (Bytes rest = movie; const auto box = takeBox(rest);) tracks += box->type == fourCc("trak") ? 1 : 0;
    const auto header = findBox(*media, fourCc("mdhd"));
    const auto handler = findBox(*media, fourCc("hdlr"));
    const auto sound = findBox(*media, {fourCc("minf"), fourCc("smhd")});
    const auto data = findBox(*media, {fourCc("minf"), fourCc("dinf")});
    const auto description = findBox(*media, {fourCc("minf"), fourCc("stbl"), fourCc("stsd")});
    if (tracks != 1 || !header || !handler || !sound || !data || !description) return std::nullopt;
    if (mediaTimescale(*header) != kTimescale || !isOurSampleDescription(*description)) return std::nullopt;

    ByteReader reader(*defaults);
    reader.skip(12); // version and flags, track, sample description
    MovieTemplate result{*description, *handler, *sound, *data, *userData};
    result.defaultPacketDuration = reader.u32();
    result.defaultPacketBytes = reader.u32();
    return reader.ok() ? std::optional(result) : std::nullopt;
}

FinishedMovie::FinishedMovie(const MovieTemplate& from, const SampleTable& samples) : m_samples(samples) {
    const std::uint64_t mediaFrames = std::uint64_t{samples.packetBytes.size()} * kPacketFrames;
    const Durations durations{mediaFrames, mediaFrames - kPacketFrames + 1};
    BoxWriter out;
    out.box(fourCc("moov"), [&] {
        movieHeader(out, durations);
        out.box(fourCc("trak"), [&] {
            trackHeader(out, durations);
            editList(out, durations);
            out.box(fourCc("mdia"), [&] {
                mediaHeader(out, durations);
                out.copiedBox(fourCc("hdlr"), from.handler);
                out.box(fourCc("minf"), [&] {
                    out.copiedBox(fourCc("smhd"), from.soundHeader);
                    out.copiedBox(fourCc("dinf"), from.dataInformation);
                    m_packetSizesFrom = sampleTable(out, from, samples);
                });
            });
        });
        if (!from.userData.empty()) out.copiedBox(fourCc("udta"), from.userData);
    });
    m_bytes = out.take();
}

std::int64_t FinishedMovie::size() const {
    return static_cast<std::int64_t>(m_bytes.size() + m_samples.packetBytes.size() * kPacketSizeBytes);
}

Result<void> FinishedMovie::writeTo(DurableFile& file, std::int64_t offset) const {
    const auto write = [&](Bytes bytes) {
        const std::int64_t at = std::exchange(offset, offset + static_cast<std::int64_t>(bytes.size()));
        return file.writeAt(at, bytes);
    };
    auto done = write(Bytes(m_bytes).first(m_packetSizesFrom));
    for (std::span rest(m_samples.packetBytes); done && !rest.empty();) {
        const std::size_t count = std::min(rest.size(), kPacketSizesPerWrite);
        BoxWriter sizes;
        for (const std::uint16_t bytes : rest.first(count)) sizes.u32(bytes);
        done = write(sizes.view());
        rest = rest.subspan(count);
    }
    return done ? write(Bytes(m_bytes).subspan(m_packetSizesFrom)) : done;
}

std::int64_t movieBytesAtMost(std::int64_t packets, std::int64_t chunks) {
    constexpr std::int64_t kChunkBytes = 8 + 12; // co64, and an stsc entry should no two chunks be alike
    return kFixedMovieBytes + packets * std::int64_t{kPacketSizeBytes} + chunks * kChunkBytes;
}

} // namespace quillet::m4a
