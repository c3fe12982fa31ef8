// The JavaScript programs the browser scripts run in a YouTube tab, run here in a real
// JavaScript engine against a page with one video element whose state each test sets.
#include "scripting/ChromeYouTubeController.h"
#include "scripting/SafariYouTubeController.h"

#include <QJSEngine>
#include <QRegularExpression>
#include <QtTest>

namespace {

const QString titleSelector = QStringLiteral("h1.ytd-watch-metadata yt-formatted-string, h1.title");

// The page: `video` and `heading` are what querySelector finds; every selector asked for is
// recorded, and so are calls of play() and pause().
const QString page = QStringLiteral(R"(
var asked = [];
var video = null;
var heading = null;
var document = {
    querySelector: function (selector) {
        asked.push(selector);
        if (selector === 'video') return video;
        if (selector === '%1') return heading;
        return null;
    }
};
function makeVideo(currentTime, duration, paused, readyState) {
    return {
        currentTime: currentTime, duration: duration, paused: paused, readyState: readyState,
        plays: 0, pauses: 0,
        play: function () { this.plays++; this.paused = false; },
        pause: function () { this.pauses++; this.paused = true; }
    };
}
)")
                         .arg(titleSelector);

class Page {
public:
    Page() { check(m_js.evaluate(page)); }

    // Puts a video on the page.
    void video(double currentTime, double duration, bool paused, int readyState = 4) {
        check(m_js.evaluate(QStringLiteral("video = makeVideo(%1, %2, %3, %4)")
                                .arg(currentTime)
                                .arg(duration)
                                .arg(paused ? QStringLiteral("true") : QStringLiteral("false"))
                                .arg(readyState)));
    }
    void title(const QString& text) {
        m_js.globalObject().setProperty(QStringLiteral("headingText"), text);
        check(m_js.evaluate(QStringLiteral("heading = { textContent: headingText }")));
    }

    QJSValue run(const QString& program) { return check(m_js.evaluate(program)); }
    QJSValue get(const QString& expression) { return check(m_js.evaluate(expression)); }

private:
    static QJSValue check(const QJSValue& value) {
        if (value.isError()) {
            qFatal("JavaScript error: %s", qPrintable(value.toString()));
        }
        return value;
    }

    QJSEngine m_js;
};

using Chrome = ChromeYouTubeController::JS;
using Safari = SafariYouTubeController::JS;

} // namespace

class TestBrowserJS : public QObject {
    Q_OBJECT

private slots:
    void chromePausedState() {
        Page tab;
        QCOMPARE(tab.run(Chrome::pausedJS()).toString(), QStringLiteral("novideo"));
        tab.video(10, 100, false, 1);
        QCOMPARE(tab.run(Chrome::pausedJS()).toString(), QStringLiteral("buffering"));
        tab.video(10, 100, true, 1);
        QCOMPARE(tab.run(Chrome::pausedJS()).toString(), QStringLiteral("buffering"));
        tab.video(10, 100, true, 2);
        QCOMPARE(tab.run(Chrome::pausedJS()).toString(), QStringLiteral("true"));
        tab.video(10, 100, false, 2);
        QCOMPARE(tab.run(Chrome::pausedJS()).toString(), QStringLiteral("false"));
        tab.video(10, 100, false, 4);
        QCOMPARE(tab.run(Chrome::pausedJS()).toString(), QStringLiteral("false"));
        QCOMPARE(
            tab.get(QStringLiteral("asked.every(function (s) { return s === 'video'; })")).toBool(),
            true);
    }

    // Safari has no 'buffering' answer: a loading video that is not paused counts as playing.
    void safariPausedState() {
        Page tab;
        QCOMPARE(tab.run(Safari::pausedJS()).toString(), QStringLiteral("novideo"));
        tab.video(10, 100, false, 1);
        QCOMPARE(tab.run(Safari::pausedJS()).toString(), QStringLiteral("false"));
        tab.video(10, 100, true, 4);
        QCOMPARE(tab.run(Safari::pausedJS()).toString(), QStringLiteral("true"));
    }

    void seeking_data() {
        QTest::addColumn<bool>("chrome");
        QTest::addColumn<double>("at");
        QTest::addColumn<double>("by");
        QTest::addColumn<double>("expected");
        // Back 30 from 10 stops at 0 in both.
        QTest::newRow("chrome back past the start") << true << 10.0 << -30.0 << 0.0;
        QTest::newRow("safari back past the start") << false << 10.0 << -30.0 << 0.0;
        // On 30 from 10 before the end: Chrome stops at the duration, Safari does not.
        QTest::newRow("chrome on past the end") << true << 190.0 << 30.0 << 200.0;
        QTest::newRow("safari on past the end") << false << 190.0 << 30.0 << 220.0;
        QTest::newRow("chrome forward") << true << 50.0 << 10.0 << 60.0;
        QTest::newRow("safari forward") << false << 50.0 << 10.0 << 60.0;
        QTest::newRow("chrome half steps") << true << 50.0 << -2.5 << 47.5;
        QTest::newRow("safari tenths") << false << 50.0 << 0.1 << 50.1;
    }

