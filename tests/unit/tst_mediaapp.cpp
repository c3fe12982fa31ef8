#include "models/MediaApp.h"

#include <QtTest>

#include <set>

// Lets a failed QCOMPARE name the apps instead of printing nothing.
static char* toString(MediaApp app) {
    return qstrdup(app.rawValue().toUtf8().constData());
}

static char* toString(TintColor color) {
    switch (color) {
    case TintColor::green:
        return qstrdup("green");
    case TintColor::pink:
        return qstrdup("pink");
    case TintColor::red:
        return qstrdup("red");
    case TintColor::blue:
        return qstrdup("blue");
    case TintColor::orange:
        return qstrdup("orange");
    case TintColor::purple:
        return qstrdup("purple");
    }
    return qstrdup(QByteArray::number(static_cast<int>(color)).constData());
}

namespace {

struct Channels {
    int red;
    int green;
    int blue;
};

Channels channels(std::uint32_t rgb) {
    return {static_cast<int>((rgb >> 16) & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
            static_cast<int>(rgb & 0xFF)};
}

} // namespace

class TestMediaApp : public QObject {
    Q_OBJECT

private slots:
    void allCasesAreInPriorityOrder() {
        // The settings store falls back to this order, so a reordering would silently change
        // which player a fresh install prefers.
        const auto all = MediaApp::allCases();
        QCOMPARE(all.size(), size_t{4});
        QCOMPARE(all[0], MediaApp(MediaApp::spotify));
        QCOMPARE(all[1], MediaApp(MediaApp::appleMusic));
        QCOMPARE(all[2], MediaApp(MediaApp::chromiumYouTube));
        QCOMPARE(all[3], MediaApp(MediaApp::safariYouTube));
    }

    void attributes_data() {
        QTest::addColumn<MediaApp::Value>("app");
        QTest::addColumn<QString>("rawValue");
        QTest::addColumn<QString>("displayName");
        QTest::addColumn<QString>("processName");
        QTest::addColumn<QString>("symbolName");
        QTest::addColumn<TintColor>("tint");

        QTest::newRow("spotify") << MediaApp::spotify << "spotify"
                                 << "Spotify"
                                 << "Spotify"
                                 << "music.note" << TintColor::green;
        QTest::newRow("appleMusic") << MediaApp::appleMusic << "appleMusic"
                                    << "Apple Music"
                                    << "Music"
                                    << "music.quarternote.3" << TintColor::pink;
        QTest::newRow("chromeYouTube") << MediaApp::chromiumYouTube << "chromeYouTube"
                                       << "YouTube (Chrome)"
                                       << "Google Chrome"
                                       << "play.rectangle" << TintColor::red;
        QTest::newRow("safariYouTube") << MediaApp::safariYouTube << "safariYouTube"
                                       << "YouTube (Safari)"
                                       << "Safari"
                                       << "safari" << TintColor::blue;
        QTest::newRow("firefox") << MediaApp::firefox << "firefox"
                                 << "Firefox"
                                 << "Firefox"
                                 << "globe" << TintColor::orange;
        QTest::newRow("otherPlayers") << MediaApp::otherPlayers << "otherPlayers"
                                      << "Other players"
                                      << "Other players"
                                      << "music.note.list" << TintColor::purple;
    }

    void attributes() {
        QFETCH(MediaApp::Value, app);
        QFETCH(QString, rawValue);
        QFETCH(QString, displayName);
        QFETCH(QString, processName);
        QFETCH(QString, symbolName);
        QFETCH(TintColor, tint);

        const MediaApp mediaApp(app);
        QCOMPARE(mediaApp.rawValue(), rawValue);
        QCOMPARE(mediaApp.id(), rawValue);
        QCOMPARE(mediaApp.displayName(MediaApp::BrowserNaming::bySite), displayName);
        // Matched exactly against running applications' names, so case and spaces count.
        QCOMPARE(mediaApp.processName(), processName);
        QCOMPARE(mediaApp.symbolName(), symbolName);
        QCOMPARE(mediaApp.tintColor(), tint);
    }

    // Where a browser app drives any page, it is named after the browser; nothing else about
    // any app changes, so a settings file reads the same on every platform.
    void browserAppsCanBeNamedAfterTheBrowserAlone() {
        constexpr auto byBrowser = MediaApp::BrowserNaming::byBrowser;
        QCOMPARE(MediaApp(MediaApp::chromiumYouTube).displayName(byBrowser),
                 QStringLiteral("Chrome"));
        QCOMPARE(MediaApp(MediaApp::safariYouTube).displayName(byBrowser),
                 QStringLiteral("Safari"));
        QCOMPARE(MediaApp(MediaApp::spotify).displayName(byBrowser), QStringLiteral("Spotify"));
        QCOMPARE(MediaApp(MediaApp::appleMusic).displayName(byBrowser),
                 QStringLiteral("Apple Music"));
        QCOMPARE(MediaApp(MediaApp::firefox).displayName(byBrowser), QStringLiteral("Firefox"));
        QCOMPARE(MediaApp(MediaApp::otherPlayers).displayName(byBrowser),
                 QStringLiteral("Other players"));
        QCOMPARE(MediaApp(MediaApp::chromiumYouTube).rawValue(), QStringLiteral("chromeYouTube"));
        QCOMPARE(MediaApp(MediaApp::chromiumYouTube).processName(),
                 QStringLiteral("Google Chrome"));
        QCOMPARE(MediaApp::fromRawValue(u"chromeYouTube"),
                 std::optional<MediaApp>(MediaApp::chromiumYouTube));
        QCOMPARE(MediaApp(MediaApp::chromiumYouTube).displayName(MediaApp::BrowserNaming::bySite),
                 QStringLiteral("YouTube (Chrome)"));
    }

