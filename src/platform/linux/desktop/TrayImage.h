#pragma once

#include "platform/StatusItem.h"

#include <QColor>
#include <QImage>

#include <array>
#include <vector>

namespace quillet {

/// The sizes that panels ask for, at one and two times.
inline constexpr std::array kTrayImageSizes{22, 24, 32, 44, 48, 64};

/// The shape in the given ink on a light rim that also fills its holes: on a dark panel the rim makes the figure, on a
/// light one the ink. Nothing tells a program which of the two its icon will lie on.
[[nodiscard]] QImage onAnyPanel(const QImage& shape, const QColor& ink);

/// The status image in every size.
[[nodiscard]] std::vector<QImage> trayImages(const StatusImage& image);

} // namespace quillet
