#pragma once

#include "support/Published.h"

#include <QString>

#include <optional>

namespace quillet {

/// State of telling the speakers of a recording apart, for views to observe; nothing does so yet. Main thread.
class SpeakerDiarizer {
public:
    Published<bool> isDiarizing{false};
    Published<int> speakerCount{0};
    Published<std::optional<QString>> lastError;
};

} // namespace quillet
