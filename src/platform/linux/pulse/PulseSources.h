#pragma once

#include "platform/Platform.h"

#include <functional>
#include <memory>

namespace quillet {

// Each of these has a connection to the sound server of its own, made when it is first used: when two streams share
// one, PipeWire hands over the audio of one of them in bursts of up to 1.5 s, and loses some of it.

/// Told on the server's thread when the named device has gone in the midst of a recording, which goes on with the
/// default one until it returns.
using TellPulseStandIn = std::function<void()>;

/// The microphone with this source name.
[[nodiscard]] std::shared_ptr<MicrophoneSource> makePulseMicrophoneSource(DeviceName deviceName,
                                                                          TellPulseStandIn tellStandIn = {});

/// What is played to the output of this name (or heard by the source of this name).
[[nodiscard]] std::shared_ptr<SystemAudioSource> makePulseSystemAudioSource(DeviceName deviceName,
                                                                            TellPulseStandIn tellStandIn = {});

[[nodiscard]] std::shared_ptr<SoundDevices> makePulseSoundDevices();

} // namespace quillet
