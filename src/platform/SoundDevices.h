#pragma once

#include "support/Result.h"

#include <QString>

#include <vector>

namespace quillet {

/// A device of the sound server that can be chosen for recording.
struct SoundDevice {
    enum class Kind {
        Output, ///< what is played there can be recorded as system audio
        Input   ///< a microphone
    };
    Kind kind = Kind::Output;
    QString name;        ///< identifies it, also after a restart
    QString description; ///< for the user
    bool isDefault = false;
    bool isMuted = false; ///< a muted device may be recorded as silence
};

/// Lists the devices, for the command line and the settings. Any thread but the server's; waits up to three seconds for
/// the server.
class SoundDevices {
public:
    virtual ~SoundDevices() = default;
    /// Outputs first. The error's text is a clause that says why the server does not tell.
    [[nodiscard]] virtual Result<std::vector<SoundDevice>> list() = 0;
};

} // namespace quillet
