#pragma once

#include <QScrollArea>

namespace quillet {

/// A frameless area that scrolls its contents where they do not fit. It can have the keyboard only while there is
/// something to scroll, so that the arrow keys reach what no control leads to.
class ScrollPane final : public QScrollArea {
public:
    ScrollPane(const QString& accessibleName, QWidget* contents, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
};

} // namespace quillet
