#pragma once

#include "platform/MicrophoneSource.h"
#include "platform/SoundDevices.h"
#include "platform/SystemAudioSource.h"

#include <QString>

#include <functional>
#include <memory>

namespace quillet {

/// Everything that the Mac plays, through a screen-capture stream of which only the sound is taken. A display is chosen
/// by its number, as makeMacSoundDevices() lists it; empty: the first one. Asked at each start, on the capture queue.
[[nodiscard]] std::shared_ptr<SystemAudioSource> makeScreenCaptureSource(std::function<QString()> display);

/// The microphone with this unique identifier; empty: the default one.
[[nodiscard]] std::shared_ptr<MicrophoneSource> makeCaptureMicrophoneSource(std::function<QString()> uniqueID);

[[nodiscard]] std::shared_ptr<SoundDevices> makeMacSoundDevices();

} // namespace quillet
