#pragma once

#include "platform/AssetWriter.h"
#include "platform/RecordingFiles.h"
#include "storage/m4a/DurableWrite.h"

namespace quillet {

/// Makes writers of .m4a files by libavcodec and libavformat. While one records, its file consists of fragments, each
/// on the disk within a second after it was heard, and is marked as being written; a clean end turns it into a plain
/// .m4a in place, and so does recoverRecordings() after a crash. Errors are clauses for the user.
class M4aAssetWriterFactory final : public AssetWriterFactory {
public:
    Result<std::shared_ptr<AssetWriter>> makeWriter(const std::filesystem::path& url,
                                                    const TellSetAside& tell = {}) override;
};

/// The same into a file that is there already and is taken over.
[[nodiscard]] Result<std::shared_ptr<AssetWriter>>
makeM4aAssetWriter(std::unique_ptr<RecordingFile> file, const m4a::Retries& retries = m4a::usualRetries());

} // namespace quillet
