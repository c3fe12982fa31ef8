#include "Screenshots.h"

#include <QDir>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QTest>

namespace Screenshots {

QPalette lightPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0xECECEC));
    palette.setColor(QPalette::WindowText, QColor(0x1D1D1F));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, QColor(0x1D1D1F));
    palette.setColor(QPalette::Button, QColor(0xF5F5F5));
    palette.setColor(QPalette::ButtonText, QColor(0x1D1D1F));
    palette.setColor(QPalette::Highlight, QColor(0x007AFF));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x2B2B2D));
    palette.setColor(QPalette::WindowText, QColor(0xF2F2F7));
    palette.setColor(QPalette::Base, QColor(0x1E1E1E));
    palette.setColor(QPalette::Text, QColor(0xF2F2F7));
    palette.setColor(QPalette::Button, QColor(0x3A3A3C));
    palette.setColor(QPalette::ButtonText, QColor(0xF2F2F7));
    palette.setColor(QPalette::Highlight, QColor(0x0A84FF));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

void addPaletteRows() {
    QTest::addColumn<bool>("dark");
    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

QString usePalette(bool dark) {
    QGuiApplication::setPalette(dark ? darkPalette() : lightPalette());
    return dark ? QStringLiteral("dark") : QStringLiteral("light");
}

bool wanted() {
    return qEnvironmentVariableIntValue("SCRUBLINE_SCREENSHOTS") != 0;
}

QString save(const QPixmap& picture, const QString& name) {
    const QString folder = QStringLiteral(SCRUBLINE_ARTIFACTS_DIR);
    if (!QDir().mkpath(folder)) {
        return {};
    }
    const QString path = folder + QLatin1Char('/') + name + QStringLiteral(".png");
    return picture.save(path, "PNG") ? path : QString();
}

QPixmap onBackdrop(const QPixmap& picture, bool dark) {
    const QSize size = picture.deviceIndependentSize().toSize() + QSize(120, 80);
    QPixmap backdrop(size);
    QPainter painter(&backdrop);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, dark ? QColor(0x1B2A49) : QColor(0xA8C8F0));
    gradient.setColorAt(1, dark ? QColor(0x4A1F3D) : QColor(0xF3C7D9));
    painter.fillRect(backdrop.rect(), gradient);
    // Stripes behind the middle, to see through the card.
    painter.setPen(QPen(dark ? QColor(255, 255, 255, 60) : QColor(0, 0, 0, 45), 6));
    for (int x = -size.height(); x < size.width(); x += 28) {
        painter.drawLine(x, size.height(), x + size.height(), 0);
    }
    painter.drawPixmap((size.width() - picture.deviceIndependentSize().width()) / 2,
                       (size.height() - picture.deviceIndependentSize().height()) / 2, picture);
    return backdrop;
}

} // namespace Screenshots
