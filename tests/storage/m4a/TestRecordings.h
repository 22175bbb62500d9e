#pragma once

#include "capture/MediaTime.h"
#include "storage/m4a/MemoryFile.h"
#include "support/Sound.h"

#include <QTemporaryDir>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace quillet::test {

/// Interleaved stereo that differs from block to block, so that a block lost, repeated or shifted is heard as noise.
std::vector<float> testSound(std::int64_t blocks);

/// How far the worst block of 1,024 frames is from what it should be, relative to the sound itself. The encoder alone
/// makes about -25 dB of it, a shift by a single block more than 0.
double worstBlockDb(const std::vector<float>& decoded, const std::vector<float>& expected);

/// What a process that was killed after so many blocks leaves behind at best: fragments, the last of them complete.
ByteVector unfinishedRecording(std::int64_t blocks);

/// Interleaved samples of what would be a file.
std::vector<float> decode(const ByteVector& file);

/// Where each packet of a file ends, and how many frames its time line has, by libavformat's reading.
struct Demuxed {
    std::vector<std::int64_t> packetEnds;
    std::int64_t durationFrames = 0;
    bool isPlain = false; ///< one movie box, behind one data box
};
Demuxed demux(const ByteVector& file);

ByteVector bytesOf(std::string_view characters);
ByteVector readFile(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, const ByteVector& bytes);

/// A folder that goes with the object.
class TemporaryFolder {
public:
    [[nodiscard]] std::filesystem::path path() const { return m_folder.path().toStdString(); }
    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const { return path() / name; }
    /// Everything in it, hidden files too, sorted.
    [[nodiscard]] std::vector<std::string> names() const;

private:
    QTemporaryDir m_folder;
};

} // namespace quillet::test
