#pragma once

#include "support/Published.h"

#include <QString>

#include <optional>

namespace quillet {

/// State of the way from a recording to its transcript, for views to observe; nothing goes it yet. Main thread.
class TranscriptionCoordinator {
public:
    Published<bool> isProcessing{false};
    Published<double> progress{0}; ///< 0 to 1
    Published<std::optional<QString>> transcript;
    Published<std::optional<QString>> lastError;
};

} // namespace quillet
