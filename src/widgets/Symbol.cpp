#include "widgets/Symbol.h"

#include <QApplication>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <algorithm>

namespace quillet {
namespace {

/// Black is ink and white is a hole: what is drawn becomes the coverage of one colour.
QImage inked(QImage drawing, const QColor& ink) {
    drawing = std::move(drawing).convertToFormat(QImage::Format_ARGB32);
    const QRgb color = ink.rgb() & RGB_MASK;
    for (int y = 0; y < drawing.height(); ++y) {
        auto* const line = reinterpret_cast<QRgb*>(drawing.scanLine(y));
        std::transform(line, line + drawing.width(), line, [&](QRgb pixel) {
            const int coverage = qAlpha(pixel) * (255 - qGray(pixel)) * ink.alpha() / (255 * 255);
            return color | (static_cast<QRgb>(coverage) << 24);
        });
    }
    return drawing;
}

QImage drawn(const QString& name, int pixels, const QColor& ink) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const QString path = QStringLiteral(":/symbols/%1.svg").arg(name);
    QSvgRenderer renderer;
    if (QFile::exists(path) && renderer.load(path)) {
        renderer.render(&painter, QRectF(0, 0, pixels, pixels));
    } else {
        qWarning("There is no symbol called %s.", qPrintable(name));
        painter.setPen(Qt::black);
        painter.drawRect(QRect(0, 0, pixels - 1, pixels - 1).adjusted(1, 1, -1, -1));
    }
    painter.end();
    return inked(std::move(image), ink);
}

class SymbolEngine final : public QIconEngine {
public:
    SymbolEngine(QString name, QColor ink) : m_name(std::move(name)), m_ink(ink) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const int side = std::min(rect.width(), rect.height());
        const QPixmap pixmap = symbolPixmap(m_name, side, painter->device()->devicePixelRatioF(), inkFor(mode));
        painter->drawPixmap(QPointF(rect.x() + (rect.width() - side) / 2.0, rect.y() + (rect.height() - side) / 2.0),
                            pixmap);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        return symbolPixmap(m_name, std::min(size.width(), size.height()), 1, inkFor(mode));
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal scale) override {
        // The size is in device pixels already.
        QPixmap pixmap = symbolPixmap(m_name, std::min(size.width(), size.height()), 1, inkFor(mode));
        pixmap.setDevicePixelRatio(scale);
        return pixmap;
    }
    QString iconName() override { return m_name; }
    bool isNull() override { return false; }
    [[nodiscard]] QIconEngine* clone() const override { return new SymbolEngine(*this); }

private:
    [[nodiscard]] QColor inkFor(QIcon::Mode mode) const {
        QColor ink = m_ink.isValid() ? m_ink : Theme::shared().ink(Ink::Label);
        if (mode == QIcon::Disabled) ink.setAlphaF(ink.alphaF() * 0.38F);
        return ink;
    }

    const QString m_name;
    const QColor m_ink; ///< invalid: the colour of labels at the moment of drawing
};

} // namespace

QPixmap symbolPixmap(const QString& name, int side, qreal devicePixelRatio, const QColor& ink) {
    const int pixels = std::max(1, qRound(side * devicePixelRatio));
    const QString key = QStringLiteral("symbol/%1/%2/%3").arg(name).arg(pixels).arg(ink.rgba(), 0, 16);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = QPixmap::fromImage(drawn(name, pixels, ink));
        QPixmapCache::insert(key, pixmap);
    }
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

QIcon symbolIcon(const QString& name) { return QIcon(new SymbolEngine(name, {})); }
QIcon symbolIcon(const QString& name, const QColor& ink) { return QIcon(new SymbolEngine(name, ink)); }

SymbolView::SymbolView(const QString& name, double side, Ink ink, QWidget* parent)
    : QWidget(parent), m_name(name), m_side(side), m_ink(ink) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&Theme::shared(), &Theme::changed, this, [this] { updateGeometry(); });
}

void SymbolView::setSymbol(const QString& name) {
    m_name = name;
    update();
}

void SymbolView::setInk(Ink ink) {
    m_ink = ink;
    update();
}

QSize SymbolView::sizeHint() const {
    const int side = Theme::shared().scaled(m_side);
    return {side, side};
}

void SymbolView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const int side = std::min(width(), height());
    const QColor ink = Theme::shared().ink(m_ink);
    painter.drawPixmap((width() - side) / 2, (height() - side) / 2,
                       symbolPixmap(m_name, side, devicePixelRatioF(), ink));
}

} // namespace quillet
