#pragma once

#include "platform/linux/pulse/DeviceLookup.h"
#include "platform/linux/pulse/SoundServer.h"

#include <memory>

namespace quillet {

/// Asks which device a choice means over a connection made for the question. PipeWire's server (0.3.65) keeps the
/// defaults per client, and under load a client may neither be told of a new default nor see it when it asks, for as
/// long as it stays connected; a new client sees it. Made and destroyed under the server's lock. The answer comes once
/// on the server's thread, and not after destruction; none comes from a server that does not answer.
class SecondOpinion {
public:
    SecondOpinion(pa_threaded_mainloop* mainloop, DeviceChoice choice, DeviceLookup::Answer answer);
    ~SecondOpinion();
    SecondOpinion(const SecondOpinion&) = delete;
    SecondOpinion& operator=(const SecondOpinion&) = delete;

private:
    void stateChanged();
    void disconnect();

    const DeviceChoice m_choice;
    const DeviceLookup::Answer m_answer;
    pa_context* m_context;
    std::unique_ptr<DeviceLookup> m_lookup;
    Result<std::optional<FoundDevice>> m_found = std::optional<FoundDevice>();
    MainloopTimer m_answered; ///< a connection is not given up in the midst of one of its own callbacks
};

} // namespace quillet
