#include "onboarding/ui/PageFlow.h"

#include "widgets/ScrollPane.h"
#include "widgets/Theme.h"

#include <QEasingCurve>
#include <QPainter>
#include <QStackedLayout>
#include <QVBoxLayout>

namespace quillet {
namespace {

constexpr int kMotionMs = 300;
constexpr double kWay = 48; ///< how far a page moves, in pixels

} // namespace

class PageFlow::Pictures final : public QWidget {
public:
    using QWidget::QWidget;
    QPixmap from;
    QPixmap to;
    double progress = 1;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), palette().color(QPalette::Window));
        const double sign = isRightToLeft() ? -1 : 1;
        painter.setOpacity(1 - progress);
        painter.drawPixmap(QPointF(-sign * kWay * progress, 0), from);
        painter.setOpacity(progress);
        painter.drawPixmap(QPointF(sign * kWay * (1 - progress), 0), to);
    }
};

PageFlow::PageFlow(QWidget* parent)
    : QWidget(parent), m_pages(new QStackedLayout), m_pictures(new Pictures(this)), m_motion(this) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(m_pages);
    m_pictures->hide();
    m_pictures->setAttribute(Qt::WA_TransparentForMouseEvents, false);
    m_motion.setStartValue(0.0);
    m_motion.setEndValue(1.0);
    m_motion.setDuration(kMotionMs);
    QEasingCurve inAndOut(QEasingCurve::BezierSpline);
    inAndOut.addCubicBezierSegment({0.42, 0}, {0.58, 1}, {1, 1});
    m_motion.setEasingCurve(inAndOut);
    connect(&m_motion, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_pictures->progress = value.toDouble();
        m_pictures->update();
    });
    connect(&m_motion, &QVariantAnimation::finished, m_pictures, &QWidget::hide);
}

void PageFlow::addPage(QWidget* page) { m_pages->addWidget(new ScrollPane(page->accessibleName(), page)); }

int PageFlow::page() const { return m_pages->currentIndex(); }

QString PageFlow::pageName() const { return m_pages->currentWidget()->accessibleName(); }

void PageFlow::showPage(int index) {
    if (index == page()) return;
    const bool moves = isVisible() && Theme::shared().animations();
    if (moves) m_pictures->from = grab();
    m_pictures->hide();
    m_pages->setCurrentIndex(index);
    if (!moves) return;
    m_pictures->to = grab();
    m_pictures->progress = 0;
    m_pictures->setGeometry(rect());
    m_pictures->raise();
    m_pictures->show();
    m_motion.start();
}

void PageFlow::resizeEvent(QResizeEvent*) {
    m_motion.stop();
    m_pictures->hide();
}

} // namespace quillet
