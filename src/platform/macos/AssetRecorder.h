#pragma once

#include "platform/AssetWriter.h"
#include "platform/RecordingFiles.h"

#include <memory>

namespace quillet {

/// Makes writers of .m4a files by the platform's own asset writer, which writes in fragments as it goes: a killed
/// process leaves a file that plays up to its last seconds. A file of the same name is set aside first, because the
/// asset writer refuses to write over one.
class MacAssetWriterFactory final : public AssetWriterFactory {
public:
    Result<std::shared_ptr<AssetWriter>> makeWriter(const std::filesystem::path& url,
                                                    const TellSetAside& tell) override;
};

} // namespace quillet
