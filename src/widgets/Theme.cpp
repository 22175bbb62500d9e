#include "widgets/Theme.h"

#include "support/Require.h"
#include "widgets/Style.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QStyle>
#include <QToolTip>

#include <algorithm>
#include <cmath>

namespace quillet {
namespace {

constexpr double kBodyPoints = 10;

struct InkColors {
    QRgb light;
    QRgb dark;
};

// Text colours have a contrast of at least 4.5:1 against the card and the window of their scheme.
constexpr InkColors inkColors(Ink ink) {
    switch (ink) {
    case Ink::Label:
        return {0xff1c1c1f, 0xfff2f2f4};
    case Ink::Secondary:
        return {0xff66666d, 0xffa6a6ad};
    case Ink::Accent:
        return {0xff0a63da, 0xff5aa5ff};
    case Ink::Red:
        return {0xffc9282a, 0xffff7a75};
    case Ink::Green:
        return {0xff1d7a35, 0xff57d177};
    case Ink::Orange:
        return {0xff9c5300, 0xffffb054};
    case Ink::Blue:
        return {0xff0a63da, 0xff5aa5ff};
    case Ink::Purple:
        return {0xff8a3fc0, 0xffcf95f5};
    case Ink::OnTint:
        return {0xffffffff, 0xffffffff};
    }
    return {};
}

constexpr InkColors fillColors(Fill fill) {
    switch (fill) {
    case Fill::Window:
        return {0xfff4f4f6, 0xff1f1f22};
    case Fill::Card:
        return {0xffffffff, 0xff2a2a2e};
    case Fill::Border:
        return {0x1f000000, 0x24ffffff};
    case Fill::Control:
        return {0x0e000000, 0x16ffffff};
    case Fill::ControlHover:
        return {0x16000000, 0x21ffffff};
    case Fill::ControlPressed:
        return {0x21000000, 0x0effffff};
    case Fill::Selection:
        return {0x1f0a63da, 0x385aa5ff};
    case Fill::Meter:
        return {0x17000000, 0x1fffffff};
    }
    return {};
}

QColor choose(InkColors colors, ColorScheme scheme) {
    return QColor::fromRgba(scheme == ColorScheme::Dark ? colors.dark : colors.light);
}

struct FontForm {
    double factor;
    QFont::Weight weight;
};

constexpr FontForm form(TextStyle style) {
    switch (style) {
    case TextStyle::LargeTitle:
        return {2.0, QFont::Bold};
    case TextStyle::Title:
        return {1.6, QFont::DemiBold};
    case TextStyle::Headline:
        return {1.1, QFont::DemiBold};
    case TextStyle::Body:
        return {1.0, QFont::Normal};
    case TextStyle::BodyMedium:
        return {1.0, QFont::Medium};
    case TextStyle::Subheadline:
        return {0.95, QFont::Normal};
    case TextStyle::SubheadlineMedium:
        return {0.95, QFont::Medium};
    case TextStyle::Caption:
        return {0.88, QFont::Normal};
    case TextStyle::Caption2:
        return {0.8, QFont::Normal};
    case TextStyle::Monospaced:
        return {0.95, QFont::Normal};
    }
    return {1, QFont::Normal};
}

ColorScheme schemeOf(const QPalette& palette) {
    return palette.color(QPalette::Window).lightnessF() < 0.5F ? ColorScheme::Dark : ColorScheme::Light;
}

} // namespace

Theme& Theme::shared() {
    require(qApp != nullptr, "the theme needs the application object");
    static Theme theme;
    return theme;
}

Theme::Theme()
    : m_startScheme(schemeOf(QApplication::palette())), m_startFont(QApplication::font()), m_scheme(m_startScheme) {}

void Theme::install() {
    m_isInstalled = true;
    QApplication::setStyle(new Style);
    apply();
}

void Theme::setColorScheme(std::optional<ColorScheme> scheme) {
    const ColorScheme wanted = scheme.value_or(m_startScheme);
    if (std::exchange(m_scheme, wanted) != wanted) apply();
}

void Theme::setTextScale(double scale) {
    const double wanted = std::isfinite(scale) ? std::clamp(scale, 0.5, 3.0) : 1.0;
    if (std::exchange(m_textScale, wanted) != wanted) apply();
}

void Theme::apply() {
    if (!m_isInstalled) return;
    QApplication::setPalette(palette());
    QToolTip::setPalette(palette());
    QApplication::setFont(font(TextStyle::Body));
    Q_EMIT changed();
}

QColor Theme::ink(Ink ink) const { return choose(inkColors(ink), m_scheme); }
QColor Theme::fill(Fill fill) const { return choose(fillColors(fill), m_scheme); }

QFont Theme::font(TextStyle style) const {
    QFont font =
        style == TextStyle::Monospaced ? QFontDatabase::systemFont(QFontDatabase::FixedFont) : QFont(m_startFont);
    const FontForm wanted = form(style);
    // A desktop's font counts in points or in pixels; at least the body size, as some desktops start with 9 or less.
    const double points = m_startFont.pointSizeF() > 0 ? m_startFont.pointSizeF() : QFontInfo(m_startFont).pointSizeF();
    font.setPointSizeF(std::max(points, kBodyPoints) * wanted.factor * m_textScale);
    font.setWeight(wanted.weight);
    return font;
}

int Theme::scaled(double pixels) const { return static_cast<int>(std::lround(pixels * std::max(1.0, m_textScale))); }

QPalette Theme::palette() const {
    const QColor window = fill(Fill::Window);
    const QColor card = fill(Fill::Card);
    const QColor label = ink(Ink::Label);
    QPalette palette(label, card, window.lighter(), window.darker(), window.darker(120), label, ink(Ink::OnTint), card,
                     window);
    palette.setColor(QPalette::WindowText, label);
    palette.setColor(QPalette::ButtonText, label);
    palette.setColor(QPalette::Text, label);
    palette.setColor(QPalette::Button, card);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::PlaceholderText, ink(Ink::Secondary));
    palette.setColor(QPalette::Highlight, ink(Ink::Accent));
    palette.setColor(QPalette::HighlightedText, m_scheme == ColorScheme::Dark ? QColor(0x10, 0x18, 0x22) : Qt::white);
    palette.setColor(QPalette::Link, ink(Ink::Accent));
    palette.setColor(QPalette::ToolTipBase, card);
    palette.setColor(QPalette::ToolTipText, label);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::ButtonText, QPalette::Text}) {
        QColor faint = label;
        faint.setAlphaF(0.38F);
        palette.setColor(QPalette::Disabled, role, faint);
    }
    return palette;
}

} // namespace quillet
