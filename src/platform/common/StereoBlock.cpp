#include "platform/common/StereoBlock.h"

#include "capture/FourSamples.h"

namespace quillet {
namespace {

constexpr float kLargestEncoded = 16.0F; ///< +24 dBFS

FourSamples usable(FourSamples samples) { // NaN compares false
    return magnitude(samples) < allFour(kLargestEncoded) ? samples : FourSamples{};
}

} // namespace

void separateChannels(std::span<const float, kBlockSamples> interleaved, StereoBlock& block) {
    static_assert(kBlockFrames % 4 == 0);
    for (std::size_t i = 0; i < static_cast<std::size_t>(kBlockFrames); i += 4) {
        const FourSamples a = usable(loadFour(interleaved.data() + 2 * i));
        const FourSamples b = usable(loadFour(interleaved.data() + 2 * i + 4));
        storeFour(block.left.data() + i, __builtin_shufflevector(a, b, 0, 2, 4, 6));
        storeFour(block.right.data() + i, __builtin_shufflevector(a, b, 1, 3, 5, 7));
    }
}

} // namespace quillet
