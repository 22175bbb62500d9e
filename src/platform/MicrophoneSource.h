#pragma once

#include "capture/SampleBuffer.h"
#include "platform/AuthorizationStatus.h"
#include "support/Result.h"
#include "support/SerialQueue.h"

#include <QString>

#include <memory>

namespace quillet {

/// Why the microphone could not be opened, by the step that failed.
struct MicrophoneFailure {
    enum class Step { NoDevice, DeviceInput, AddInput, AddOutput };
    Step step = Step::NoDevice;
    QString description; ///< used with DeviceInput only
    /// A device was asked for by its name and is not there; the others are as good as ever.
    bool isNamedDeviceMissing = false;
};

/// A running microphone. It delivers contiguous buffers, without holes and without non-finite samples, stamped half a
/// frame inside their frame on the machine's monotonic clock, until stop() or destruction. Lost devices and servers are
/// its own business: it moves to the next device and fills the gap with silence. Capture queue only.
class MicrophoneSession {
public:
    virtual ~MicrophoneSession() = default;
    /// Nothing is captured any more; what has been comes by way of the queue, before what is posted there next.
    /// Idempotent.
    virtual void stop() = 0;
};

/// The machine's microphones. Capture queue only; nothing here waits longer than three seconds.
class MicrophoneSource {
public:
    virtual ~MicrophoneSource() = default;
    /// Never asks the user.
    [[nodiscard]] virtual AuthorizationStatus authorizationStatus() = 0;
    /// Opens the chosen or default device and starts it. The handler is called on the queue.
    virtual Result<std::unique_ptr<MicrophoneSession>, MicrophoneFailure> start(SerialQueue& queue,
                                                                                SampleHandler handler) = 0;
};

} // namespace quillet
