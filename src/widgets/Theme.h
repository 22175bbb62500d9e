#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPalette>

#include <optional>

namespace quillet {

enum class ColorScheme { Light, Dark };

/// What a colour is for. The actual colour follows the colour scheme.
enum class Ink { Label, Secondary, Accent, Red, Green, Orange, Blue, Purple, OnTint };

/// The text styles of the interface; their sizes follow the user's text size.
enum class TextStyle {
    LargeTitle,
    Title,
    Headline,
    Body,
    BodyMedium,
    Subheadline,
    SubheadlineMedium,
    Caption,
    Caption2,
    Monospaced
};

/// Colours that are not text.
enum class Fill {
    Window,
    Card,    ///< the ground of a card, a popover, a text field
    Border,  ///< hairlines
    Control, ///< a button at rest, over the card
    ControlHover,
    ControlPressed,
    Selection, ///< a selected row, under ordinary text
    Meter      ///< the empty part of a meter
};

/// The look of the program: one set of colours and fonts for light and dark and for any text size. It follows what
/// the desktop asks for and, where the desktop does not say, the palette with which the program was started. Widgets
/// ask it when they draw and listen to changed(). Main thread; one per process, made on first use after the
/// application object.
class Theme final : public QObject {
    Q_OBJECT
public:
    static Theme& shared();

    /// Puts the style, the palette and the font on the application. Once, before the first widget.
    void install();

    /// Absent follows the palette of the start.
    void setColorScheme(std::optional<ColorScheme> scheme);
    /// 1 is the desktop's own size; kept between 0.5 and 3.
    void setTextScale(double scale);
    /// Without them moving parts come to rest at once, because the user asked the desktop for less motion.
    void setAnimations(bool animations) { m_animations = animations; }

    [[nodiscard]] ColorScheme colorScheme() const { return m_scheme; }
    [[nodiscard]] bool animations() const { return m_animations; }
    [[nodiscard]] QColor ink(Ink ink) const;
    [[nodiscard]] QColor fill(Fill fill) const;
    [[nodiscard]] QFont font(TextStyle style) const;
    /// A length that belongs to text (a symbol beside it, a row's height), in logical pixels, at the present text size.
    [[nodiscard]] int scaled(double pixels) const;

Q_SIGNALS:
    void changed();

private:
    Theme();
    void apply();
    [[nodiscard]] QPalette palette() const;

    const ColorScheme m_startScheme;
    const QFont m_startFont;
    ColorScheme m_scheme;
    double m_textScale = 1;
    bool m_animations = true;
    bool m_isInstalled = false;
};

} // namespace quillet
