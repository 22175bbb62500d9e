#include "cli/ProgressLine.h"

#include <gtest/gtest.h>

namespace quillet::cli {
namespace {

using namespace std::chrono_literals;

TEST(ProgressLineTest, TheLineTellsTimeLevelsSilenceAndSpace) {
    CaptureStatistics statistics;
    statistics.mixed = 1h + 2min + 3s + FrameCount(40'000);
    statistics.system = {.peak = 0.9F, .level = 0.1F};
    statistics.microphone = {.peak = 0.1F, .level = 0.01F, .digitalSilence = 10s};
    EXPECT_EQ(ProgressLine::text(statistics, 12'340'000'000),
              QStringLiteral("1:02:03  system -20.0 dB  microphone SILENT for 10 s  12.3 GB free"));
    EXPECT_EQ(ProgressLine::text({}, std::nullopt), QStringLiteral("0:00:00  system   –  dB  microphone   –  dB"));
}

} // namespace
} // namespace quillet::cli
