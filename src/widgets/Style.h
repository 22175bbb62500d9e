#pragma once

#include <QProxyStyle>

class QStyleOptionButton;
class QStyleOptionComboBox;
class QStyleOptionSlider;

namespace quillet {

/// The program's look over Qt's own Fusion: buttons by their role (see Controls.h), switches, fields, thin scroll bars,
/// and a focus ring for those who use the keyboard. Everything is drawn from the Theme, so that light, dark and text
/// size need no style sheets.
class Style final : public QProxyStyle {
public:
    Style();

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                         const QWidget* widget) const override;
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                                QStyleHintReturn* data) const override;
    [[nodiscard]] QRect subElementRect(SubElement element, const QStyleOption* option,
                                       const QWidget* widget) const override;
    [[nodiscard]] QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                       const QWidget* widget) const override;
    void polish(QWidget* widget) override;
    using QProxyStyle::polish;

private:
    void drawButton(const QStyleOptionButton& option, QPainter& painter, const QWidget* widget) const;
    void drawButtonLabel(const QStyleOptionButton& option, QPainter& painter, const QWidget* widget) const;
    void drawIndicator(const QStyleOption& option, QPainter& painter, const QWidget* widget) const;
    void drawComboBox(const QStyleOptionComboBox& option, QPainter& painter) const;
    void drawScrollBar(const QStyleOptionSlider& option, QPainter& painter, const QWidget* widget) const;
};

} // namespace quillet
