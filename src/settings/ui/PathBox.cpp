#include "settings/ui/PathBox.h"

#include "widgets/Controls.h"

#include <QPainter>
#include <QTextLayout>

#include <cmath>

namespace quillet {
namespace {

constexpr int kPadding = 8;
constexpr double kRadius = 6;
constexpr float kOpacity = 0.6F;

} // namespace

PathBox::PathBox(const QString& name, QWidget* parent) : QWidget(parent), m_name(name) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setTextStyle(*this, TextStyle::Caption);
    setPath({});
}

void PathBox::setPath(const QString& path) {
    m_path = path;
    setAccessibleName(path);
    setAccessibleDescription(m_name);
    updateGeometry();
    update();
}

double PathBox::layOut(QTextLayout& layout, double width) const {
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    double height = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, height});
        height += line.height();
    }
    layout.endLayout();
    return height;
}

int PathBox::heightForWidth(int width) const {
    QTextLayout layout(m_path, font());
    return static_cast<int>(std::ceil(layOut(layout, std::max(1, width - 2 * kPadding)))) + 2 * kPadding;
}

QSize PathBox::sizeHint() const {
    constexpr int kWidth = 320;
    return {kWidth, heightForWidth(kWidth)};
}

QSize PathBox::minimumSizeHint() const { return {120, fontMetrics().height() + 2 * kPadding}; }

void PathBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor ground = Theme::shared().fill(Fill::ControlPressed);
    ground.setAlphaF(ground.alphaF() * kOpacity);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(rect(), kRadius, kRadius);
    painter.setPen(Theme::shared().ink(Ink::Label));
    QTextLayout layout(m_path, font());
    static_cast<void>(layOut(layout, width() - 2 * kPadding));
    layout.draw(&painter, {kPadding, kPadding});
}

} // namespace quillet