    void fromRawValueFindsEveryCase_data() {
        QTest::addColumn<QString>("rawValue");
        QTest::addColumn<MediaApp::Value>("app");

        QTest::newRow("spotify") << "spotify" << MediaApp::spotify;
        QTest::newRow("appleMusic") << "appleMusic" << MediaApp::appleMusic;
        QTest::newRow("chromeYouTube") << "chromeYouTube" << MediaApp::chromiumYouTube;
        QTest::newRow("safariYouTube") << "safariYouTube" << MediaApp::safariYouTube;
        QTest::newRow("firefox") << "firefox" << MediaApp::firefox;
        QTest::newRow("otherPlayers") << "otherPlayers" << MediaApp::otherPlayers;
    }

    void fromRawValueFindsEveryCase() {
        QFETCH(QString, rawValue);
        QFETCH(MediaApp::Value, app);

        const auto parsed = MediaApp::fromRawValue(rawValue);
        QVERIFY(parsed.has_value());
        QCOMPARE(*parsed, MediaApp(app));
    }

    void everyCaseIsTheFourAndThenThoseFoundOnTheBus() {
        const auto every = MediaApp::everyCase();
        QCOMPARE(every.size(), size_t{6});
        const auto four = MediaApp::allCases();
        QVERIFY(std::equal(four.begin(), four.end(), every.begin()));
        QCOMPARE(every[4], MediaApp(MediaApp::firefox));
        QCOMPARE(every[5], MediaApp(MediaApp::otherPlayers));
    }

    void rawValueRoundTripsForAllCases() {
        for (const MediaApp app : MediaApp::everyCase()) {
            const auto parsed = MediaApp::fromRawValue(app.rawValue());
            QVERIFY2(parsed.has_value(), qPrintable(app.rawValue()));
            QCOMPARE(*parsed, app);
        }
    }

    void fromRawValueRejectsUnknownStrings_data() {
        QTest::addColumn<QString>("rawValue");

        QTest::newRow("display name casing") << "Spotify";
        QTest::newRow("process name") << "music";
        QTest::newRow("empty") << "";
        QTest::newRow("all caps") << "SPOTIFY";
        QTest::newRow("lower case") << "applemusic";
        QTest::newRow("display name") << "Apple Music";
        QTest::newRow("leading space") << " spotify";
        QTest::newRow("trailing space") << "safariYouTube ";
        QTest::newRow("prefix") << "chrome";
    }

    void fromRawValueRejectsUnknownStrings() {
        QFETCH(QString, rawValue);

        // No fallback case: a corrupted stored value must not turn into some other player.
        QVERIFY(!MediaApp::fromRawValue(rawValue).has_value());
    }

    void tintColorsAreDistinctColours() {
        std::set<std::uint32_t> colours;
        for (const MediaApp app : MediaApp::everyCase()) {
            const std::uint32_t rgb = tintColorRgb(app.tintColor());
            QVERIFY2(rgb <= 0xFFFFFF, qPrintable(app.rawValue()));
            colours.insert(rgb);
        }
        QCOMPARE(colours.size(), size_t{6});
    }

    void tintColoursLookLikeTheirNames() {
        const Channels green = channels(tintColorRgb(TintColor::green));
        QVERIFY(green.green > green.red && green.green > green.blue);

        const Channels red = channels(tintColorRgb(TintColor::red));
        QVERIFY(red.red > red.green && red.red > red.blue);

        const Channels blue = channels(tintColorRgb(TintColor::blue));
        QVERIFY(blue.blue > blue.red && blue.blue > blue.green);

        // Pink is a red with more blue in it than green; that is what tells it apart from red.
        const Channels pink = channels(tintColorRgb(TintColor::pink));
        QVERIFY(pink.red > pink.green && pink.red > pink.blue);
        QVERIFY(pink.blue > pink.green);

        const Channels orange = channels(tintColorRgb(TintColor::orange));
        QVERIFY(orange.red > orange.green && orange.green > orange.blue);

        const Channels purple = channels(tintColorRgb(TintColor::purple));
        QVERIFY(purple.red > purple.green && purple.blue > purple.green);
    }
};

QTEST_GUILESS_MAIN(TestMediaApp)
#include "tst_mediaapp.moc"
