#include "platform/linux/ffmpeg/RecordingPipeline.h"

#include "capture/MediaTime.h"

namespace quillet {

Result<std::unique_ptr<RecordingPipeline>> RecordingPipeline::create(std::unique_ptr<RecordingFile> file,
                                                                     int bitsPerSecond, const m4a::Retries& retries) {
    auto encoder = AacEncoder::create(bitsPerSecond);
    auto muxer = encoder ? FragmentMuxer::create((*encoder)->context())
                         : Result<std::unique_ptr<FragmentMuxer>>(Failure{encoder.error()});
    if (!muxer) {
        file->remove();
        return Failure{muxer.error()};
    }
    return std::unique_ptr<RecordingPipeline>(
        new RecordingPipeline(std::move(file), retries, std::move(*encoder), std::move(*muxer)));
}

Result<void> RecordingPipeline::write(const StereoBlock& block) {
    auto done = m_encoder->encode(block, m_toMuxer);
    if (!done) return done;
    m_frames += kBlockFrames;
    if (++m_blocksInFragment < kBlocksPerFragment) return {};
    m_blocksInFragment = 0;
    if (auto ended = m_muxer->endFragment(); !ended) return ended;
    return ++m_fragmentsWaiting < kMostFragmentsWaiting ? Result<void>() : flush();
}

Result<void> RecordingPipeline::flush() {
    m_blocksInFragment = 0;
    m_fragmentsWaiting = 0;
    auto done = m_muxer->endFragment();
    if (!done) return done;
    const m4a::Fragments fragments = m_muxer->take();
    return !fragments.sizes.empty() ? m_file.append(fragments) : done;
}

Result<void> RecordingPipeline::drain() {
    auto done = m_encoder->drain(m_toMuxer);
    return done ? flush() : done;
}

Result<std::int64_t> RecordingPipeline::finish() {
    // Finishing hours of sound takes as much memory as these, which are of no more use.
    m_encoder.reset();
    m_muxer.reset();
    const auto finished = m_file.finish();
    if (!finished) return Failure{finished.error()};
    return finished->blocks * kBlockFrames;
}

} // namespace quillet
