#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace quillet {

/// Four samples in one vector register, by the extension that GCC and Clang share; every processor that this runs on
/// has such registers. For loops over every sample of a recording, which the compilers do not see through by
/// themselves: left to them, the sums and peaks of the mix go through memory for each sample.
using FourSamples = float __attribute__((vector_size(16)));

inline FourSamples loadFour(const float* from) { // of any alignment
    FourSamples samples;
    std::memcpy(&samples, from, sizeof samples);
    return samples;
}
inline void storeFour(float* to, FourSamples samples) { std::memcpy(to, &samples, sizeof samples); }

inline FourSamples allFour(float value) { return FourSamples{} + value; }
/// Lane by lane; where one is not a number, the second.
inline FourSamples larger(FourSamples a, FourSamples b) { return a > b ? a : b; }
inline FourSamples smaller(FourSamples a, FourSamples b) { return a < b ? a : b; }
inline FourSamples magnitude(FourSamples samples) { // without the bit of the sign
    using FourWords = std::uint32_t __attribute__((vector_size(16)));
    return std::bit_cast<FourSamples>(std::bit_cast<FourWords>(samples) & 0x7FFFFFFFU);
}

} // namespace quillet
