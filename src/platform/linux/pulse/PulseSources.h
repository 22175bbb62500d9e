#pragma once

#include "platform/MicrophoneSource.h"
#include "platform/SoundDevices.h"
#include "platform/SystemAudioSource.h"

#include <QString>

#include <memory>

namespace quillet {

class SoundServer;

/// The connection that all of the following share: one of it is enough for a program.
[[nodiscard]] std::shared_ptr<SoundServer> makeSoundServer();

/// The microphone with this source name; empty: the default microphone, whichever it is at the time.
[[nodiscard]] std::shared_ptr<MicrophoneSource> makePulseMicrophoneSource(std::shared_ptr<SoundServer> server,
                                                                          QString deviceName = {});

/// What is played to the output of this name (or heard by the source of this name); empty: the default output,
/// whichever it is at the time.
[[nodiscard]] std::shared_ptr<SystemAudioSource> makePulseSystemAudioSource(std::shared_ptr<SoundServer> server,
                                                                            QString deviceName = {});

[[nodiscard]] std::shared_ptr<SoundDevices> makePulseSoundDevices(std::shared_ptr<SoundServer> server);

} // namespace quillet
