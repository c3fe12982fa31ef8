// Draws the program's SVG icon as a square PNG of the given size, for the icon themes that want
// pictures: render_icon SOURCE.svg SIZE TARGET.png
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char* argv[]) {
    // Drawn without a display; the fonts of the icon's number still come from the system.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    bool sized = false;
    const int size = arguments.size() == 4 ? arguments[2].toInt(&sized) : 0;
    if (!sized || size <= 0) {
        std::fputs("usage: render_icon SOURCE.svg SIZE TARGET.png\n", stderr);
        return 2;
    }
    QSvgRenderer renderer(arguments[1]);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "render_icon: cannot read %s\n", qPrintable(arguments[1]));
        return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    painter.end();
    return image.save(arguments[3], "PNG") ? 0 : 1;
}
