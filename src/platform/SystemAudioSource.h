#pragma once

#include "capture/SampleBuffer.h"
#include "support/Result.h"
#include "support/SerialQueue.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillet {

/// What can be captured: the displays of a screen-capture service, or the outputs of a sound server.
struct ShareableContent {
    std::vector<QString> displays; ///< identifiers; the first is the one that is captured
};

struct ContentFilter {
    QString display;
};

struct StreamConfiguration {
    bool capturesAudio = true;
    bool excludesCurrentProcessAudio = false;
    int sampleRateHz = kSampleRateHz;
    int channelCount = 2;
};

/// A stream of everything that the computer plays. It delivers contiguous buffers, without holes and without
/// non-finite samples; the first is stamped at the beginning of its frame (frame 0 of the recording), every later one
/// half a frame inside, on the machine's monotonic clock. Lost devices and servers are its own business.
class SystemAudioStream {
public:
    using Completion = std::function<void(std::optional<PlatformError>)>;

    virtual ~SystemAudioStream() = default;
    /// Where buffers go: the handler is called on the queue. Capture queue, once, before startCapture().
    virtual Result<void> addStreamOutput(SerialQueue& queue, SampleHandler handler) = 0;
    /// Capture queue. The completion comes once, on any thread, within three seconds.
    virtual void startCapture(Completion completion) = 0;
    /// Capture queue. The completion comes once per call, on the capture queue, after the last delivery. Destruction on
    /// the capture queue ends delivery as well.
    virtual void stopCapture(Completion completion) = 0;
};

/// The way to such a stream. Capture queue only, but for a question that another source's answer leads to.
class SystemAudioSource {
public:
    using ContentCompletion = std::function<void(Result<std::optional<ShareableContent>>)>;

    virtual ~SystemAudioSource() = default;
    /// The completion comes once, on any thread, within three seconds. No displays: there is nothing to record, or not
    /// what was asked for by its name.
    virtual void getShareableContent(ContentCompletion completion) = 0;
    [[nodiscard]] virtual std::shared_ptr<SystemAudioStream> makeStream(const ContentFilter& filter,
                                                                        const StreamConfiguration& configuration) = 0;
};

} // namespace quillet
