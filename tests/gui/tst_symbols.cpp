#include "models/MediaApp.h"
#include "models/SeekAction.h"
#include "support/Screenshots.h"
#include "views/widgets/SkipSymbols.h"
#include "views/widgets/Symbols.h"

#include <QApplication>
#include <QDirIterator>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QtTest>

namespace {

// Pixels with any ink at all.
int inkedPixels(const QImage& image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
        }
    }
    return count;
}

QImage render(const QString& name, int size, const QColor& color) {
    return Symbols::pixmap(name, size, color).toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

class TestSymbols : public QObject {
    Q_OBJECT

private slots:
    // Every name the program asks for, and nothing the program does not draw.
    void theSetIsExactlyTheNamesInUse() {
        QStringList expected = {
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
        for (const int seconds : {5, 10, 15, 30, 45, 60}) {
            expected << QStringLiteral("goforward.%1").arg(seconds)
                     << QStringLiteral("gobackward.%1").arg(seconds);
        }
        QStringList all = Symbols::allNames();
        all.sort();
        expected.sort();
        QCOMPARE(all, expected);
        QVERIFY(!Symbols::isKnown(QStringLiteral("goforward.20")));
        QVERIFY(!Symbols::isKnown(QStringLiteral("music")));
        QVERIFY(!Symbols::isKnown(QString()));
    }

    // One drawing per plain name in resources/icons; the numbered arrows share their arrow's.
    void everyPlainNameHasItsDrawing() {
        QStringList files;
        QDirIterator it(QStringLiteral(":/symbols"));
        while (it.hasNext()) {
            files << it.nextFileInfo().completeBaseName();
        }
        files.sort();
        QStringList plain;
        for (const QString& name : Symbols::allNames()) {
            if (!name.contains(QRegularExpression(QStringLiteral("\\.\\d+$"))) ||
                name == QStringLiteral("music.quarternote.3")) {
                plain << name;
            }
        }
        plain.sort();
        QCOMPARE(files, plain);
    }

    void everySymbolDrawsInTheAskedColour_data() {
        QTest::addColumn<QString>("name");
        for (const QString& name : Symbols::allNames()) {
            QTest::newRow(qPrintable(name)) << name;
        }
    }

    void everySymbolDrawsInTheAskedColour() {
        QFETCH(QString, name);
        const QColor red(0xFF3B30);
        const QImage image = render(name, 48, red);
        QCOMPARE(image.size(), QSize(48, 48));
        const int ink = inkedPixels(image);
        QVERIFY2(ink > 48 * 48 / 25, qPrintable(QStringLiteral("%1 inked pixels").arg(ink)));
        QVERIFY2(ink < 48 * 48 * 3 / 4, "a symbol, not a filled square");
        // Every inked pixel is the one colour, at some coverage.
        for (int y = 0; y < 48; ++y) {
            for (int x = 0; x < 48; ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) == 255) {
                    QCOMPARE(QColor(pixel).rgb(), red.rgb());
                }
            }
        }
    }

    // The number is drawn into the arrow: each numbered symbol differs from the plain arrow
    // and from the others.
    void numberedArrowsShowTheirNumber() {
        const QImage plain = render(QStringLiteral("goforward"), 48, Qt::black);
        QSet<QByteArray> seen;
        for (const int seconds : {5, 10, 15, 30, 45, 60}) {
            const QImage numbered =
                render(QStringLiteral("goforward.%1").arg(seconds), 48, Qt::black);
            QVERIFY(inkedPixels(numbered) > inkedPixels(plain));
            seen.insert(QByteArray(reinterpret_cast<const char*>(numbered.constBits()),
                                   numbered.sizeInBytes()));
        }
        QCOMPARE(seen.size(), 6);
        QVERIFY(render(QStringLiteral("gobackward.10"), 48, Qt::black) !=
                render(QStringLiteral("goforward.10"), 48, Qt::black));
    }

    // Filled symbols keep their cut-outs see-through, whatever the colour.
    void cutOutsStayTransparent() {
        const QImage plus = render(QStringLiteral("plus.circle.fill"), 48, Qt::white);
        QCOMPARE(qAlpha(plus.pixel(24, 24)), 0);             // the middle of the plus
        QCOMPARE(qAlpha(plus.pixel(24 - 10, 24 - 10)), 255); // the disc around it
    }

    // Asking for a symbol that does not exist stops the program with a message that names
    // it, rather than drawing nothing. Checked in a child run of this very test.
    void anUnknownNameStopsTheProgram() {
        if (qEnvironmentVariableIsSet("SCRUBLINE_ASK_UNKNOWN_SYMBOL")) {
            (void)Symbols::pixmap(QStringLiteral("goforward.20"), 16, Qt::black);
            QFAIL("the unknown symbol was drawn");
        }
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("SCRUBLINE_ASK_UNKNOWN_SYMBOL"), QStringLiteral("1"));
        environment.insert(QStringLiteral("QTEST_DISABLE_STACK_DUMP"), QStringLiteral("1"));
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("anUnknownNameStopsTheProgram")});
        QVERIFY(child.waitForFinished(60000));
        const QByteArray output = child.readAllStandardOutput() + child.readAllStandardError();
        QVERIFY2(child.exitStatus() == QProcess::CrashExit || child.exitCode() != 0,
                 output.constData());
        QVERIFY2(output.contains("no symbol is named \"goforward.20\""), output.constData());
        QVERIFY(!output.contains("the unknown symbol was drawn"));
    }

    void sharpAtTwiceTheDensity() {
        const QPixmap pixmap = Symbols::pixmap(QStringLiteral("gearshape"), 16, Qt::black, 2.0);
        QCOMPARE(pixmap.size(), QSize(32, 32));
        QCOMPARE(pixmap.deviceIndependentSize(), QSizeF(16, 16));
    }

    void thePlayersSymbolsAreKnown() {
        for (const MediaApp app : MediaApp::allCases()) {
            QVERIFY2(Symbols::isKnown(app.symbolName()), qPrintable(app.symbolName()));
        }
    }

    void everyActionsIconIsKnown() {
        for (const SeekAction::Direction direction : SeekAction::allDirections()) {
            for (const double seconds :
                 {1.0, 5.0, 7.5, 10.0, 10.7, 15.0, 20.0, 30.0, 45.0, 60.0, 61.0, 3600.0}) {
                const SeekAction action(direction, seconds, 0, 0);
                QVERIFY2(Symbols::isKnown(action.directionIcon()),
                         qPrintable(action.directionIcon()));
            }
        }
    }

    void skipSymbolsFollowTheNumberedSet_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<double>("forward");
        QTest::addColumn<double>("backward");
        QTest::addColumn<QString>("expected");
        const int forward = static_cast<int>(FeedbackKind::forward);
        const int backward = static_cast<int>(FeedbackKind::backward);
        const int playPause = static_cast<int>(FeedbackKind::playPause);
        QTest::newRow("forward 10") << forward << 10.0 << 30.0 << "goforward.10";
        QTest::newRow("forward 20") << forward << 20.0 << 30.0 << "goforward";
        QTest::newRow("forward 7.9 is 7") << forward << 7.9 << 30.0 << "goforward";
        QTest::newRow("forward 15.99 is 15") << forward << 15.99 << 10.0 << "goforward.15";
        QTest::newRow("backward 60") << backward << 10.0 << 60.0 << "gobackward.60";
        QTest::newRow("backward 45") << backward << 10.0 << 45.0 << "gobackward.45";
        QTest::newRow("backward 2") << backward << 10.0 << 2.0 << "gobackward";
        QTest::newRow("play/pause") << playPause << 10.0 << 10.0 << "playpause";
        QTest::newRow("play/pause odd") << playPause << 7.0 << 3.0 << "playpause";
    }

    void skipSymbolsFollowTheNumberedSet() {
        QFETCH(int, kind);
        QFETCH(double, forward);
        QFETCH(double, backward);
        QFETCH(QString, expected);
        const QString name = SkipSymbols::forKind(static_cast<FeedbackKind>(kind),
                                                  SkipSymbols::wholeSeconds(forward),
                                                  SkipSymbols::wholeSeconds(backward));
        QCOMPARE(name, expected);
        QVERIFY(Symbols::isKnown(name));
    }

    // Every symbol at the sizes the views use, on a light and a dark ground.
    void contactSheet_data() { Screenshots::addPaletteRows(); }

    void contactSheet() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        const QPalette palette = dark ? Screenshots::darkPalette() : Screenshots::lightPalette();
        const QStringList names = Symbols::allNames();
        const int columns = 8;
        const int cell = 64;
        const int rows = int((names.size() + columns - 1) / columns);
        QPixmap sheet(columns * cell * 2, rows * cell);
        sheet.fill(palette.color(QPalette::Window));
        QPainter painter(&sheet);
        for (int i = 0; i < names.size(); ++i) {
            const QPoint origin((i % columns) * cell * 2, (i / columns) * cell);
            const QColor ink = palette.color(QPalette::WindowText);
            painter.drawPixmap(origin + QPoint(8, 8), Symbols::pixmap(names[i], 48, ink));
            painter.drawPixmap(origin + QPoint(64, 8), Symbols::pixmap(names[i], 16, ink));
            painter.drawPixmap(origin + QPoint(88, 8),
                               Symbols::pixmap(names[i], 24, palette.color(QPalette::Highlight)));
        }
        painter.end();
        QVERIFY(!Screenshots::save(sheet, dark ? QStringLiteral("symbols-dark")
                                               : QStringLiteral("symbols-light"))
                     .isEmpty());
    }
};

QTEST_MAIN(TestSymbols)
#include "tst_symbols.moc"
