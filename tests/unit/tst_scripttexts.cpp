#include "scripting/ChromeYouTubeController.h"
#include "scripting/NativeMediaAppController.h"
#include "scripting/PermissionProbes.h"
#include "scripting/SafariYouTubeController.h"

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

namespace {

QByteArray golden(const QString& name) {
    QFile file(QStringLiteral(SCRUBLINE_TEST_DATA_DIR "/scripts/") + name);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("Missing golden script %s", qPrintable(file.fileName()));
    }
    return file.readAll();
}

// The seconds the golden files are kept for, and how their names spell them.
const QList<QPair<double, QString>> steps = {
    {10.0, QStringLiteral("10")}, {-10.0, QStringLiteral("minus10")},
    {2.5, QStringLiteral("2.5")}, {0.1, QStringLiteral("0.1")},
    {7.5, QStringLiteral("7.5")}, {300.0, QStringLiteral("300")},
};

// Every JavaScript program inside an AppleScript text: the string literals after
// `javascript` (Chrome) or `do JavaScript` (Safari).
QStringList programsIn(const QString& script) {
    static const QRegularExpression literal(
        QStringLiteral("(?:javascript|do JavaScript) \"([^\"]*)\""));
    QStringList programs;
    for (const auto& match : literal.globalMatch(script)) {
        programs << match.captured(1);
    }
    return programs;
}

} // namespace

class TestScriptTexts : public QObject {
    Q_OBJECT

private slots:
    void matchGolden_data() {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("file");
        for (const auto& [seconds, name] : steps) {
            const QByteArray tag = name.toUtf8();
            QTest::newRow("spotify seek " + tag) << SpotifyController::seekScript(seconds)
                                                 << "native-seek-Spotify-" + name + ".applescript";
            QTest::newRow("music seek " + tag) << MusicController::seekScript(seconds)
                                               << "native-seek-Music-" + name + ".applescript";
            QTest::newRow("chrome seek " + tag) << ChromeYouTubeController::scriptSource(seconds)
                                                << "chrome-seek-" + name + ".applescript";
            QTest::newRow("safari seek " + tag) << SafariYouTubeController::scriptSource(seconds)
                                                << "safari-seek-" + name + ".applescript";
        }
        QTest::newRow("spotify play/pause")
            << SpotifyController::playPauseScript() << "native-playpause-Spotify.applescript";
        QTest::newRow("music play/pause")
            << MusicController::playPauseScript() << "native-playpause-Music.applescript";
        QTest::newRow("spotify now playing")
            << SpotifyController::nowPlayingScript() << "native-nowplaying-Spotify.applescript";
        QTest::newRow("music now playing")
            << MusicController::nowPlayingScript() << "native-nowplaying-Music.applescript";
        QTest::newRow("chrome play/pause")
            << ChromeYouTubeController::playPauseScript() << "chrome-playpause.applescript";
        QTest::newRow("chrome title")
            << ChromeYouTubeController::nowPlayingScript() << "chrome-title.applescript";
        QTest::newRow("safari toggle")
            << SafariYouTubeController::toggleScript() << "safari-toggle.applescript";
        QTest::newRow("safari title")
            << SafariYouTubeController::nowPlayingScript() << "safari-title.applescript";
        for (const char* app : {"Spotify", "Music", "Google Chrome", "Safari"}) {
            QTest::newRow(QByteArray("automation probe ") + app)
                << PermissionProbes::automationProbe(QString::fromLatin1(app))
                << "probe-automation-" + QString::fromLatin1(app).remove(QLatin1Char(' ')) +
                       ".applescript";
        }
        QTest::newRow("chrome javascript probe")
            << PermissionProbes::chromeJavaScriptProbe() << "probe-chrome-js.applescript";
        QTest::newRow("chrome url check")
            << ChromeYouTubeController::JS::urlCheck() << "chrome-urlcheck.txt";
    }

    void matchGolden() {
        QFETCH(QString, script);
        QFETCH(QString, file);
        const QByteArray expected = golden(file);
        const QByteArray actual = script.toUtf8();
        if (actual != expected) {
            // Show where they part, which a plain comparison of two long texts hides.
            qsizetype at = 0;
            while (at < actual.size() && at < expected.size() && actual[at] == expected[at]) {
                ++at;
            }
            QFAIL(qPrintable(QStringLiteral("differs from %1 at byte %2: ...%3... instead of "
                                            "...%4...")
                                 .arg(file)
                                 .arg(at)
                                 .arg(QString::fromUtf8(actual.mid(at, 40)))
                                 .arg(QString::fromUtf8(expected.mid(at, 40)))));
        }
        QVERIFY(!actual.endsWith('\n'));
        QVERIFY(!actual.contains('\r'));
        QVERIFY(!actual.contains('\t'));
    }

    void seekTextsCarryTheSignedSeconds() {
        QVERIFY(SpotifyController::seekScript(10).contains(QStringLiteral("+ (10.0)")));
        QVERIFY(SpotifyController::seekScript(-2.5).contains(QStringLiteral("+ (-2.5)")));
        QVERIFY(MusicController::seekScript(-2.5).contains(QStringLiteral("+ (-2.5)")));
        QVERIFY(ChromeYouTubeController::JS::seekJS(-30).contains(QStringLiteral("+ (-30.0)")));
        QVERIFY(SafariYouTubeController::JS::seekJS(45).contains(QStringLiteral("+ (45.0)")));
    }

