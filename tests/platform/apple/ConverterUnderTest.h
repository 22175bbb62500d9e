#pragma once

#include "platform/apple/DriftConverter.h"

#include <cstddef>

namespace quillet::test {

// What ../RateConverterTest.cpp tests here, and how closely it keeps to its rate.
constexpr auto makeConverter = apple::makeDriftConverter;
constexpr std::size_t kFirstCleanFrame = 0;
constexpr double kErrorWithoutCorrection = 0;
constexpr double kFramesOffInASecond = 0;
constexpr double kFramesOffInTheLong = 0.01;

} // namespace quillet::test
