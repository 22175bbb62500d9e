#include "capture/RecordingControl.h"

#include <QPointer>

namespace quillet {

RecordingControl::RecordingControl(std::shared_ptr<AudioCaptureEngine> engine) : m_engine(std::move(engine)) {
    m_engine->isRecording.subscribe(this, [this](bool recording) { recordingChanged(recording); });
    m_engine->lastError.subscribe(this, [this](const std::optional<QString>& error) {
        if (error) startFailed();
    });
}

void RecordingControl::start() {
    if (phase.value() != Phase::Idle) return;
    phase.set(Phase::Starting);
    m_engine->startRecording();
}

void RecordingControl::stop() {
    if (phase.value() == Phase::Starting) {
        phase.set(Phase::StoppingAtStart);
    } else if (phase.value() == Phase::Recording) {
        phase.set(Phase::Stopping);
        m_engine->stopRecording();
    }
}

void RecordingControl::toggle() {
    const bool isRunning = phase.value() == Phase::Recording || phase.value() == Phase::Stopping;
    isRunning ? stop() : start();
}

void RecordingControl::recordingChanged(bool recording) {
    if (!recording) {
        if (phase.value() != Phase::Idle) phase.set(Phase::Idle);
        return;
    }
    const bool stopWasAskedFor = phase.value() == Phase::StoppingAtStart;
    phase.set(Phase::Recording);
    if (stopWasAskedFor) stop();
}

/// Some failures to start are followed by an announcement that nothing is recording, others by nothing at all. Whatever
/// the engine still does about this failure has been announced once a round trip through its queue is back.
void RecordingControl::startFailed() {
    if (phase.value() != Phase::Starting && phase.value() != Phase::StoppingAtStart) return;
    m_engine->queue().async([self = QPointer<RecordingControl>(this)] {
        MainThread::post([self] {
            if (!self) return;
            const Phase now = self->phase.value();
            if (now == Phase::Starting || now == Phase::StoppingAtStart) self->phase.set(Phase::Idle);
        });
    });
}

} // namespace quillet
