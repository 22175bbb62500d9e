#pragma once

#include <QString>

class QCheckBox;
class QVBoxLayout;
class QWidget;

namespace quillet {

/// Adds a switch at the trailing edge, with its title and, if there is one, an explanation at the leading edge.
[[nodiscard]] QCheckBox* addSwitchRow(QVBoxLayout& column, const QString& title, const QString& explanation,
                                      QWidget* parent);

} // namespace quillet
