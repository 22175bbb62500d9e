#pragma once

#include <QLayout>

#include <memory>
#include <vector>

namespace quillet {

/// A row whose parts go onto further lines where there is no room for them in one, as with large text or in a narrow
/// window. What can grow takes what is left of its line; the rest stands at the leading edge.
class FlowRow final : public QLayout {
public:
    explicit FlowRow(int spacing = 10);
    ~FlowRow() override;

    void addItem(QLayoutItem* item) override;
    [[nodiscard]] int count() const override { return static_cast<int>(m_items.size()); }
    [[nodiscard]] QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    [[nodiscard]] Qt::Orientations expandingDirections() const override { return Qt::Horizontal; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    using Line = std::vector<QLayoutItem*>;
    [[nodiscard]] std::vector<Line> lines(int width) const;
    void place(const Line& line, const QRect& rect) const;

    std::vector<std::unique_ptr<QLayoutItem>> m_items;
};

} // namespace quillet
