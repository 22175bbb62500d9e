#pragma once

#include "platform/AssetWriter.h"
#include "platform/MicrophoneSource.h"
#include "platform/PermissionServices.h"
#include "platform/SoundDevices.h"
#include "platform/SystemAudioSource.h"

#include <QString>

#include <functional>
#include <memory>

namespace quillet {

/// The machine's live sources.
struct LiveSources {
    std::shared_ptr<SystemAudioSource> systemAudio;
    std::shared_ptr<MicrophoneSource> microphone;
};

/// The name of a device as the machine names it, asked at each start of a recording on the capture queue; an empty name
/// follows the user's default.
using DeviceName = std::function<QString()>;

/// Is told that a recording goes, or goes on, with the user's default because the chosen device is not there. Any
/// thread.
using TellFallback = std::function<void(SoundDevice::Kind kind)>;

/// A device that was chosen by its name and goes in the midst of a recording is replaced by the default one until it
/// returns, where the platform shows that it has gone.
[[nodiscard]] LiveSources makeLiveSources(DeviceName systemDevice, DeviceName microphoneDevice,
                                          const TellFallback& tell);

[[nodiscard]] std::shared_ptr<SoundDevices> makeSoundDevices();

[[nodiscard]] std::shared_ptr<AssetWriterFactory> makeAssetWriterFactory();

[[nodiscard]] std::shared_ptr<PermissionServices> makePermissionServices();

} // namespace quillet
