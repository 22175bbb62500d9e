#pragma once

#include "platform/DurableFile.h"
#include "storage/m4a/Boxes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace quillet::m4a {

constexpr std::int64_t kPacketFrames = 1024; ///< frames in one AAC access unit

/// The movie box at the front of an unfinished recording is well below this; anything longer is not ours.
constexpr std::uint32_t kLongestMovieStart = 4096;

/// Where a recording's access units lie in its file.
struct SampleTable {
    struct Chunk {
        std::int64_t offset = 0; ///< from the beginning of the file
        std::uint32_t packets = 0;
    };
    std::vector<std::uint16_t> packetBytes; ///< of every packet, in order; none takes more than a few KiB
    std::vector<Chunk> chunks;              ///< packets in one piece, in order
};

/// What the movie box at the front of an unfinished recording contributes to that of the finished one. Views into it.
struct MovieTemplate {
    Bytes sampleDescription; ///< stsd: the encoder's configuration
    Bytes handler, soundHeader, dataInformation;
    Bytes userData;                          ///< may be empty
    std::uint32_t defaultPacketDuration = 0; ///< mvex/trex; 0 where each fragment says its own
    std::uint32_t defaultPacketBytes = 0;
};

/// Nothing unless this is what our writer puts at the front: one AAC track at 48 kHz, to be continued in fragments,
/// and our own mark, so that a stranger's fragmented file is never taken for an unfinished recording.
[[nodiscard]] std::optional<MovieTemplate> parseUnfinishedMovie(Bytes movie);

/// The movie box of the finished file. Its edit list leaves out the encoder's first packet (priming) and is one frame
/// longer than the sound: GStreamer drops the last packet otherwise, and no player makes anything of that one frame.
/// The table of packet sizes, nine tenths of the box, is made while it is written, so that finishing hours takes
/// little more memory than minutes.
class FinishedMovie {
public:
    /// The samples have to outlive it.
    FinishedMovie(const MovieTemplate& from, const SampleTable& samples);

    [[nodiscard]] std::int64_t size() const;
    /// Writes the whole box, without waiting for the disk.
    [[nodiscard]] Result<void> writeTo(DurableFile& file, std::int64_t offset) const;

private:
    const SampleTable& m_samples;
    std::vector<std::byte> m_bytes;    ///< all but the packet sizes
    std::size_t m_packetSizesFrom = 0; ///< where these belong
};

/// Never less than FinishedMovie takes for so many packets and chunks.
[[nodiscard]] std::int64_t movieBytesAtMost(std::int64_t packets, std::int64_t chunks);

/// What the writer names itself in the file, and what parseUnfinishedMovie() looks for.
constexpr char kWriterMark[] = "Quillet";

} // namespace quillet::m4a
