#include "views/widgets/Symbols.h"

#include "platform/SymbolImages.h"

#include <QFont>
#include <QHash>
#include <QPainter>
#include <QSvgRenderer>
#include <QVariant>
#include <QWidget>

#include <array>
#include <cmath>

namespace Symbols {

namespace {

// The drawings in resources/icons, one per name.
const QStringList& drawnNames() {
    static const QStringList names = {
        QStringLiteral("goforward"),
        QStringLiteral("gobackward"),
        QStringLiteral("playpause"),
        QStringLiteral("music.note"),
        QStringLiteral("music.quarternote.3"),
        QStringLiteral("play.rectangle"),
        QStringLiteral("safari"),
        QStringLiteral("gearshape"),
        QStringLiteral("keyboard"),
        QStringLiteral("music.note.list"),
        QStringLiteral("lock.shield"),
        QStringLiteral("info.circle"),
        QStringLiteral("chevron.right"),
        QStringLiteral("chevron.up"),
        QStringLiteral("chevron.down"),
        QStringLiteral("trash"),
        QStringLiteral("plus.circle.fill"),
        QStringLiteral("exclamationmark.triangle"),
        QStringLiteral("exclamationmark.triangle.fill"),
        QStringLiteral("questionmark.circle.fill"),
        QStringLiteral("checkmark.circle.fill"),
        QStringLiteral("xmark.circle.fill"),
        QStringLiteral("minus.circle.fill"),
        QStringLiteral("accessibility"),
        QStringLiteral("globe"),
        QStringLiteral("curlybraces"),
    };
    return names;
}

// The step sizes that have a numbered skip symbol.
constexpr std::array<int, 6> numberedSeconds = {5, 10, 15, 30, 45, 60};

// A numbered skip symbol is its arrow's drawing with the number inside.
struct Parts {
    QString drawing;
    QString number; // empty for a plain drawing
};

Parts partsOf(const QString& symbolName) {
    for (const QString& base : {QStringLiteral("goforward"), QStringLiteral("gobackward")}) {
        if (symbolName.startsWith(base + QLatin1Char('.'))) {
            return {base, symbolName.mid(base.size() + 1)};
        }
    }
    return {symbolName, {}};
}

// A dynamic property holds the drawings' address: the interface is not a registered type,
// and the window only borrows it.
constexpr const char* providedProperty = "scrublineSymbolImages";

// Black ink on a transparent ground becomes `color`; white ink (the cut-outs of the filled
// symbols) becomes transparent.
void tint(QImage& image, const QColor& color) {
    image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QRgb solid = color.rgba();
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            // Premultiplied: a pixel's red is its alpha times its whiteness.
            const int coverage = qAlpha(line[x]) - qRed(line[x]);
            const int alpha = qAlpha(solid) * coverage / 255;
            line[x] = qPremultiply(qRgba(qRed(solid), qGreen(solid), qBlue(solid), alpha));
        }
    }
}

QImage drawing(const QString& name, int devicePixels) {
    QImage image(devicePixels, devicePixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(QStringLiteral(":/symbols/%1.svg").arg(name));
    if (!renderer.isValid()) {
        qFatal("Symbols: the drawing of \"%s\" is missing or broken", qPrintable(name));
    }
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(0, 0, devicePixels, devicePixels));
    return image;
}

// The number sits in the middle of the arrow's circle, as large as the circle allows.
void drawNumber(QImage& image, const QString& number, const QColor& color) {
    const qreal size = image.width();
    QFont font;
    font.setPixelSize(qMax(1, qRound(size * (number.size() > 1 ? 0.34 : 0.4))));
    font.setWeight(QFont::Bold);
    font.setLetterSpacing(QFont::PercentageSpacing, 92);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setFont(font);
    painter.setPen(color);
    // The arrow's circle is centred at (12, 13) in the 24-unit drawing.
    const QRectF circle(size * 4.5 / 24, size * 5.5 / 24, size * 15 / 24, size * 15 / 24);
    painter.drawText(circle, Qt::AlignCenter, number);
}

} // namespace

const QStringList& allNames() {
    static const QStringList names = [] {
        QStringList all = drawnNames();
        for (const QString& base : {QStringLiteral("goforward"), QStringLiteral("gobackward")}) {
            for (const int seconds : numberedSeconds) {
                all.append(base + QLatin1Char('.') + QString::number(seconds));
            }
        }
        return all;
    }();
    return names;
}

bool isKnown(const QString& symbolName) {
    return allNames().contains(symbolName);
}

QPixmap pixmap(const QString& symbolName, int pixelSize, const QColor& color,
               qreal devicePixelRatio, const SymbolImages* platformImages) {
    if (!isKnown(symbolName)) {
        qFatal("Symbols: no symbol is named \"%s\"", qPrintable(symbolName));
    }
    const int devicePixels = qMax(1, qRound(pixelSize * devicePixelRatio));
    const Parts parts = partsOf(symbolName);
    const QByteArray pixels =
        platformImages ? platformImages->image(symbolName, devicePixels) : QByteArray();
    const bool native = pixels.size() == qsizetype(devicePixels) * devicePixels * 4;
    QImage image;
    if (native) {
        image = QImage(reinterpret_cast<const uchar*>(pixels.constData()), devicePixels,
                       devicePixels, devicePixels * 4, QImage::Format_RGBA8888_Premultiplied)
                    .copy();
    } else {
        image = drawing(parts.drawing, devicePixels);
    }
    tint(image, color);
    if (!native && !parts.number.isEmpty()) {
        drawNumber(image, parts.number, color);
    }
    QPixmap result = QPixmap::fromImage(image);
    result.setDevicePixelRatio(devicePixelRatio);
    return result;
}

QIcon icon(const QString& symbolName, const QColor& color, const SymbolImages* platformImages) {
    QIcon result;
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        result.addPixmap(pixmap(symbolName, size, color, 1.0, platformImages));
    }
    return result;
}

void provide(QWidget& window, const SymbolImages* platformImages) {
    window.setProperty(providedProperty, QVariant::fromValue(reinterpret_cast<quintptr>(
                                             static_cast<const void*>(platformImages))));
}

const SymbolImages* providedFor(const QWidget* widget) {
    for (const QWidget* at = widget; at != nullptr; at = at->parentWidget()) {
        const QVariant address = at->property(providedProperty);
        if (address.isValid()) {
            return static_cast<const SymbolImages*>(
                reinterpret_cast<const void*>(address.value<quintptr>()));
        }
    }
    return nullptr;
}

} // namespace Symbols
