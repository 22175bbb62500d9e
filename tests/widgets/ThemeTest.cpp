#include "widgets/Theme.h"

#include "support/Contrast.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quillet {
namespace {

TEST(Theme, everyTextColourCanBeReadOnEveryGround) {
    Theme& theme = Theme::shared();
    for (const ColorScheme scheme : {ColorScheme::Light, ColorScheme::Dark}) {
        theme.setColorScheme(scheme);
        for (const Ink ink :
             {Ink::Label, Ink::Secondary, Ink::Accent, Ink::Red, Ink::Green, Ink::Orange, Ink::Blue, Ink::Purple}) {
            for (const Fill ground : {Fill::Card, Fill::Window}) {
                EXPECT_GE(test::contrast(theme.ink(ink), theme.fill(ground)), 4.5)
                    << "ink " << int(ink) << " on " << int(ground) << " in scheme " << int(scheme);
            }
        }
    }
    theme.setColorScheme(std::nullopt);
}

TEST(Theme, textSizeFollowsTheDesktopWithinReason) {
    Theme& theme = Theme::shared();
    const double normal = theme.font(TextStyle::Body).pointSizeF();
    const struct {
        double asked, factor;
    } rows[] = {{2.0, 2.0}, {100.0, 3.0}, {0.0, 0.5}, {std::nan(""), 1.0}, {1.0, 1.0}};
    for (const auto& row : rows) {
        theme.setTextScale(row.asked);
        EXPECT_NEAR(theme.font(TextStyle::Body).pointSizeF(), normal * row.factor, 0.01) << row.asked;
    }
}

} // namespace
} // namespace quillet
