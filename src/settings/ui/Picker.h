#pragma once

#include "widgets/ComboBox.h"
#include "widgets/Controls.h"

#include <initializer_list>
#include <vector>

namespace quillet {

/// A pop-up menu of values. A value that is too long for its place ends in dots and does not widen the window.
class Picker final : public ComboBox {
public:
    explicit Picker(QWidget* parent = nullptr);
    /// The label beside it, which also is what assistive technology calls it.
    [[nodiscard]] TextLabel* makeLabel(const QString& text);

    struct Item {
        QString text;
        QString data;
    };
    /// Shows these and chooses the one with this data, else the first, without announcing a choice of the user's. The
    /// same items again leave an open menu as it is.
    void setItems(const std::vector<Item>& items, const QString& chosen);

    [[nodiscard]] QSize sizeHint() const override { return minimumSizeHint(); }
    /// Wide enough for its values, up to a point.
    [[nodiscard]] QSize minimumSizeHint() const override;
};

/// Keeps labels as wide as the widest of them, so that what follows them stands in one column.
void alignLabels(std::initializer_list<QLabel*> labels);

} // namespace quillet
