#include "platform/Platform.h"
#include "platform/linux/ffmpeg/M4aAssetWriter.h"
#include "platform/linux/pulse/PulseSources.h"

namespace quillet {

LiveSources makeLiveSources(const QString& systemDevice, const QString& microphoneDevice) {
    const auto server = makeSoundServer();
    return {.systemAudio = makePulseSystemAudioSource(server, systemDevice),
            .microphone = makePulseMicrophoneSource(server, microphoneDevice)};
}

std::shared_ptr<SoundDevices> makeSoundDevices() { return makePulseSoundDevices(makeSoundServer()); }

std::shared_ptr<AssetWriterFactory> makeAssetWriterFactory() { return std::make_shared<M4aAssetWriterFactory>(); }

} // namespace quillet
