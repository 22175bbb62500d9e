#include "widgets/Symbol.h"

#include <QDir>
#include <QImage>

#include <gtest/gtest.h>

namespace quillet {
namespace {

/// The symbols that the windows use.
const char* const kSymbols[] = {
    "mic.circle.fill",
    "record.circle",
    "record.circle.fill",
    "stop.circle.fill",
    "folder",
    "folder.badge.plus",
    "gear",
    "brain",
    "brain.head.profile",
    "doc.text",
    "waveform",
    "checkmark.circle.fill",
    "xmark.circle.fill",
    "exclamationmark.triangle.fill",
    "cloud.fill",
    "plus",
    "circle",
    "eye",
    "pencil",
    "square.and.arrow.up",
    "trash",
    "mic.badge.plus",
    "speaker.wave.3.fill",
    "note.text",
    "menubar.rectangle",
    "arrow.clockwise",
};

double inkShare(const QImage& image) {
    double sum = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) sum += qAlpha(image.pixel(x, y));
    return sum / (255.0 * image.width() * image.height());
}

TEST(Symbol, eachIsDrawnInTheColourAskedForAndLeavesRoomAround) {
    for (const char* name : kSymbols) {
        ASSERT_TRUE(QFile::exists(QStringLiteral(":/symbols/%1.svg").arg(QLatin1String(name)))) << name;
        const QImage image = symbolPixmap(QLatin1String(name), 48, 2, QColor(200, 20, 20))
                                 .toImage()
                                 .convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(image.width(), 96) << name;
        EXPECT_GT(inkShare(image), 0.04) << name;
        EXPECT_LT(inkShare(image), 0.80) << name;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) == 255) {
                    ASSERT_EQ(pixel & RGB_MASK, QColor(200, 20, 20).rgb() & RGB_MASK) << name;
                }
                if (x == 0 || y == 0) {
                    ASSERT_LT(qAlpha(pixel), 128) << name << " touches the edge";
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
