#pragma once

#include "support/Published.h"

#include <QString>

#include <optional>

namespace quillet {

/// State of a summary by Google's service, for views to observe; nothing sets it. Main thread.
class GeminiSummariser {
public:
    Published<bool> isSummarising{false};
    Published<std::optional<QString>> lastError;
};

} // namespace quillet
