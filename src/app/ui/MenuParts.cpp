#include "app/ui/MenuParts.h"

#include "app/MenuModel.h"
#include "support/ShownText.h"
#include "widgets/Controls.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollArea>
#include <QTimerEvent>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>

namespace quillet {
namespace {

Theme& theme() { return Theme::shared(); }

/// What a meter loses at each turn when the sound has become softer.
constexpr double kMeterFall = 0.08;

constexpr int kAlertMargin = 10;      ///< less than the sections have, so that no edge of theirs shows beside it
constexpr double kPopoverRadius = 13; ///< of what the popover's own border leaves

void drawInFixedCells(QPainter& painter, QPointF baseline, const QString& text) {
    const QFontMetricsF metrics(painter.font());
    double cell = 0;
    for (char digit = '0'; digit <= '9'; ++digit) cell = std::max(cell, metrics.horizontalAdvance(QLatin1Char(digit)));
    for (const QChar letter : text) {
        const double advance = metrics.horizontalAdvance(letter);
        const double width = letter.isDigit() ? cell : advance;
        painter.drawText(QPointF(baseline.x() + (width - advance) / 2, baseline.y()), letter);
        baseline.rx() += width;
    }
}

} // namespace

ElapsedTimeView::ElapsedTimeView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setTextStyle(*this, TextStyle::Caption);
}

void ElapsedTimeView::setStartDate(std::optional<WallTime> startDate) {
    m_startDate = startDate;
    setNow(std::chrono::system_clock::now());
    setVisible(m_startDate.has_value());
}

void ElapsedTimeView::setNow(WallTime now) {
    const QString text = m_startDate ? elapsedString(*m_startDate, now) : QString();
    if (text == m_text) return;
    m_text = text;
    setAccessibleName(text);
    update();
}

QSize ElapsedTimeView::sizeHint() const {
    return {fontMetrics().horizontalAdvance(QStringLiteral("00:00:00")) + theme().scaled(14), fontMetrics().height()};
}

void ElapsedTimeView::showEvent(QShowEvent*) {
    setNow(std::chrono::system_clock::now());
    if (m_timer == 0) m_timer = startTimer(std::chrono::seconds(1), Qt::PreciseTimer);
}

void ElapsedTimeView::hideEvent(QHideEvent*) {
    if (m_timer != 0) killTimer(std::exchange(m_timer, 0));
}

void ElapsedTimeView::timerEvent(QTimerEvent*) { setNow(std::chrono::system_clock::now()); }

void ElapsedTimeView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double dot = theme().scaled(6);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme().ink(Ink::Red));
    painter.drawEllipse(QRectF(0, (height() - dot) / 2, dot, dot));
    painter.setPen(theme().ink(Ink::Label));
    drawInFixedCells(painter, QPointF(dot + theme().scaled(6), (height() + fontMetrics().capHeight()) / 2.0), m_text);
}

LevelMeter::LevelMeter(const QString& name, QWidget* parent) : QWidget(parent), m_name(name) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setTextStyle(*this, TextStyle::Caption2);
    setAccessibleName(name);
}

void LevelMeter::setLevel(double level) {
    const double shown = std::max(std::clamp(level, 0.0, 1.0), m_shown - kMeterFall);
    if (shown == m_shown) return;
    m_shown = shown;
    update();
}

QSize LevelMeter::sizeHint() const { return {theme().scaled(110), fontMetrics().height() + theme().scaled(7)}; }

QSize LevelMeter::minimumSizeHint() const { return {theme().scaled(60), sizeHint().height()}; }

void LevelMeter::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme().ink(Ink::Secondary));
    painter.drawText(QRect(0, 0, width(), fontMetrics().height()), Qt::AlignLeading | Qt::AlignVCenter,
                     fontMetrics().elidedText(m_name, Qt::ElideRight, width()));
    const double thickness = theme().scaled(4);
    const QRectF bar(0, height() - thickness, width(), thickness);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme().fill(Fill::Meter));
    painter.drawRoundedRect(bar, thickness / 2, thickness / 2);
    if (m_shown <= 0) return;
    painter.setBrush(theme().ink(m_shown > 0.92 ? Ink::Orange : Ink::Green));
    painter.drawRoundedRect(QRectF(bar.x(), bar.y(), std::max(thickness, bar.width() * m_shown), thickness),
                            thickness / 2, thickness / 2);
}

