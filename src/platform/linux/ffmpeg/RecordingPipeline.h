#pragma once

#include "platform/RecordingFiles.h"
#include "platform/common/QueuedAssetWriter.h"
#include "platform/linux/ffmpeg/AacEncoder.h"
#include "platform/linux/ffmpeg/FragmentMuxer.h"
#include "storage/m4a/FragmentWalk.h"
#include "storage/m4a/FragmentedFile.h"

#include <cstdint>
#include <memory>

namespace quillet {

/// A growing .m4a on the disk: encoder, muxer and file in a row. Every so many blocks are one fragment.
class RecordingPipeline final : public BlockRecorder {
public:
    [[nodiscard]] static Result<std::unique_ptr<RecordingPipeline>>
    create(std::unique_ptr<RecordingFile> file, int bitsPerSecond, const m4a::Retries& retries);

    [[nodiscard]] Result<void> write(const StereoBlock& block) override;
    /// Nothing is left in memory afterwards but what the encoder holds: one block.
    [[nodiscard]] Result<void> flush() override;
    [[nodiscard]] Result<void> drain() override;
    [[nodiscard]] std::int64_t framesWritten() const override { return m_frames; }

    [[nodiscard]] std::int64_t framesStored() const override { return m_file.blocks() * kBlockFrames; }
    [[nodiscard]] Result<std::int64_t> finish() override;
    void remove() override { m_file.remove(); }

    /// 0.68 s: with the block in the encoder, the sound server's share and the time that a busy disk takes, less than a
    /// second of sound is not on the disk at any time. Each fragment costs four switches to other threads.
    static constexpr int kBlocksPerFragment = 32;
    /// A disk takes longer for its promise to have stored something than for storing it: so many share one while more
    /// sound is waiting in memory anyway. 5 s.
    static constexpr int kMostFragmentsWaiting = m4a::kMostFragmentsPerSync;

private:
    RecordingPipeline(std::unique_ptr<RecordingFile> file, const m4a::Retries& retries,
                      std::unique_ptr<AacEncoder> encoder, std::unique_ptr<FragmentMuxer> muxer)
        : m_file(std::move(file), retries),
          m_encoder(std::move(encoder)),
          m_muxer(std::move(muxer)),
          m_toMuxer([this](const AVPacket& packet) { return m_muxer->add(packet); }) {}

    m4a::FragmentedFile m_file;
    std::unique_ptr<AacEncoder> m_encoder;
    std::unique_ptr<FragmentMuxer> m_muxer;
    const AacEncoder::PacketSink m_toMuxer;
    std::int64_t m_frames = 0;
    int m_blocksInFragment = 0;
    int m_fragmentsWaiting = 0; ///< for the disk
};

} // namespace quillet
