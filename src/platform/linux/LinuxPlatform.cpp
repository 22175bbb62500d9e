#include "platform/Platform.h"
#include "platform/linux/ffmpeg/M4aAssetWriter.h"
#include "platform/linux/pulse/PulseSources.h"

namespace quillet {

LiveSources makeLiveSources(const QString& systemDevice, const QString& microphoneDevice) {
    return {.systemAudio = makePulseSystemAudioSource(systemDevice),
            .microphone = makePulseMicrophoneSource(microphoneDevice)};
}

std::shared_ptr<SoundDevices> makeSoundDevices() { return makePulseSoundDevices(); }

std::shared_ptr<AssetWriterFactory> makeAssetWriterFactory() { return std::make_shared<M4aAssetWriterFactory>(); }

} // namespace quillet
