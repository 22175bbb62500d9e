#pragma once

#include "capture/MediaTime.h"

#include <array>
#include <cstddef>
#include <span>

namespace quillet {

/// One block on its way to the encoder: the channels apart, as encoders take them.
struct alignas(64) StereoBlock {
    using Channel = std::array<float, kBlockFrames>;
    Channel left;
    Channel right;
};

constexpr std::size_t kBlockSamples = 2 * kBlockFrames;

/// Takes the channels of an interleaved block apart. Samples that are not finite, or so large (+24 dBFS) that an
/// encoder would give up on the whole block, count as silence; nothing that a mix produces comes near.
void separateChannels(std::span<const float, kBlockSamples> interleaved, StereoBlock& block);

} // namespace quillet
