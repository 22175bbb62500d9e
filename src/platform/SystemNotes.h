#pragma once

#include "platform/ScriptHost.h"

#include <functional>
#include <memory>
#include <optional>

namespace quillet {

/// The notes application that comes with the system and is driven by scripts.
struct SystemNotes {
    std::shared_ptr<ScriptHost> scripts;
    std::function<bool()> isInstalled; ///< any thread, at once
};

/// Absent where the system has none.
[[nodiscard]] std::optional<SystemNotes> systemNotes();

} // namespace quillet
