#pragma once

#include "platform/linux/ffmpeg/Libav.h"
#include "storage/m4a/FragmentedFile.h"
#include "support/Result.h"

#include <cstddef>
#include <cstdint>
#include <memory>
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

    [[nodiscard]] Result<void> add(const AVPacket& packet);
    /// The packets since the last call, if there are any, become a fragment; the first has the file's own beginning in
    /// front.
    [[nodiscard]] Result<void> endFragment();
    /// The fragments since the last call, if there are any. Valid until the next fragment is ended.
    [[nodiscard]] m4a::Fragments take();

private:
    FragmentMuxer() = default;
    Result<void> packWaiting();
    static int collect(void* opaque, std::uint8_t* bytes, int count) noexcept;

    AVFormatContext* m_format = nullptr;
    /// A fragment's packets wait here and are packed in one go: between one and the next the encoder would drive the
    /// muxer out of the processor's cache. Their bytes lie together, for allocating and freeing them in such numbers
    /// would cost again what that saves.
    std::vector<libav::Packet> m_packets;
    std::vector<std::uint8_t> m_packetBytes;
    std::size_t m_packetsWaiting = 0; ///< the other packets are empty, for later ones
    std::vector<std::byte> m_output;
    std::vector<m4a::Fragments::Size> m_sizes; ///< of the fragments in the output
    bool m_taken = false;                      ///< they are somebody else's until the next one is ended
    bool m_startWritten = false;
};

} // namespace quillet
