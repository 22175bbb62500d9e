#pragma once

#include "platform/linux/ffmpeg/Libav.h"
#include "platform/posix/PosixFile.h"
#include "support/Result.h"

#include <filesystem>
#include <memory>

namespace quillet {

/// One audio track of one regular file, as packets. The file is read through a descriptor of ours and nothing else is
/// ever opened: a playlist or a script that names other files or addresses is no audio file. One thread at a time.
class FfmpegInput {
public:
    /// No sound has a lower rate, and a packet at 1 Hz would become gigabytes at ours.
    static constexpr int kLeastRateHz = 1000;
    static constexpr int kMostChannels = 63; ///< the library mixes no more down

    /// The error is a clause for the user.
    [[nodiscard]] static Result<std::unique_ptr<FfmpegInput>> open(const std::filesystem::path& path);
    ~FfmpegInput();
    FfmpegInput(const FfmpegInput&) = delete;
    FfmpegInput& operator=(const FfmpegInput&) = delete;

    [[nodiscard]] const AVStream& stream() const { return *m_format->streams[m_stream]; }
    /// False at the end of the file or of what can be read of it.
    [[nodiscard]] bool nextPacket(AVPacket& packet);
    /// The errno of a read that has failed; 0 when none has.
    [[nodiscard]] int readError() const { return m_readError; }

private:
    FfmpegInput(UniqueFd fd, std::int64_t size) : m_fd(std::move(fd)), m_sizeBytes(size) {}
    Result<void> openFormat(const std::filesystem::path& path);
    static int readFile(void* opaque, std::uint8_t* into, int count) noexcept;
    static std::int64_t seekFile(void* opaque, std::int64_t offset, int whence) noexcept;

    const UniqueFd m_fd;
    const std::int64_t m_sizeBytes;
    AVIOContext* m_io = nullptr;
    AVFormatContext* m_format = nullptr;
    int m_stream = 0;
    int m_readError = 0; ///< the library tells some as the end of the file
};

} // namespace quillet
