#include "transcription/TranscriptionIntegration.h"

namespace quillet {

TranscriptionIntegration::TranscriptionIntegration()
    : settings(std::make_shared<TranscriptionSettings>()),
      coordinator(std::make_shared<TranscriptionCoordinator>()),
      transcriber(std::make_shared<WhisperTranscriber>()),
      diarizer(std::make_shared<SpeakerDiarizer>()),
      consent(std::make_shared<ConsentManager>()) {}

} // namespace quillet