    void nativeScriptsAddressTheirPlayer() {
        QVERIFY(SpotifyController::seekScript(10).startsWith(
            QStringLiteral("tell application \"Spotify\"\n")));
        QVERIFY(MusicController::seekScript(10).startsWith(
            QStringLiteral("tell application \"Music\"\n")));
        QCOMPARE(SpotifyController::appName, QStringView(u"Spotify"));
        QCOMPARE(MusicController::appName, QStringView(u"Music"));
    }

    void browserScriptsBeginWithFourSpaces() {
        for (const QString& script :
             {ChromeYouTubeController::scriptSource(10), ChromeYouTubeController::playPauseScript(),
              ChromeYouTubeController::nowPlayingScript(),
              SafariYouTubeController::scriptSource(10), SafariYouTubeController::toggleScript(),
              SafariYouTubeController::nowPlayingScript()}) {
            QVERIFY(script.startsWith(QStringLiteral("    tell application \"")));
            QVERIFY(script.endsWith(QStringLiteral("\n    end tell")));
        }
    }

    // The programs go into AppleScript string literals unescaped.
    void programsNeedNoEscaping() {
        const QStringList programs = {
            ChromeYouTubeController::JS::pausedJS(), ChromeYouTubeController::JS::seekJS(-2.5),
            ChromeYouTubeController::JS::toggleJS(), ChromeYouTubeController::JS::titleJS(),
            SafariYouTubeController::JS::pausedJS(), SafariYouTubeController::JS::seekJS(-2.5),
            SafariYouTubeController::JS::toggleJS(), SafariYouTubeController::JS::titleJS(),
        };
        for (const QString& program : programs) {
            QVERIFY2(!program.contains(QLatin1Char('"')), qPrintable(program));
            QVERIFY2(!program.contains(QLatin1Char('\\')), qPrintable(program));
        }
    }

    void scriptsSpliceTheProgramsVerbatim() {
        QCOMPARE(programsIn(ChromeYouTubeController::scriptSource(7.5)),
                 QStringList({ChromeYouTubeController::JS::pausedJS(),
                              ChromeYouTubeController::JS::seekJS(7.5),
                              ChromeYouTubeController::JS::pausedJS(),
                              ChromeYouTubeController::JS::seekJS(7.5)}));
        QCOMPARE(programsIn(ChromeYouTubeController::playPauseScript()),
                 QStringList(2, ChromeYouTubeController::JS::toggleJS()));
        QCOMPARE(programsIn(ChromeYouTubeController::nowPlayingScript()),
                 QStringList{ChromeYouTubeController::JS::titleJS()});
        QCOMPARE(programsIn(SafariYouTubeController::scriptSource(-7.5)),
                 QStringList({SafariYouTubeController::JS::pausedJS(),
                              SafariYouTubeController::JS::seekJS(-7.5),
                              SafariYouTubeController::JS::pausedJS(),
                              SafariYouTubeController::JS::seekJS(-7.5)}));
        QCOMPARE(programsIn(SafariYouTubeController::toggleScript()),
                 QStringList(2, SafariYouTubeController::JS::toggleJS()));
        QCOMPARE(programsIn(SafariYouTubeController::nowPlayingScript()),
                 QStringList{SafariYouTubeController::JS::titleJS()});
    }

    // Kept scripts are found by their text, so a step must always give the same text.
    void textsDependOnlyOnTheSeconds() {
        QCOMPARE(ChromeYouTubeController::scriptSource(15),
                 ChromeYouTubeController::scriptSource(15));
        QCOMPARE(SafariYouTubeController::scriptSource(15),
                 SafariYouTubeController::scriptSource(15));
        QVERIFY(ChromeYouTubeController::scriptSource(15) !=
                ChromeYouTubeController::scriptSource(-15));
        QVERIFY(SpotifyController::seekScript(15) != MusicController::seekScript(15));
    }

    // The toggle's own answer ('ok' or 'novideo') is not read: a YouTube tab without a video
    // still counts as done.
    void playPauseIsDoneOnAnyYouTubeTab() {
        for (const auto& [script, run] :
             {std::pair{ChromeYouTubeController::playPauseScript(),
                        QStringLiteral("execute t javascript \"") +
                            ChromeYouTubeController::JS::toggleJS() + QLatin1Char('"')},
              std::pair{SafariYouTubeController::toggleScript(),
                        QStringLiteral("do JavaScript \"") +
                            SafariYouTubeController::JS::toggleJS() + QStringLiteral("\" in t")}}) {
            const QStringList lines = script.split(QLatin1Char('\n'));
            int runs = 0;
            for (qsizetype i = 0; i < lines.size(); ++i) {
                if (lines[i].trimmed().startsWith(run.left(20))) {
                    QVERIFY(script.contains(run));
                    // The program spans lines; the line after its end is the answer.
                    const qsizetype end = i + run.count(QLatin1Char('\n'));
                    QCOMPARE(lines[i].trimmed(), run.split(QLatin1Char('\n')).first());
                    QCOMPARE(lines[end + 1].trimmed(), QStringLiteral("return \"true\""));
                    ++runs;
                }
            }
            QCOMPARE(runs, 2);
        }
    }

    void allFourYouTubeAddressesAreEligible() {
        const QString check = ChromeYouTubeController::JS::urlCheck();
        for (const char* fragment :
             {"youtube.com/watch", "youtube.com/shorts/", "youtu.be/", "music.youtube.com"}) {
            const QString condition =
                QStringLiteral("tabURL contains \"%1\"").arg(QLatin1String(fragment));
            QVERIFY2(check.contains(condition), fragment);
            QVERIFY2(SafariYouTubeController::scriptSource(10).contains(condition), fragment);
        }
    }
};

QTEST_GUILESS_MAIN(TestScriptTexts)
#include "tst_scripttexts.moc"
