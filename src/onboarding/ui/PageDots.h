#pragma once

#include <QWidget>

namespace quillet {

/// One dot for each page of a flow; the present one is a longer mark in the accent colour.
class PageDots final : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;
    void setPage(int page, int count);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_page = 0;
    int m_count = 1;
};

} // namespace quillet
