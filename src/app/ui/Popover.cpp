#include "app/ui/Popover.h"

#include "platform/WindowSystem.h"
#include "widgets/Theme.h"
#include "widgets/WindowHost.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

namespace quillet {
namespace {

constexpr int kShadow = 18; ///< room for the shadow on every side
constexpr double kRadius = 14;
/// The press that takes the focus away and hides the popover arrives as an activation within this time.
constexpr int kToggleGuardMs = 300;

std::vector<ScreenArea> screenAreas() {
    std::vector<ScreenArea> areas;
    for (const QScreen* const screen : QGuiApplication::screens())
        areas.push_back({screen->geometry(), screen->availableGeometry()});
    return areas;
}

void paintShadow(QPainter& painter, const QRectF& card) {
    painter.setPen(Qt::NoPen);
    for (int ring = kShadow; ring > 0; --ring) {
        const double share = 1.0 - static_cast<double>(ring) / kShadow;
        painter.setBrush(QColor(0, 0, 0, static_cast<int>(7 * share * share) + 1));
        painter.drawRoundedRect(card.adjusted(-ring, -ring + 3, ring, ring + 3), kRadius + ring, kRadius + ring);
    }
}

} // namespace

Popover::Popover(QWidget* content, std::function<bool()> mayHide) : m_content(content), m_mayHide(std::move(mayHide)) {
    m_column = new QVBoxLayout(this);
    m_column->setSpacing(0);
    m_column->addWidget(content, 1);
    setWindowTitle(tr("Quillet"));
    // macOS hides the tool windows of a program that is not the active one, also while an alert waits for its answer.
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setForm(Form::Popover);
    connect(&Theme::shared(), &Theme::changed, this, [this] {
        if (m_form == Form::Popover) resize(cardSize());
        update();
    });
}

void Popover::setWindowBar(QWidget* bar) {
    m_windowBar = bar;
    m_column->insertWidget(0, bar);
    bar->setVisible(m_form == Form::Window);
}

void Popover::setForm(Form form) {
    m_form = form;
    const bool asPopover = form == Form::Popover;
    m_isTranslucent = asPopover && windowsMayBeTranslucent();
    setWindowFlags(asPopover ? Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint : Qt::Window);
    setAttribute(Qt::WA_TranslucentBackground, m_isTranslucent);
    const int margin = m_isTranslucent ? kShadow : (asPopover ? 1 : 0);
    m_column->setContentsMargins(margin, margin, margin, margin);
    if (m_windowBar) m_windowBar->setVisible(!asPopover);
    if (asPopover) {
        setFixedSize(cardSize());
    } else {
        setMinimumSize(m_content->sizeHint());
        setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    }
}

QSize Popover::cardSize() const {
    const QMargins margins = m_column->contentsMargins();
    return m_content->sizeHint().grownBy(margins);
}

void Popover::toggle(const PopoverAnchor& anchor) {
    if (isVisible() && m_form == Form::Popover) return hide();
    if (m_sinceLeft.isValid() && m_sinceLeft.elapsed() < kToggleGuardMs) return;
    showBeside(anchor);
}

void Popover::showBeside(const PopoverAnchor& anchor) {
    hide();
    setForm(Form::Popover);
    const QMargins margins = m_column->contentsMargins();
    const QSize card = size().shrunkBy(margins);
    move(placePopover(card, anchor, screenAreas()) - QPoint(margins.left(), margins.top()));
    show();
    bringToFront(*this);
}

void Popover::showAsWindow() {
    if (!isVisible() || m_form != Form::Window) {
        hide();
        setForm(Form::Window);
        resize(m_content->sizeHint() + QSize(0, m_windowBar ? m_windowBar->sizeHint().height() : 0));
        show();
    }
    bringToFront(*this);
}

void Popover::hideUnlessNeeded() {
    // While it hides for another reason it still is visible, but no longer meant to be.
    if (m_form != Form::Popover || isHidden() || !m_mayHide()) return;
    hide();
    m_sinceLeft.start();
}

bool Popover::event(QEvent* event) {
    // A menu or dialog of ours that takes the focus is no reason to go.
    if (event->type() == QEvent::WindowDeactivate && !QGuiApplication::modalWindow()) hideUnlessNeeded();
    return QWidget::event(event);
}

void Popover::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && m_form == Form::Popover) return hide();
    QWidget::keyPressEvent(event);
}

void Popover::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (m_form == Form::Window) return painter.fillRect(rect(), Theme::shared().fill(Fill::Window));
    const QRectF card = QRectF(rect()).marginsRemoved(m_column->contentsMargins()).adjusted(-1, -1, 1, 1);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = m_isTranslucent ? kRadius : 0;
    if (m_isTranslucent) paintShadow(painter, card);
    painter.setBrush(Theme::shared().fill(Fill::Card));
    painter.setPen(QPen(Theme::shared().fill(m_isTranslucent ? Fill::Border : Fill::ControlPressed), 1));
    painter.drawRoundedRect(card.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace quillet
