#pragma once

#include "platform/AssetWriter.h"
#include "platform/MicrophoneSource.h"
#include "platform/SoundDevices.h"
#include "platform/SystemAudioSource.h"

#include <QString>

#include <memory>

namespace quillet {

/// The machine's live sources.
struct LiveSources {
    std::shared_ptr<SystemAudioSource> systemAudio;
    std::shared_ptr<MicrophoneSource> microphone;
};

/// A device is named as the machine names it; an empty name follows the user's default.
[[nodiscard]] LiveSources makeLiveSources(const QString& systemDevice, const QString& microphoneDevice);

[[nodiscard]] std::shared_ptr<SoundDevices> makeSoundDevices();

[[nodiscard]] std::shared_ptr<AssetWriterFactory> makeAssetWriterFactory();

/// A text of the system in the words of this platform: some speak of things that exist on one system only. Texts
/// without a wording of their own come back as they are.
[[nodiscard]] QString platformWording(const QString& text);

} // namespace quillet
