#pragma once

#include "platform/linux/ffmpeg/DriftResampler.h"

#include <cstddef>

namespace quillet::test {

// What ../RateConverterTest.cpp tests here, and how closely it keeps to its rate.
constexpr auto makeConverter = makeDriftResampler;
constexpr std::size_t kFirstCleanFrame = 100;
constexpr double kErrorWithoutCorrection = 2.5e-5;
constexpr double kFramesOffInASecond = 0.048; ///< one part in a million is as fine as swresample steps
constexpr double kFramesOffInTheLong = 3.5;

} // namespace quillet::test
