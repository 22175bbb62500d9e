#include "platform/linux/desktop/TrayImage.h"

#include "support/Contrast.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <algorithm>

namespace quillet::test {
namespace {

/// A disc with a round hole in it, as most of the symbols are built.
QIcon holedDisc() {
    QPixmap pixmap(240, 240);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    painter.drawEllipse(QPointF(120, 120), 100, 100);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.drawEllipse(QPointF(120, 120), 45, 45);
    return pixmap;
}

TEST(TrayImageTest, IsSeenOnEveryPanel) {
    constexpr double kReadable = 3; // for graphics, by the accessibility guidelines
    for (const auto tint : {StatusImage::Tint::Plain, StatusImage::Tint::Label, StatusImage::Tint::Recording}) {
        for (const QImage& image : trayImages({.icon = holedDisc(), .tint = tint})) {
            for (const QRgb panel : {qRgb(0, 0, 0), qRgb(255, 255, 255), qRgb(48, 48, 52), qRgb(222, 221, 218)}) {
                SCOPED_TRACE(testing::Message() << image.width() << " px on " << std::hex << panel);
                QImage shown(image.size(), QImage::Format_ARGB32);
                shown.fill(panel);
                QPainter(&shown).drawImage(0, 0, image);
                const int middle = image.width() / 2;
                const QRgb hole = shown.pixel(middle, middle);
                const QRgb ink = shown.pixel(middle + image.width() * 70 / 240, middle);
                double outline = 1; // the strongest edge from the corner towards the middle
                for (int at = 1; at < middle; ++at)
                    outline = std::max(outline, contrast(shown.pixel(at, middle), panel));
                EXPECT_GE(contrast(hole, ink), kReadable) << "what the symbol says";
                EXPECT_GE(outline, kReadable) << "where it ends";
                EXPECT_EQ(shown.pixel(0, 0), panel) << "and nothing around it";
            }
        }
    }
}

} // namespace
} // namespace quillet::test
