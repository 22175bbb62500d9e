#pragma once

#include "support/Published.h"

#include <QString>

namespace quillet {

/// What the user wants of transcripts, for views to observe; neither stored nor heeded yet. Main thread.
class TranscriptionSettings {
public:
    Published<bool> isEnabled{false};
    Published<bool> separatesSpeakers{false};
    Published<QString> language; ///< empty: found out from the recording
};

} // namespace quillet
