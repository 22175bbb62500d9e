#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quillet {

/// The last stretch of one source: interleaved stereo, the slot of absolute frame n at 2 * (n mod frames). All zeros at
/// creation; a slot that nobody writes keeps what it held one ring length earlier.
struct FloatRing {
    explicit FloatRing(std::int64_t capacityFrames)
        : buffer(static_cast<std::size_t>(2 * capacityFrames)), frames(capacityFrames) {}

    /// Where a frame lies, and how many frames from there on lie in one piece.
    struct Run {
        float* samples;
        std::int64_t frames;
    };
    [[nodiscard]] Run runAt(std::int64_t frame, std::int64_t wanted) {
        std::int64_t slot = frame % frames;
        if (slot < 0) slot += frames;
        return {buffer.data() + 2 * slot, std::min(wanted, frames - slot)};
    }

    std::vector<float> buffer;
    std::int64_t frames; ///< capacity
};

} // namespace quillet
