#pragma once

#include "support/Published.h"

#include <QString>

#include <optional>

namespace quillet {

/// State of a connection to a process that makes notes for this one, for views to observe; there is no such process
/// yet. Main thread.
class NotesHelperClient {
public:
    Published<bool> isConnected{false};
    Published<std::optional<QString>> lastError;
};

} // namespace quillet
