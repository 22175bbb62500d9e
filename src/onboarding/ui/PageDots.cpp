#include "onboarding/ui/PageDots.h"

#include "widgets/Theme.h"

#include <QPainter>

namespace quillet {
namespace {

constexpr double kDot = 7;
constexpr double kPresent = 20; ///< the length of the present page's mark
constexpr double kGap = 8;

} // namespace

void PageDots::setPage(int page, int count) {
    m_page = page;
    m_count = count;
    setAccessibleName(tr("Page %1 of %2").arg(page + 1).arg(count));
    updateGeometry();
    update();
}

QSize PageDots::sizeHint() const {
    return {static_cast<int>(kPresent + (m_count - 1) * (kDot + kGap)) + 1, static_cast<int>(kDot) + 1};
}

void PageDots::paintEvent(QPaintEvent*) {
    const Theme& theme = Theme::shared();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    double x = (width() - kPresent - (m_count - 1) * (kDot + kGap)) / 2;
    for (int page = 0; page < m_count; ++page) {
        const double length = page == m_page ? kPresent : kDot;
        QColor rest = theme.ink(Ink::Secondary);
        rest.setAlphaF(0.35F);
        painter.setBrush(page == m_page ? theme.ink(Ink::Accent) : rest);
        painter.drawRoundedRect(QRectF(x, (height() - kDot) / 2, length, kDot), kDot / 2, kDot / 2);
        x += length + kGap;
    }
}

} // namespace quillet
