#pragma once

#include "platform/linux/ffmpeg/Libav.h"
#include "support/Result.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace quillet {

/// Packs AAC packets into the fragments of an unfinished .m4a, in memory. Writing them is somebody else's business:
/// libavformat remembers the first error of its output for good and would silently drop the rest of a recording
/// because of one fault that passed. One thread at a time.
class FragmentMuxer {
public:
    [[nodiscard]] static Result<std::unique_ptr<FragmentMuxer>> create(const AVCodecContext& encoder);
    ~FragmentMuxer();
    FragmentMuxer(const FragmentMuxer&) = delete;
    FragmentMuxer& operator=(const FragmentMuxer&) = delete;

    [[nodiscard]] Result<void> add(AVPacket& packet);
    [[nodiscard]] int pendingPackets() const { return m_pendingPackets; }
    /// The packets since the last call as one fragment; the first time with the file's own beginning in front. Valid
    /// until the next call.
    [[nodiscard]] Result<std::span<const std::byte>> takeFragment();

private:
    FragmentMuxer() = default;
    static int collect(void* opaque, std::uint8_t* bytes, int count) noexcept;

    AVFormatContext* m_format = nullptr;
    std::vector<std::byte> m_output;
    int m_pendingPackets = 0;
    bool m_startWritten = false;
};

} // namespace quillet
