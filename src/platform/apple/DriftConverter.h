#pragma once

#include "capture/RateConverter.h"

#include <memory>

namespace quillet::apple {

/// Stretches audio by a windowed sinc that every frame passes, also at 0 ppm, where it changes nothing: no later
/// correction comes in with a step. Flat up to about 19 kHz. Owned by a source and used on that source's thread.
[[nodiscard]] std::unique_ptr<RateConverter> makeDriftConverter(int channels);

} // namespace quillet::apple
