#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QStringList>
#include <QSvgRenderer>

#include <cstdio>

// Renders the application icon for the sizes that panels and menus look for: render-icon ICON.svg SIZE OUT.png
int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv); // an image and a picture need no screen
    const QStringList arguments = QCoreApplication::arguments();
    const int size = arguments.value(2).toInt();
    QSvgRenderer icon(arguments.value(1));
    if (size <= 0 || !icon.isValid()) {
        std::fputs("usage: render-icon ICON.svg SIZE OUT.png\n", stderr);
        return 2;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    icon.render(&painter);
    painter.end();
    return image.save(arguments.value(3), "PNG") ? 0 : 1;
}
