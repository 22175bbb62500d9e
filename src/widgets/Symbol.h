#pragma once

#include "widgets/Theme.h"

#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QWidget>

namespace quillet {

/// The program's own symbols, by name ("mic.circle.fill"), in any colour and at any size. They are drawings of ink and
/// holes; an unknown name gives an empty square, so that a missing drawing is seen. Main thread.
[[nodiscard]] QPixmap symbolPixmap(const QString& name, int side, qreal devicePixelRatio, const QColor& ink);

/// In the colour of the text on which it stands: the style draws it anew for each state of a button.
[[nodiscard]] QIcon symbolIcon(const QString& name);
/// In a colour of its own.
[[nodiscard]] QIcon symbolIcon(const QString& name, const QColor& ink);

/// A symbol as a part of a window. It is decoration for assistive technology unless it gets an accessible name.
class SymbolView final : public QWidget {
public:
    /// side: in logical pixels at the normal text size; it grows with the text.
    SymbolView(const QString& name, double side, Ink ink, QWidget* parent = nullptr);

    void setSymbol(const QString& name);
    void setInk(Ink ink);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_name;
    double m_side;
    Ink m_ink;
};

} // namespace quillet
