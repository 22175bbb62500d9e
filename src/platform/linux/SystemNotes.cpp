#include "platform/SystemNotes.h"

namespace quillet {

std::optional<SystemNotes> systemNotes() { return std::nullopt; }

} // namespace quillet
