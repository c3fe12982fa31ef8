#include "platform/SymbolImages.h"
#include "support/ControllerRig.h"
#include "support/ReferenceApps.h"
#include "views/overlay/OverlayManager.h"
#include "views/settings/HotkeysSettingsTab.h"
#include "views/settings/SettingsView.h"
#include "views/tray/TrayPanelView.h"
#include "views/widgets/SymbolButton.h"
#include "views/widgets/SymbolView.h"
#include "views/widgets/Symbols.h"

#include <QApplication>
#include <QImage>
#include <QSet>
#include <QVBoxLayout>
#include <QtTest>

#include <memory>

namespace {

// A platform that draws the names it is given as solid squares, and notes every name asked of
// it, so that a test sees whose drawing a view used.
class SquareSymbolImages : public SymbolImages {
public:
    explicit SquareSymbolImages(QSet<QString> drawn)
        : m_drawn(std::move(drawn)) {}

    QByteArray image(const QString& name, int pixelSize) const override {
        m_asked.insert(name);
        if (!m_drawn.contains(name)) {
            return {};
        }
        QByteArray pixels(qsizetype(pixelSize) * pixelSize * 4, '\0');
        for (qsizetype i = 3; i < pixels.size(); i += 4) {
            pixels[i] = char(0xff); // black ink, fully opaque
        }
        return pixels;
    }

    bool wasAsked(const QString& name) const { return m_asked.contains(name); }

private:
    QSet<QString> m_drawn;
    mutable QSet<QString> m_asked;
};

bool allOf(const QImage& image, const QRect& area, const QColor& color) {
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (image.pixelColor(x, y) != color) {
                return false;
            }
        }
    }
    return true;
}

QImage pixelsOf(const QPixmap& pixmap) {
    return pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
}

QImage grabbed(QWidget& widget) {
    return pixelsOf(widget.grab());
}

} // namespace

class TestPlatformSymbols : public QObject {
    Q_OBJECT

private slots:
    // The platform's drawing, tinted, where it has one; the program's where it has none.
    void aPixmapTakesThePlatformsDrawingFirst() {
        const SquareSymbolImages images({QStringLiteral("gearshape")});
        const QImage native =
            pixelsOf(Symbols::pixmap(QStringLiteral("gearshape"), 16, Qt::red, 1.0, &images));
        QVERIFY(allOf(native, native.rect(), Qt::red));
        const QImage own = pixelsOf(Symbols::pixmap(QStringLiteral("gearshape"), 16, Qt::red));
        QVERIFY(!allOf(own, own.rect(), Qt::red));

        const QImage fallback =
            pixelsOf(Symbols::pixmap(QStringLiteral("trash"), 16, Qt::red, 1.0, &images));
        QVERIFY(images.wasAsked(QStringLiteral("trash")));
        QCOMPARE(fallback, pixelsOf(Symbols::pixmap(QStringLiteral("trash"), 16, Qt::red)));
    }

    void anIconTakesThePlatformsDrawingFirst() {
        const SquareSymbolImages images({QStringLiteral("gearshape")});
        const QIcon icon = Symbols::icon(QStringLiteral("gearshape"), Qt::blue, &images);
        const QImage pixels = pixelsOf(icon.pixmap(22));
        QVERIFY(allOf(pixels, pixels.rect(), Qt::blue));
    }

    // The nearest window that was given drawings is the one a widget draws with.
    void aWidgetFindsTheDrawingsOfItsWindow() {
        const SquareSymbolImages outer({});
        const SquareSymbolImages inner({});
        QWidget window;
        auto* middle = new QWidget(&window);
        auto* deep = new QWidget(middle);
        QCOMPARE(Symbols::providedFor(deep), nullptr);
        Symbols::provide(window, &outer);
        QCOMPARE(Symbols::providedFor(deep), &outer);
        QCOMPARE(Symbols::providedFor(&window), &outer);
        Symbols::provide(*middle, &inner);
        QCOMPARE(Symbols::providedFor(deep), &inner);
        QCOMPARE(Symbols::providedFor(&window), &outer);
        QWidget alone;
        QCOMPARE(Symbols::providedFor(&alone), nullptr);
    }

    void aSymbolViewDrawsWithItsWindowsDrawings() {
        const SquareSymbolImages images({QStringLiteral("keyboard")});
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* view = new SymbolView(QStringLiteral("keyboard"), 16);
        view->setColor(Qt::red);
        layout->addWidget(view);
        QVERIFY(!allOf(grabbed(*view), QRect(0, 0, 16, 16), Qt::red));
        Symbols::provide(window, &images);
        QVERIFY(allOf(grabbed(*view), QRect(0, 0, 16, 16), Qt::red));
    }

    void aSymbolButtonDrawsWithItsWindowsDrawings() {
        const SquareSymbolImages images({QStringLiteral("trash")});
        QWidget window;
        auto* button = new SymbolButton(QStringLiteral("trash"), 16, &window);
        button->resize(16, 16);
        button->setColor(Qt::red);
        QVERIFY(!allOf(grabbed(*button), QRect(0, 0, 16, 16), Qt::red));
        Symbols::provide(window, &images);
        QVERIFY(allOf(grabbed(*button), QRect(0, 0, 16, 16), Qt::red));
    }

    // The drawings handed to each window's maker reach the symbols made inside it.
    void theTrayPanelsSeekButtonsUseTheGivenDrawings() {
        ControllerRig rig(referenceApps());
        rig.start({});
        rig.settings().defaults().setBool(TrayPanelView::onboardingKey, true);
        const SquareSymbolImages images({});
        TrayPanelView view(rig.status(), rig.settings(), QString(), MediaApp::BrowserNaming::bySite,
                           &images);
        QVERIFY(images.wasAsked(QStringLiteral("gobackward.10")) ||
                images.wasAsked(QStringLiteral("gobackward")));
        QVERIFY(images.wasAsked(QStringLiteral("goforward.10")) ||
                images.wasAsked(QStringLiteral("goforward")));
    }

    void theOverlayCardUsesTheGivenDrawings() {
        ControllerRig rig(referenceApps());
        rig.start({});
        const SquareSymbolImages images({QStringLiteral("playpause")});
        OverlayManager overlay(rig.status(), rig.settings(), MediaApp::BrowserNaming::bySite,
                               nullptr, &images);
        overlay.start();
        rig.status().showFeedback(MediaApp::spotify, FeedbackKind::playPause);
        // The card's symbol is drawn when the card is painted.
        QTRY_VERIFY(images.wasAsked(QStringLiteral("playpause")));
    }

    // A tab draws its own symbols with the drawings of the window it is moved into.
    void aTabDrawsWithTheWindowItJoins() {
        ControllerRig rig(referenceApps());
        rig.start({});
        const SquareSymbolImages images({});
        SettingsView window(rig.settings().defaults());
        Symbols::provide(window, &images);
        auto* tab = new HotkeysSettingsTab(rig.settings(), KeyTable::ModifierStyle::glyphs);
        QVERIFY(!images.wasAsked(QStringLiteral("plus.circle.fill")));
        window.setPage(QStringLiteral("hotkeys"), tab);
        QVERIFY(images.wasAsked(QStringLiteral("plus.circle.fill")));
        QVERIFY(images.wasAsked(QStringLiteral("keyboard")));
    }
};

QTEST_MAIN(TestPlatformSymbols)
#include "tst_platformsymbols.moc"
