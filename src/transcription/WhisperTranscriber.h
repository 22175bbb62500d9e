#pragma once

#include "support/Published.h"

#include <QString>

#include <optional>

namespace quillet {

/// State of a transcription of a recording, for views to observe; nothing transcribes yet. Main thread.
class WhisperTranscriber {
public:
    Published<bool> isModelLoaded{false};
    Published<bool> isTranscribing{false};
    Published<double> progress{0}; ///< 0 to 1
    Published<std::optional<QString>> lastError;
};

} // namespace quillet
