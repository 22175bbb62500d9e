#pragma once

#include "support/Result.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

struct pa_context;

namespace quillet {

/// Which device a stream is to record.
struct DeviceChoice {
    enum class Kind { Microphone, SystemAudio };
    Kind kind = Kind::Microphone;
    /// A source's name, for system audio also an output's; empty: the default device, whichever it is at the time.
    std::string name;
};

/// A device that is there: the source to connect to, and the name that users know.
struct FoundDevice {
    std::string source;
    std::string name; ///< of the output whose monitor the source is, or of the source itself
};

/// Asks the server for the one source that a choice means at this moment, by real names throughout: PipeWire records
/// the microphone for "@DEFAULT_MONITOR@", and both servers put a monitor in the place of a missing microphone.
/// Made and destroyed under the server's lock. The answer comes once, on the server's thread or, when the question
/// cannot even be asked, before the constructor returns; not after destruction.
class DeviceLookup {
public:
    /// Absent: there is no such device. An error: the server could not be asked.
    using Answer = std::function<void(Result<std::optional<FoundDevice>>)>;

    DeviceLookup(pa_context* context, DeviceChoice choice, Answer answer);
    ~DeviceLookup();
    DeviceLookup(const DeviceLookup&) = delete;
    DeviceLookup& operator=(const DeviceLookup&) = delete;

private:
    class Query;
    std::unique_ptr<Query> m_query;
};

} // namespace quillet
