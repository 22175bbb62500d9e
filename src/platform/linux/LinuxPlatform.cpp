#include "platform/Platform.h"
#include "platform/linux/LinuxPermissionServices.h"
#include "platform/linux/ffmpeg/M4aAssetWriter.h"
#include "platform/linux/pulse/PulseSources.h"

namespace quillet {

LiveSources makeLiveSources(DeviceName systemDevice, DeviceName microphoneDevice, const TellFallback& tell) {
    return {.systemAudio =
                makePulseSystemAudioSource(std::move(systemDevice), [tell] { tell(SoundDevice::Kind::Output); }),
            .microphone =
                makePulseMicrophoneSource(std::move(microphoneDevice), [tell] { tell(SoundDevice::Kind::Input); })};
}

std::shared_ptr<SoundDevices> makeSoundDevices() { return makePulseSoundDevices(); }

std::shared_ptr<AssetWriterFactory> makeAssetWriterFactory() { return std::make_shared<M4aAssetWriterFactory>(); }

std::shared_ptr<PermissionServices> makePermissionServices() {
    return std::make_shared<LinuxPermissionServices>(makePulseMicrophoneSource([] { return QString(); }));
}

} // namespace quillet
