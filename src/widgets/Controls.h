#pragma once

#include "widgets/Theme.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include <optional>

class QVBoxLayout;

namespace quillet {

/// How a button looks. Bordered is what a plain QPushButton gets.
enum class ButtonRole {
    Bordered,
    Prominent, ///< the one main action of a window
    Plain,     ///< text only, with a ground under the pointer
    Icon       ///< a symbol only; needs an accessible name and a tool tip
};
enum class Tint { Accent, Record };

[[nodiscard]] QPushButton* makeButton(const QString& text, ButtonRole role = ButtonRole::Bordered,
                                      const QString& symbol = {}, QWidget* parent = nullptr);
/// The name is what assistive technology and the tool tip say.
[[nodiscard]] QPushButton* makeIconButton(const QString& name, const QString& symbol, QWidget* parent = nullptr);
void setButtonTint(QPushButton& button, Tint tint);
/// The room above and below the button's text, in pixels at the normal text size, instead of what its role has.
void setVerticalPadding(QPushButton& button, double pixels);
/// Keeps a widget's text in a style as the text size changes.
void setTextStyle(QWidget& widget, TextStyle style);

[[nodiscard]] ButtonRole buttonRole(const QWidget* button);
[[nodiscard]] std::optional<ButtonRole> buttonRoleOrNone(const QWidget* widget);
[[nodiscard]] Tint buttonTint(const QWidget* button);
[[nodiscard]] std::optional<double> verticalPadding(const QWidget* button);

/// A check box that looks like a switch.
[[nodiscard]] QCheckBox* makeSwitch(const QString& text, QWidget* parent = nullptr);
[[nodiscard]] bool isSwitch(const QWidget* widget);

/// A text in a style and a colour of the theme. It wraps by default and is plain text: data shown in it is never taken
/// for markup.
class TextLabel final : public QLabel {
public:
    explicit TextLabel(const QString& text, TextStyle style = TextStyle::Body, Ink ink = Ink::Label,
                       QWidget* parent = nullptr);
    void setInk(Ink ink);

private:
    void applyTheme();

    const TextStyle m_style;
    Ink m_ink;
};

/// One line that is cut in the middle where there is no room; the whole text is its tool tip then, and its accessible
/// name always.
class ElidedLabel final : public QWidget {
public:
    explicit ElidedLabel(const QString& text, TextStyle style = TextStyle::Body, Ink ink = Ink::Label,
                         QWidget* parent = nullptr);
    void setText(const QString& text);
    [[nodiscard]] const QString& text() const { return m_text; }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void showToolTipIfCut();

    QString m_text;
    const Ink m_ink;
};

/// A titled card: the title above a rounded ground with the contents one below the other.
class Group final : public QWidget {
public:
    explicit Group(const QString& title, QWidget* parent = nullptr);
    /// Where the contents go.
    [[nodiscard]] QVBoxLayout* contents() const { return m_contents; }

private:
    QVBoxLayout* m_contents;
};

/// A small rounded mark beside a name, such as "Default".
class Badge final : public QWidget {
public:
    explicit Badge(const QString& text, QWidget* parent = nullptr);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QString m_text;
};

/// Turns while it is visible: something is under way. Its timer runs only then.
class Spinner final : public QWidget {
public:
    explicit Spinner(const QString& accessibleName, double side = 16, QWidget* parent = nullptr);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    const double m_side;
    int m_timer = 0;
    int m_phase = 0;
};

/// A hairline across.
[[nodiscard]] QWidget* makeDivider(QWidget* parent = nullptr);

} // namespace quillet
