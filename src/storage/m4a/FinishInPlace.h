#pragma once

#include "platform/DurableFile.h"
#include "storage/m4a/DurableWrite.h"

#include <cstdint>

namespace quillet::m4a {

struct FinishedRecording {
    std::int64_t blocks = 0; ///< of 1,024 frames, exactly what a player decodes
};

/// Turns a recording in fragments into a plain .m4a without moving its sound: a complete movie box goes behind the last
/// packet, then the header of the first movie box is overwritten by that of a data box that spans everything up to
/// there. A killed process or a power cut between any two writes leaves a file that this function finishes when called
/// again, and that plays as before. Ends recordings and repairs leftovers alike; what is cut off or never reached the
/// disk at the end is left out. Fails with an errno when the disk does, else with code 0 and a clause for the user, the
/// file being untouched then.
[[nodiscard]] Result<FinishedRecording> finishInPlace(DurableFile& file, const Retries& retries = usualRetries());

} // namespace quillet::m4a
