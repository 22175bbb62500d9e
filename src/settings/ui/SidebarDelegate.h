#pragma once

#include <QStyledItemDelegate>

namespace quillet {

/// Draws a row of a sidebar: a symbol and a title, on a rounded ground where it is selected.
class SidebarDelegate final : public QStyledItemDelegate {
public:
    static constexpr int kSymbolRole = Qt::UserRole + 1; ///< the symbol's name

    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace quillet
