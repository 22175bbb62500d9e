#pragma once

#include <QColor>

#include <algorithm>
#include <cmath>

namespace quillet::test {

/// WCAG 2.1's contrast ratio of two colours.
inline double contrast(const QColor& one, const QColor& other) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    const auto luminance = [&](const QColor& color) {
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
    };
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace quillet::test
