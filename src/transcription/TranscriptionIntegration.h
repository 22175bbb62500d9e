#pragma once

#include "support/Published.h"
#include "transcription/ConsentManager.h"
#include "transcription/SpeakerDiarizer.h"
#include "transcription/TranscriptionCoordinator.h"
#include "transcription/TranscriptionSettings.h"
#include "transcription/WhisperTranscriber.h"

#include <memory>

namespace quillet {

/// All that belongs to transcripts, together, for views to observe; it does nothing with it yet. Main thread.
class TranscriptionIntegration {
public:
    TranscriptionIntegration();

    Published<bool> isAvailable{false};
    const std::shared_ptr<TranscriptionSettings> settings;
    const std::shared_ptr<TranscriptionCoordinator> coordinator;
    const std::shared_ptr<WhisperTranscriber> transcriber;
    const std::shared_ptr<SpeakerDiarizer> diarizer;
    const std::shared_ptr<ConsentManager> consent;
};

} // namespace quillet
