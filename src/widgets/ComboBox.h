#pragma once

#include <QComboBox>

namespace quillet {

/// A menu of choices that assistive technology calls by what is chosen with it ("Microphone") and of which it tells the
/// choice as the value. The toolkit's own is called by the choice on Linux, so that the same list of choices twice in a
/// window cannot be told apart. Turning the wheel scrolls what it lies in and never changes the choice: that is how
/// settings get changed unnoticed. A choice that is too long for its place ends in dots.
class ComboBox : public QComboBox {
    Q_OBJECT
public:
    explicit ComboBox(QWidget* parent = nullptr);

protected:
    void initStyleOption(QStyleOptionComboBox* option) const override;
    void wheelEvent(QWheelEvent* event) override;
};

} // namespace quillet
