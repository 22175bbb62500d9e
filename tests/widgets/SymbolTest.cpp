#include "widgets/Symbol.h"

#include <QDir>
#include <QImage>

#include <gtest/gtest.h>

namespace quillet {
namespace {

double inkShare(const QImage& image) {
    double sum = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) sum += qAlpha(image.pixel(x, y));
    return sum / (255.0 * image.width() * image.height());
}

TEST(Symbol, eachIsDrawnInTheColourAskedForAndLeavesRoomAround) {
    const QFileInfoList files = QDir(QStringLiteral(":/symbols")).entryInfoList();
    ASSERT_FALSE(files.isEmpty());
    for (const QFileInfo& file : files) {
        const QString name = file.completeBaseName();
        SCOPED_TRACE(name.toStdString());
        const QImage image =
            symbolPixmap(name, 48, 2, QColor(200, 20, 20)).toImage().convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(image.width(), 96);
        EXPECT_GT(inkShare(image), 0.04);
        EXPECT_LT(inkShare(image), 0.80);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) == 255) {
                    ASSERT_EQ(pixel & RGB_MASK, QColor(200, 20, 20).rgb() & RGB_MASK);
                }
                if (x == 0 || y == 0) {
                    ASSERT_LT(qAlpha(pixel), 128) << "it touches the edge";
                }
            }
        }
    }
}

TEST(Symbol, whitePartsAreHoles) {
    const QImage image = symbolPixmap(QStringLiteral("stop.circle.fill"), 48, 1, Qt::black).toImage();
    EXPECT_EQ(qAlpha(image.pixel(24, 24)), 0);
    EXPECT_EQ(qAlpha(image.pixel(24, 6)), 255);
}

} // namespace
} // namespace quillet
