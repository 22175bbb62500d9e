#include "platform/linux/desktop/TrayImage.h"

#include <QPainter>
#include <QPixmap>
#include <QPoint>

#include <algorithm>
#include <cmath>

namespace quillet {
namespace {

constexpr QColor kInk(0x26, 0x26, 0x2b);
constexpr QColor kRecordingInk(0xd7, 0x30, 0x2a);
constexpr QColor kRim(0xff, 0xff, 0xff);

int alphaAt(const QImage& image, int x, int y) {
    return image.valid(x, y) ? qAlpha(reinterpret_cast<const QRgb*>(image.constScanLine(y))[x]) : 0;
}

/// Marks what can be reached from the border without crossing ink; the rest are the shape and its holes.
std::vector<bool> outsideOf(const QImage& shape) {
    const int width = shape.width();
    const int height = shape.height();
    std::vector<bool> outside(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), false);
    std::vector<QPoint> next;
    const auto visit = [&](int x, int y) {
        if (x < 0 || y < 0 || x >= width || y >= height || alphaAt(shape, x, y) >= 128) return;
        auto seen = outside.begin() + (static_cast<std::ptrdiff_t>(y) * width + x);
        if (*seen) return;
        *seen = true;
        next.emplace_back(x, y);
    };
    for (int x = 0; x < width; ++x) {
        visit(x, 0);
        visit(x, height - 1);
    }
    for (int y = 0; y < height; ++y) {
        visit(0, y);
        visit(width - 1, y);
    }
    while (!next.empty()) {
        const QPoint at = next.back();
        next.pop_back();
        visit(at.x() - 1, at.y());
        visit(at.x() + 1, at.y());
        visit(at.x(), at.y() - 1);
        visit(at.x(), at.y() + 1);
    }
    return outside;
}

/// The strongest ink within the rim's reach, weaker towards its edge, so that the rim is smooth too.
int rimAlpha(const QImage& shape, int x, int y, double reach) {
    const int steps = static_cast<int>(std::ceil(reach));
    int strongest = 0;
    for (int dy = -steps; dy <= steps; ++dy) {
        for (int dx = -steps; dx <= steps; ++dx) {
            const double fade = std::clamp(reach + 0.5 - std::hypot(dx, dy), 0.0, 1.0);
            strongest = std::max(strongest, static_cast<int>(std::lround(fade * alphaAt(shape, x + dx, y + dy))));
        }
    }
    return strongest;
}

QImage shapeOf(const QIcon& icon, int size) {
    QImage square(size, size, QImage::Format_ARGB32);
    square.fill(Qt::transparent);
    const QPixmap pixmap = icon.pixmap(QSize(size, size), 1.0);
    QPainter painter(&square);
    painter.drawPixmap((size - pixmap.width()) / 2, (size - pixmap.height()) / 2, pixmap);
    return square;
}

} // namespace

QImage onAnyPanel(const QImage& shape, const QColor& ink) {
    const QImage mask = shape.convertToFormat(QImage::Format_ARGB32);
    const std::vector<bool> outside = outsideOf(mask);
    const double reach = std::max(1.0, mask.width() / 24.0);

    QImage result(mask.size(), QImage::Format_ARGB32);
    for (int y = 0; y < mask.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < mask.width(); ++x) {
            const bool out = outside[static_cast<std::size_t>(y) * static_cast<std::size_t>(mask.width()) +
                                     static_cast<std::size_t>(x)];
            line[x] = qRgba(kRim.red(), kRim.green(), kRim.blue(), out ? rimAlpha(mask, x, y, reach) : 255);
        }
    }
    QImage inked = mask;
    QPainter colour(&inked);
    colour.setCompositionMode(QPainter::CompositionMode_SourceIn);
    colour.fillRect(inked.rect(), ink);
    colour.end();
    QPainter(&result).drawImage(0, 0, inked);
    return result;
}

std::vector<QImage> trayImages(const StatusImage& image) {
    const QColor ink = image.tint == StatusImage::Tint::Recording ? kRecordingInk : kInk;
    std::vector<QImage> images;
    images.reserve(kTrayImageSizes.size());
    for (const int size : kTrayImageSizes) images.push_back(onAnyPanel(shapeOf(image.icon, size), ink));
    return images;
}

} // namespace quillet
