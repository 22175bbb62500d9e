#pragma once

#include "capture/AudioCaptureEngine.h"

#include <QObject>

namespace quillet {

/// The buttons' side of the engine: takes start and stop requests from the popover, the menu, the command line and the
/// bus, and passes on only what makes sense. A request made before the last one has settled is ignored, but a stop made
/// while starting is remembered and carried out as soon as the recording runs. Main thread only.
class RecordingControl final : public QObject {
public:
    enum class Phase {
        Idle,
        Starting,        ///< asked to start; neither running nor failed yet
        StoppingAtStart, ///< as Starting, and asked to stop
        Recording,
        Stopping ///< asked to stop; the file is not finished yet
    };

    explicit RecordingControl(std::shared_ptr<AudioCaptureEngine> engine);

    void start();
    void stop();
    /// What a button does that shows whether a recording runs: while one starts it still says start.
    void toggle();

    Published<Phase> phase{Phase::Idle};

private:
    void recordingChanged(bool recording);
    void startFailed();

    const std::shared_ptr<AudioCaptureEngine> m_engine;
};

} // namespace quillet
