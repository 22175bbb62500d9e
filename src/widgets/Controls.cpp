#include "widgets/Controls.h"

#include "widgets/Symbol.h"

#include <QPainter>
#include <QTimerEvent>
#include <QVBoxLayout>

#include <algorithm>

namespace quillet {
namespace {

constexpr char kRole[] = "quilletRole";
constexpr char kTint[] = "quilletTint";
constexpr char kPadding[] = "quilletPadding";
constexpr char kSwitch[] = "quilletSwitch";

constexpr int kSpokes = 8;
constexpr int kSpokeMs = 110;

Theme& theme() { return Theme::shared(); }

/// A widget that is a hairline or a card: a ground and nothing else.
class Surface final : public QWidget {
public:
    Surface(double radius, QWidget* parent) : QWidget(parent), m_radius(radius) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(theme().fill(Fill::Card));
        painter.setPen(QPen(theme().fill(Fill::Border), 1));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), m_radius, m_radius);
    }

private:
    const double m_radius;
};

class Divider final : public QWidget {
public:
    explicit Divider(QWidget* parent) : QWidget(parent) { setFixedHeight(1); }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), theme().fill(Fill::Border)); }
};

} // namespace

QPushButton* makeButton(const QString& text, ButtonRole role, const QString& symbol, QWidget* parent) {
    auto* const button = new QPushButton(text, parent);
    button->setProperty(kRole, static_cast<int>(role));
    button->setAutoDefault(false);
    if (!symbol.isEmpty()) button->setIcon(symbolIcon(symbol));
    return button;
}

QPushButton* makeIconButton(const QString& name, const QString& symbol, QWidget* parent) {
    QPushButton* const button = makeButton({}, ButtonRole::Icon, symbol, parent);
    button->setAccessibleName(name);
    button->setToolTip(name);
    return button;
}

void setButtonTint(QPushButton& button, Tint tint) {
    button.setProperty(kTint, static_cast<int>(tint));
    button.update();
}

void setVerticalPadding(QPushButton& button, double pixels) { button.setProperty(kPadding, pixels); }

void setTextStyle(QWidget& widget, TextStyle style) {
    const auto apply = [&widget, style] { widget.setFont(theme().font(style)); };
    apply();
    QObject::connect(&theme(), &Theme::changed, &widget, apply);
}

ButtonRole buttonRole(const QWidget* button) { return buttonRoleOrNone(button).value_or(ButtonRole::Bordered); }

std::optional<ButtonRole> buttonRoleOrNone(const QWidget* widget) {
    const QVariant role = widget ? widget->property(kRole) : QVariant();
    if (role.isValid()) return static_cast<ButtonRole>(role.toInt());
    return qobject_cast<const QPushButton*>(widget) ? std::optional(ButtonRole::Bordered) : std::nullopt;
}

Tint buttonTint(const QWidget* button) {
    return button ? static_cast<Tint>(button->property(kTint).toInt()) : Tint::Accent;
}

std::optional<double> verticalPadding(const QWidget* button) {
    const QVariant padding = button ? button->property(kPadding) : QVariant();
    return padding.isValid() ? std::optional(padding.toDouble()) : std::nullopt;
}

QCheckBox* makeSwitch(const QString& text, QWidget* parent) {
    auto* const box = new QCheckBox(text, parent);
    box->setProperty(kSwitch, true);
    return box;
}

bool isSwitch(const QWidget* widget) { return widget && widget->property(kSwitch).toBool(); }

TextLabel::TextLabel(const QString& text, TextStyle style, Ink ink, QWidget* parent)
    : QLabel(text, parent), m_style(style), m_ink(ink) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    applyTheme();
    connect(&theme(), &Theme::changed, this, [this] { applyTheme(); });
}

void TextLabel::setInk(Ink ink) {
    m_ink = ink;
    applyTheme();
}

void TextLabel::applyTheme() {
    setFont(theme().font(m_style));
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, theme().ink(m_ink));
    setPalette(colors);
}

ElidedLabel::ElidedLabel(const QString& text, TextStyle style, Ink ink, QWidget* parent) : QWidget(parent), m_ink(ink) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setTextStyle(*this, style);
    setText(text);
}

void ElidedLabel::setText(const QString& text) {
    m_text = text;
    setAccessibleName(text);
    showToolTipIfCut();
    updateGeometry();
    update();
}

QSize ElidedLabel::sizeHint() const {
    constexpr int kWidest = 600; // a longer name does not widen its window
    return {std::min(fontMetrics().horizontalAdvance(m_text.left(kWidest)) + 2, kWidest), fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance(QStringLiteral("mmm…")), fontMetrics().height()};
}

void ElidedLabel::showToolTipIfCut() {
    setToolTip(fontMetrics().horizontalAdvance(m_text.left(1000)) > width() ? m_text.left(1000).toHtmlEscaped()
                                                                            : QString());
}

void ElidedLabel::resizeEvent(QResizeEvent*) { showToolTipIfCut(); }

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(theme().ink(m_ink));
    QString line = m_text;
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    painter.drawText(rect(), Qt::AlignVCenter | Qt::AlignLeading,
                     fontMetrics().elidedText(line, Qt::ElideMiddle, width()));
}

Group::Group(const QString& title, QWidget* parent) : QWidget(parent) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    if (!title.isEmpty()) column->addWidget(new TextLabel(title, TextStyle::SubheadlineMedium, Ink::Secondary, this));
    auto* const card = new Surface(10, this);
    column->addWidget(card);
    m_contents = new QVBoxLayout(card);
    m_contents->setContentsMargins(14, 13, 14, 13);
    m_contents->setSpacing(12);
    setAccessibleName(title);
}

Badge::Badge(const QString& text, QWidget* parent) : QWidget(parent), m_text(text) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setTextStyle(*this, TextStyle::Caption2);
    setAccessibleName(text);
}

QSize Badge::sizeHint() const {
    return {fontMetrics().horizontalAdvance(m_text) + theme().scaled(12), fontMetrics().height() + theme().scaled(3)};
}

void Badge::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme().fill(Fill::Control));
    painter.drawRoundedRect(rect(), height() / 2.0, height() / 2.0);
    painter.setPen(theme().ink(Ink::Secondary));
    painter.drawText(rect(), Qt::AlignCenter, m_text);
}

Spinner::Spinner(const QString& accessibleName, double side, QWidget* parent) : QWidget(parent), m_side(side) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(accessibleName);
}

QSize Spinner::sizeHint() const {
    const int side = theme().scaled(m_side);
    return {side, side};
}

void Spinner::showEvent(QShowEvent*) {
    if (m_timer == 0 && theme().animations()) m_timer = startTimer(kSpokeMs);
}

void Spinner::hideEvent(QHideEvent*) {
    if (m_timer != 0) killTimer(std::exchange(m_timer, 0));
}

void Spinner::timerEvent(QTimerEvent*) {
    m_phase = (m_phase + 1) % kSpokes;
    update();
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double side = std::min(width(), height());
    painter.translate(width() / 2.0, height() / 2.0);
    QColor color = theme().ink(Ink::Secondary);
    for (int spoke = 0; spoke < kSpokes; ++spoke) {
        const int age = (kSpokes + m_phase - spoke) % kSpokes;
        color.setAlphaF(1.0F - 0.11F * static_cast<float>(age));
        painter.setPen(QPen(color, side * 0.11, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(360.0 / kSpokes * spoke);
        painter.drawLine(QPointF(0, -side * 0.24), QPointF(0, -side * 0.42));
        painter.restore();
    }
}

QWidget* makeDivider(QWidget* parent) { return new Divider(parent); }

} // namespace quillet
