#include "platform/Platform.h"
#include "platform/macos/AssetRecorder.h"
#include "platform/macos/MacPermissionServices.h"
#include "platform/macos/MacSources.h"

#include <utility>

namespace quillet {

LiveSources makeLiveSources(DeviceName systemDevice, DeviceName microphoneDevice, const TellFallback&) {
    return {.systemAudio = makeScreenCaptureSource(std::move(systemDevice)),
            .microphone = makeCaptureMicrophoneSource(std::move(microphoneDevice))};
}

std::shared_ptr<SoundDevices> makeSoundDevices() { return makeMacSoundDevices(); }

std::shared_ptr<AssetWriterFactory> makeAssetWriterFactory() { return std::make_shared<MacAssetWriterFactory>(); }

std::shared_ptr<PermissionServices> makePermissionServices() { return std::make_shared<MacPermissionServices>(); }

} // namespace quillet
