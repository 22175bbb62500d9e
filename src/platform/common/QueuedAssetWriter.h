#pragma once

#include "platform/AssetWriter.h"
#include "platform/common/StereoBlock.h"

#include <cstdint>
#include <memory>

namespace quillet {

/// Blocks of sound in, a growing file on the disk. Knows nothing of threads; every call may wait for the disk. After
/// the first error nothing more may be written; finish() and remove() still may.
class BlockRecorder {
public:
    virtual ~BlockRecorder() = default;

    /// What was written goes to the disk at the latest with the next 5 s of sound.
    [[nodiscard]] virtual Result<void> write(const StereoBlock& block) = 0;
    /// What was written is on the disk afterwards, but for what an encoder holds. Follows when nothing more is waiting
    /// to be written.
    [[nodiscard]] virtual Result<void> flush() = 0;
    /// After the last block.
    [[nodiscard]] virtual Result<void> drain() = 0;
    [[nodiscard]] virtual std::int64_t framesWritten() const = 0;

    /// How many frames the file plays, as it is or once it is finished: those written that have reached the disk.
    [[nodiscard]] virtual std::int64_t framesStored() const = 0;
    /// Makes it as plain a file as nobody can improve upon; returns how many frames that plays. After a failure the
    /// file is what it was, and a repair may still finish it.
    [[nodiscard]] virtual Result<std::int64_t> finish() = 0;
    virtual void remove() = 0;
};

/// A writer whose recorder runs on a thread of its own behind a queue of 15 s, and is woken for whole batches of
/// blocks. It fills gaps between blocks with silence, ends the file at the first error, and sees to it that the end
/// comes once, whoever lets go of it first. Where there is no thread to be had, nothing is left of the recorder's file.
[[nodiscard]] Result<std::shared_ptr<AssetWriter>> makeQueuedAssetWriter(std::unique_ptr<BlockRecorder> recorder,
                                                                         std::size_t blocksPerBatch);

} // namespace quillet