    void seeking() {
        QFETCH(bool, chrome);
        QFETCH(double, at);
        QFETCH(double, by);
        QFETCH(double, expected);
        Page tab;
        tab.video(at, 200, false);
        tab.run(chrome ? Chrome::seekJS(by) : Safari::seekJS(by));
        QCOMPARE(tab.get(QStringLiteral("video.currentTime")).toNumber(), expected);
        QCOMPARE(tab.get(QStringLiteral("video.paused")).toBool(), false);
    }

    void seekingWithoutAVideoDoesNothing() {
        for (const QString& program : {Chrome::seekJS(10), Safari::seekJS(10)}) {
            Page tab;
            QVERIFY(tab.run(program).isUndefined());
        }
    }

    void toggling() {
        for (const QString& program : {Chrome::toggleJS(), Safari::toggleJS()}) {
            Page tab;
            QCOMPARE(tab.run(program).toString(), QStringLiteral("novideo"));
            tab.video(10, 100, true);
            QCOMPARE(tab.run(program).toString(), QStringLiteral("ok"));
            QCOMPARE(tab.get(QStringLiteral("video.plays")).toInt(), 1);
            QCOMPARE(tab.get(QStringLiteral("video.paused")).toBool(), false);
            QCOMPARE(tab.run(program).toString(), QStringLiteral("ok"));
            QCOMPARE(tab.get(QStringLiteral("video.pauses")).toInt(), 1);
            QCOMPARE(tab.get(QStringLiteral("video.plays")).toInt(), 1);
        }
    }

    void titles() {
        for (const QString& program : {Chrome::titleJS(), Safari::titleJS()}) {
            Page tab;
            QCOMPARE(tab.run(program).toString(), QString());
            tab.title(QStringLiteral("  Never Gonna Give You Up \n"));
            QCOMPARE(tab.run(program).toString(), QString()); // no video
            tab.video(10, 100, true);
            // A paused video never shows as now playing.
            QCOMPARE(tab.run(program).toString(), QString());
            tab.video(10, 100, false);
            QCOMPARE(tab.run(program).toString(), QStringLiteral("Never Gonna Give You Up"));
            QCOMPARE(tab.get(QStringLiteral("asked[asked.length - 1]")).toString(), titleSelector);
        }
    }

    // The AppleScript condition, read word for word as JavaScript: `tabURL contains "x"`
    // becomes tabURL.includes("x") and `or` becomes ||. Anything else in it fails the test.
    void whichTabsAreYouTube_data() {
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("eligible");
        QTest::newRow("watch") << "https://www.youtube.com/watch?v=dQw4w9WgXcQ" << true;
        QTest::newRow("shorts") << "https://www.youtube.com/shorts/abc123" << true;
        QTest::newRow("short link") << "https://youtu.be/dQw4w9WgXcQ" << true;
        QTest::newRow("music") << "https://music.youtube.com/playlist?list=x" << true;
        QTest::newRow("mobile watch") << "https://m.youtube.com/watch?v=x" << true;
        QTest::newRow("home") << "https://www.youtube.com/" << false;
        QTest::newRow("channel") << "https://www.youtube.com/@someone" << false;
        QTest::newRow("playlist") << "https://www.youtube.com/playlist?list=x" << false;
        QTest::newRow("other site") << "https://vimeo.com/watch/123" << false;
        QTest::newRow("empty") << "" << false;
    }
    void whichTabsAreYouTube() {
        QFETCH(QString, url);
        QFETCH(bool, eligible);
        QString condition = ChromeYouTubeController::JS::urlCheck();
        static const QRegularExpression contains(QStringLiteral("tabURL contains (\"[^\"]*\")"));
        condition.replace(contains, QStringLiteral("tabURL.includes(\\1)"));
        condition.replace(QStringLiteral(" or "), QStringLiteral(" || "));
        QVERIFY2(!condition.contains(QStringLiteral("contains")), qPrintable(condition));
        QJSEngine js;
        js.globalObject().setProperty(QStringLiteral("tabURL"), url);
        const QJSValue result = js.evaluate(condition);
        QVERIFY2(result.isBool(), qPrintable(result.toString()));
        QCOMPARE(result.toBool(), eligible);
    }

    void aPlayingVideoWithoutATitleHasNone() {
        for (const QString& program : {Chrome::titleJS(), Safari::titleJS()}) {
            Page tab;
            tab.video(10, 100, false);
            QCOMPARE(tab.run(program).toString(), QString());
        }
    }
};

QTEST_GUILESS_MAIN(TestBrowserJS)
#include "tst_browserjs.moc"
