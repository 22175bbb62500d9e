#pragma once

#include "platform/Platform.h"

namespace quillet {

/// Records with the chosen sources, and with the standard ones where a chosen device is not there when a recording
/// starts: a headset left at home must not cost the meeting. That recording then stays with the standard one, also when
/// the chosen device returns. Any other failure is passed on as it is. Called on the capture queue, like the sources
/// behind it, which may answer on any thread.
[[nodiscard]] LiveSources withFallback(LiveSources chosen, LiveSources standard, const TellFallback& tell);

} // namespace quillet
