#pragma once

#include <QLayout>

#include <memory>
#include <vector>

namespace quillet {

/// Lays its items out like words: line after line, each line as full as the width allows. Owned by the widget it
/// belongs to.
class FlowLayout final : public QLayout {
public:
    FlowLayout(int horizontalGap, int verticalGap);

    void addItem(QLayoutItem* item) override;
    [[nodiscard]] int count() const override { return static_cast<int>(m_items.size()); }
    [[nodiscard]] QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    [[nodiscard]] Qt::Orientations expandingDirections() const override { return {}; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override { return minimumSize(); }
    [[nodiscard]] QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    struct Placed {
        QLayoutItem* item;
        QRect rect;
    };
    [[nodiscard]] std::vector<Placed> placedIn(const QRect& rect) const;

    std::vector<std::unique_ptr<QLayoutItem>> m_items;
    const int m_horizontalGap;
    const int m_verticalGap;
};

} // namespace quillet
