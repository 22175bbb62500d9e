#pragma once

#include "platform/MicrophoneSource.h"
#include "platform/SoundDevices.h"
#include "platform/SystemAudioSource.h"

#include <QString>

#include <memory>

namespace quillet {

// Each of these has a connection to the sound server of its own, made when it is first used: when two streams share
// one, PipeWire hands over the audio of one of them in bursts of up to a second, and loses some of it.

/// The microphone with this source name; empty: the default microphone, whichever it is at the time.
[[nodiscard]] std::shared_ptr<MicrophoneSource> makePulseMicrophoneSource(QString deviceName = {});

/// What is played to the output of this name (or heard by the source of this name); empty: the default output,
/// whichever it is at the time.
[[nodiscard]] std::shared_ptr<SystemAudioSource> makePulseSystemAudioSource(QString deviceName = {});

[[nodiscard]] std::shared_ptr<SoundDevices> makePulseSoundDevices();

} // namespace quillet
