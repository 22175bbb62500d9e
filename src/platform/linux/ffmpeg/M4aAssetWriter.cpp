#include "platform/linux/ffmpeg/M4aAssetWriter.h"

#include "platform/common/QueuedAssetWriter.h"
#include "platform/linux/ffmpeg/RecordingPipeline.h"

namespace quillet {

Result<std::shared_ptr<AssetWriter>> makeM4aAssetWriter(std::unique_ptr<RecordingFile> file,
                                                        const m4a::Retries& retries) {
    auto pipeline = RecordingPipeline::create(std::move(file), AudioOutputSettings{}.bitRate, retries);
    if (!pipeline) return Failure{pipeline.error()};
    return makeQueuedAssetWriter(std::move(*pipeline), RecordingPipeline::kBlocksPerFragment);
}

Result<std::shared_ptr<AssetWriter>> M4aAssetWriterFactory::makeWriter(const std::filesystem::path& url,
                                                                       const TellSetAside& tell) {
    auto file = createRecordingFile(url, tell);
    if (!file) return Failure{file.error()};
    return makeM4aAssetWriter(std::move(*file));
}

} // namespace quillet