AlertCard::AlertCard(const AppAlert& alert, Actions actions, QWidget* parent)
    : QWidget(parent), m_actions(std::move(actions)) {
    const QString title = shownText(alert.title);
    const QString message = shownText(alert.message);
    setAccessibleName(title);
    setAccessibleDescription(message);
    m_scroll = new QScrollArea(this);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_card = new QWidget;
    auto* const column = new QVBoxLayout(m_card);
    column->setContentsMargins(14, 14, 14, 12);
    column->setSpacing(8);
    auto* const heading = new TextLabel(title, TextStyle::Headline, Ink::Label, m_card);
    auto* const text = new TextLabel(message, TextStyle::Caption, Ink::Secondary, m_card);
    for (TextLabel* const label : {heading, text}) {
        label->setAlignment(Qt::AlignHCenter);
        column->addWidget(label);
    }
    column->addSpacing(4);
    const auto addButton = [&](const QString& label, ButtonRole role, std::function<void()> action) {
        QPushButton* const button = makeButton(label, role, {}, m_card);
        setVerticalPadding(*button, 7);
        connect(button, &QPushButton::clicked, this, [this, action = std::move(action)] {
            const auto dismiss = m_actions.dismiss; // the card may be gone after the first of the two
            if (action) action();
            dismiss();
        });
        column->addWidget(button);
        return button;
    };
    m_default = alert.isAutomationDenied
                    ? addButton(tr("Open System Settings"), ButtonRole::Prominent, m_actions.openSettings)
                    : addButton(tr("OK"), ButtonRole::Prominent, {});
    if (alert.isAutomationDenied) addButton(tr("OK"), ButtonRole::Bordered, {});
    m_scroll->setWidget(m_card);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_card->setAutoFillBackground(false);
    m_card->installEventFilter(this);
}

void AlertCard::resizeEvent(QResizeEvent*) { placeCard(); }

bool AlertCard::eventFilter(QObject* watched, QEvent* event) {
    // Texts are measured anew once they have their fonts, and again with another text size.
    if (watched == m_card && event->type() == QEvent::LayoutRequest) placeCard();
    return QWidget::eventFilter(watched, event);
}

void AlertCard::placeCard() {
    m_card->layout()->invalidate(); // it may have been measured without its fonts
    const QSize room = size() - QSize(2 * kAlertMargin, 2 * kAlertMargin);
    const int wanted = m_card->layout()->totalHeightForWidth(room.width());
    // A bar that is there for a moment takes width, which makes the text longer, which keeps the bar.
    m_scroll->setVerticalScrollBarPolicy(wanted <= room.height() ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded);
    QRect card(QPoint(), QSize(room.width(), std::min(wanted, room.height())));
    card.moveCenter(rect().center());
    m_scroll->setGeometry(card);
}

void AlertCard::showEvent(QShowEvent*) {
    placeCard();
    m_default->setFocus(Qt::PopupFocusReason);
    QAccessibleEvent announcement(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&announcement);
}

void AlertCard::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        const auto dismiss = m_actions.dismiss;
        return dismiss();
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        QWidget* const focused = m_card->focusWidget();
        if (auto* const button = qobject_cast<QPushButton*>(focused ? focused : m_default)) return button->click();
    }
    QWidget::keyPressEvent(event);
}

void AlertCard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, theme().colorScheme() == ColorScheme::Dark ? 130 : 60));
    // Where others are seen beside the popover's round corners, its shade has them, too.
    const double corner = window()->testAttribute(Qt::WA_TranslucentBackground) ? kPopoverRadius : 0;
    painter.drawRoundedRect(rect(), corner, corner);
    painter.setBrush(theme().fill(Fill::Card));
    painter.setPen(QPen(theme().fill(Fill::Border), 1));
    painter.drawRoundedRect(QRectF(m_scroll->geometry()).adjusted(0.5, 0.5, -0.5, -0.5), 12, 12);
}

} // namespace quillet
