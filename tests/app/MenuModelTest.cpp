#include "app/MenuModel.h"

#include "app/PopoverPlacement.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(ElapsedString, changesItsFormAtTheHourAndCutsFractions) {
    using namespace std::chrono_literals;
    const WallTime start{};
    const struct {
        std::chrono::milliseconds elapsed;
        const char* text;
    } rows[] = {{0ms, "0:00"},      {59'999ms, "0:59"},    {61s, "1:01"}, {3599s, "59:59"},
                {3600s, "1:00:00"}, {36'000s, "10:00:00"}, {-5s, "0:-5"}};
    for (const auto& row : rows) EXPECT_EQ(elapsedString(start, start + row.elapsed).toStdString(), row.text);
}

TEST(PopoverPlacement, staysBesideTheIconAndOnTheScreen) {
    const ScreenArea topPanel{{0, 0, 1920, 1080}, {0, 28, 1920, 1052}};
    const ScreenArea bottomPanel{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}};
    const ScreenArea leftPanel{{0, 0, 1920, 1080}, {60, 0, 1860, 1080}};
    const ScreenArea secondRight{{1920, 0, 1280, 800}, {1920, 0, 1280, 760}};
    const ScreenArea tiny{{0, 0, 200, 150}, {0, 0, 200, 150}};
    const QSize size(280, 280);
    const struct {
        const char* what;
        PopoverAnchor anchor;
        std::vector<ScreenArea> screens;
        QPoint place;
    } rows[] = {
        {"icon in a panel at the top", {QRect(1000, 2, 24, 24), {}, {}}, {topPanel}, {871, 34}},
        {"icon at the trailing end", {QRect(1890, 2, 24, 24), {}, {}}, {topPanel}, {1634, 34}},
        {"panel at the bottom", {QRect(1000, 1048, 24, 24), {}, {}}, {bottomPanel}, {871, 754}},
        {"panel at the left", {QRect(18, 500, 24, 24), {}, {}}, {leftPanel}, {66, 371}},
        {"icon on the second screen", {QRect(2000, 770, 24, 24), {}, {}}, {bottomPanel, secondRight}, {1926, 474}},
        {"the pointer counts more than the host", {{}, QPoint(12, 9), QPoint(1800, 10)}, {topPanel}, {1634, 34}},
        {"only what the host tells", {{}, QPoint(900, 14), {}}, {topPanel}, {760, 34}},
        {"an icon that is nowhere", {QRect(-500, -500, 24, 24), {}, {}}, {topPanel}, {1634, 34}},
        {"nothing is known, panel below", {}, {bottomPanel}, {1634, 754}},
        {"no room at all", {QRect(100, 2, 24, 24), {}, {}}, {tiny}, {6, 6}},
    };
    for (const auto& row : rows) EXPECT_EQ(placePopover(size, row.anchor, row.screens), row.place) << row.what;
}

} // namespace
} // namespace quillet
