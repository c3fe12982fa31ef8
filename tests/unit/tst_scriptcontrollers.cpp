#include "models/SeekResult.h"
#include "models/UserAlert.h"
#include "scripting/AppleScriptService.h"
#include "scripting/ChromeYouTubeController.h"
#include "scripting/NativeMediaAppController.h"
#include "scripting/PermissionProbes.h"
#include "scripting/SafariYouTubeController.h"
#include "scripting/ScriptNowPlaying.h"
#include "scripting/ScriptedPlayerControl.h"
#include "support/ScriptedEngine.h"

#include <QCoreApplication>
#include <QThread>
#include <QtTest>

Q_DECLARE_METATYPE(ScriptEngine::Reply)
Q_DECLARE_METATYPE(MediaApp)

namespace {

enum class Run { answer, cannotBuild, hang };

} // namespace

class TestScriptControllers : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<ScriptedEngine> m_engine;
    std::unique_ptr<AppleScriptService> m_service;

    // The rows every "answers true when done" mapping shares. A time-out costs the full three
    // seconds, so only some mappings take that row; the others get it as a made-up result.
    static void answerRows(bool withTimeout) {
        QTest::addColumn<int>("run");
        QTest::addColumn<ScriptEngine::Reply>("reply");
        QTest::addColumn<SeekResult>("verdict");
        const int answer = static_cast<int>(Run::answer);
        QTest::newRow("true") << answer << ScriptedEngine::text("true") << SeekResult::seeked;
        QTest::newRow("false") << answer << ScriptedEngine::text("false") << SeekResult::notPlaying;
        QTest::newRow("error") << answer << ScriptedEngine::text("error") << SeekResult::notPlaying;
        QTest::newRow("ok") << answer << ScriptedEngine::text("ok") << SeekResult::notPlaying;
        QTest::newRow("True") << answer << ScriptedEngine::text("True") << SeekResult::notPlaying;
        QTest::newRow("empty") << answer << ScriptedEngine::text("") << SeekResult::notPlaying;
        QTest::newRow("no text") << answer << ScriptedEngine::noText() << SeekResult::notPlaying;
        QTest::newRow("-1743") << answer << ScriptedEngine::error(-1743, QStringLiteral("No"))
                               << SeekResult::permissionDenied;
        QTest::newRow("-1743 without message")
            << answer << ScriptedEngine::error(-1743, std::nullopt) << SeekResult::permissionDenied;
        QTest::newRow("-1728") << answer << ScriptedEngine::error(-1728, QStringLiteral("No JS"))
                               << SeekResult::error;
        QTest::newRow("-600") << answer << ScriptedEngine::error(-600, QStringLiteral("Gone"))
                              << SeekResult::error;
        QTest::newRow("no number")
            << answer << ScriptedEngine::error(std::nullopt, std::nullopt) << SeekResult::error;
        QTest::newRow("build failure")
            << static_cast<int>(Run::cannotBuild) << ScriptedEngine::noText() << SeekResult::error;
        if (withTimeout) {
            QTest::newRow("timeout")
                << static_cast<int>(Run::hang) << ScriptedEngine::text("true") << SeekResult::error;
        }
    }

    // Runs `act` with the engine set up by the current row, and checks that exactly `script`
    // was sent and the verdict is the row's.
    template <class Act>
    void checkRow(const QString& script, Act act) {
        QFETCH(int, run);
        QFETCH(ScriptEngine::Reply, reply);
        QFETCH(SeekResult, verdict);
        m_engine->answer(reply);
        if (static_cast<Run>(run) == Run::cannotBuild) {
            m_engine->refuseToBuild(script);
        }
        if (static_cast<Run>(run) == Run::hang) {
            m_engine->holdNextRuns(1);
        }
        QCOMPARE(act(), verdict);
        QCOMPARE(m_engine->builds(script), 1);
        if (static_cast<Run>(run) != Run::cannotBuild) {
            QCOMPARE(m_engine->ranSources(), QStringList{script});
        }
    }

private slots:
    void initTestCase() {
        qRegisterMetaType<ScriptEngine::Reply>();
        qRegisterMetaType<SeekResult>();
    }

    void init() {
        m_engine = std::make_shared<ScriptedEngine>();
        m_service = std::make_unique<AppleScriptService>(m_engine);
    }

    void cleanup() {
        m_engine->release();
        m_service.reset();
    }

    void spotifySeek_data() { answerRows(true); }
    void spotifySeek() {
        checkRow(SpotifyController::seekScript(-10),
                 [this] { return SpotifyController::seekIfPlaying(*m_service, -10); });
    }

    void musicSeek_data() { answerRows(false); }
    void musicSeek() {
        checkRow(MusicController::seekScript(2.5),
                 [this] { return MusicController::seekIfPlaying(*m_service, 2.5); });
    }

    void chromeSeek_data() { answerRows(true); }
    void chromeSeek() {
        QFETCH(ScriptEngine::Reply, reply);
        std::optional<UserAlert> alert = UserAlert{};
        checkRow(ChromeYouTubeController::scriptSource(30), [this, &alert] {
            const PlayerControl::SeekAnswer answer =
                ScriptedPlayerControl(m_engine).seekIfPlaying(MediaApp::chromiumYouTube, 30, 3.0);
            alert = answer.alert;
            return answer.result;
        });
        // Only a refusal to run JavaScript comes back with the alert that says so.
        QCOMPARE(alert.has_value(), reply.failed && reply.errorNumber == -1728);
        if (alert) {
            QCOMPARE(*alert, ChromeYouTubeController::jsPermissionAlert());
        }
    }

    void safariToggle_data() { answerRows(true); }
    void safariToggle() {
        checkRow(SafariYouTubeController::toggleScript(),
                 [this] { return SafariYouTubeController::togglePlayPause(*m_service); });
    }

    // The controller applies the same mapping to the Safari seek and the Chrome play/pause.
    void browserScriptRuns_data() { answerRows(false); }
    void browserScriptRuns() {
        const QString safariSeek = SafariYouTubeController::scriptSource(-30);
        checkRow(safariSeek, [&] {
            return seekResultOfAnswer(
                m_service->execute(safariSeek, AppleScriptService::actionTimeout));
        });
    }

    void nativePlayPause_data() {
        QTest::addColumn<int>("run");
        QTest::addColumn<ScriptEngine::Reply>("reply");
        QTest::addColumn<SeekResult>("verdict");
        const int answer = static_cast<int>(Run::answer);
        // The player's state is not asked: whatever the script answers, it acted.
        QTest::newRow("ok") << answer << ScriptedEngine::text("ok") << SeekResult::seeked;
        QTest::newRow("false") << answer << ScriptedEngine::text("false") << SeekResult::seeked;
        QTest::newRow("no text") << answer << ScriptedEngine::noText() << SeekResult::seeked;
        QTest::newRow("-1743") << answer << ScriptedEngine::error(-1743, std::nullopt)
                               << SeekResult::permissionDenied;
        QTest::newRow("-1728") << answer << ScriptedEngine::error(-1728, std::nullopt)
                               << SeekResult::error;
        QTest::newRow("no number")
            << answer << ScriptedEngine::error(std::nullopt, QString()) << SeekResult::error;
        QTest::newRow("build failure")
            << static_cast<int>(Run::cannotBuild) << ScriptedEngine::noText() << SeekResult::error;
    }
    void nativePlayPause() {
        const QString script = MusicController::playPauseScript();
        checkRow(script, [&] {
            return seekResultOfPlayPause(
                m_service->execute(script, AppleScriptService::actionTimeout));
        });
    }

    // A failure the runner never makes itself, but a caller may.
    void aDeniedErrorFromACallerIsAnError() {
        const ScriptResult denied =
            ScriptResult::failure(AppleScriptError::permissionDenied(QStringLiteral("Music")));
        QCOMPARE(seekResultOfAnswer(denied), SeekResult::error);
        QCOMPARE(seekResultOfPlayPause(denied), SeekResult::error);
        QCOMPARE(seekResultOfAnswer(ScriptResult::failure(AppleScriptError::timeout())),
                 SeekResult::error);
        QCOMPARE(seekResultOfAnswer(ScriptResult::failure(AppleScriptError::compilationFailed())),
                 SeekResult::error);
    }

    // Reported on every refusal, so the controller can tell the user each time.
    void everyChromeRefusalIsReported() {
        m_engine->answer(ScriptedEngine::error(-1728, QStringLiteral("Can't get JavaScript.")));
        ScriptedPlayerControl players(m_engine);
        for (int press = 0; press < 3; ++press) {
            QCOMPARE(players.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0),
                     (PlayerControl::SeekAnswer{SeekResult::error,
                                                ChromeYouTubeController::jsPermissionAlert()}));
        }
        for (const MediaApp app :
             {MediaApp::spotify, MediaApp::appleMusic, MediaApp::safariYouTube}) {
            QCOMPARE(players.seekIfPlaying(app, 10, 3.0),
                     (PlayerControl::SeekAnswer{SeekResult::error}));
        }
    }

    void theJavaScriptAlertReadsAsWritten() {
        const UserAlert alert = ChromeYouTubeController::jsPermissionAlert();
        QCOMPARE(alert.messageText, QStringLiteral("Chrome JavaScript Access Required"));
        QCOMPARE(alert.informativeText,
                 QStringLiteral("To control YouTube, enable JavaScript from Apple Events in "
                                "Chrome:\n\nView > Developer > Allow JavaScript from Apple "
                                "Events"));
        QCOMPARE(alert.buttonTitle, QStringLiteral("OK"));
    }

    void playPauseOfEachApp_data() {
        QTest::addColumn<MediaApp>("app");
        QTest::addColumn<QString>("script");
        QTest::addColumn<ScriptEngine::Reply>("reply");
        QTest::addColumn<SeekResult>("verdict");
        const auto add = [](const char* name, MediaApp app, const QString& script,
                            const ScriptEngine::Reply& reply, SeekResult verdict) {
            QTest::newRow(name) << app << script << reply << verdict;
        };
        // Music toggles whatever its state: an idle player answers "ok" and counts as done.
        add("music idle", MediaApp::appleMusic, MusicController::playPauseScript(),
            ScriptedEngine::text("ok"), SeekResult::seeked);
        add("spotify", MediaApp::spotify, SpotifyController::playPauseScript(),
            ScriptedEngine::noText(), SeekResult::seeked);
        add("spotify denied", MediaApp::spotify, SpotifyController::playPauseScript(),
            ScriptedEngine::error(-1743, std::nullopt), SeekResult::permissionDenied);
        add("chrome done", MediaApp::chromiumYouTube, ChromeYouTubeController::playPauseScript(),
            ScriptedEngine::text("true"), SeekResult::seeked);
        add("chrome no tab", MediaApp::chromiumYouTube, ChromeYouTubeController::playPauseScript(),
            ScriptedEngine::text("false"), SeekResult::notPlaying);
        add("chrome error", MediaApp::chromiumYouTube, ChromeYouTubeController::playPauseScript(),
            ScriptedEngine::text("error"), SeekResult::notPlaying);
        add("safari done", MediaApp::safariYouTube, SafariYouTubeController::toggleScript(),
            ScriptedEngine::text("true"), SeekResult::seeked);
        add("safari failed", MediaApp::safariYouTube, SafariYouTubeController::toggleScript(),
            ScriptedEngine::error(-1, std::nullopt), SeekResult::error);
    }
    void playPauseOfEachApp() {
        QFETCH(MediaApp, app);
        QFETCH(QString, script);
        QFETCH(ScriptEngine::Reply, reply);
        QFETCH(SeekResult, verdict);
        m_engine->answer(reply);
        QCOMPARE(ScriptedPlayerControl(m_engine).playPause(app, 3.0), verdict);
        QCOMPARE(m_engine->ranSources(), QStringList{script});
    }

    void seeksOfEachApp() {
        m_engine->answer(ScriptedEngine::text("true"));
        ScriptedPlayerControl players(m_engine);
        for (const MediaApp app : MediaApp::allCases()) {
            QCOMPARE(players.seekIfPlaying(app, -7.5, 3.0).result, SeekResult::seeked);
        }
        QCOMPARE(
            m_engine->ranSources(),
            QStringList({SpotifyController::seekScript(-7.5), MusicController::seekScript(-7.5),
                         ChromeYouTubeController::scriptSource(-7.5),
                         SafariYouTubeController::scriptSource(-7.5)}));
    }

    void nowPlayingTexts() {
        m_engine->respond([](const QString& source) {
            return source == SpotifyController::nowPlayingScript()
                       ? ScriptedEngine::text("Intro - Live - Band")
                   : source == ChromeYouTubeController::nowPlayingScript()
                       ? ScriptedEngine::error(-1743, std::nullopt)
                       : ScriptedEngine::noText();
        });
        ScriptedPlayerControl players(m_engine);
        // Each app is one player, named by the app. The artist is what follows the last " - ".
        QCOMPARE(players.nowPlaying(MediaApp::spotify, 2.0),
                 std::optional(NowPlaying{
                     QStringLiteral("Intro - Live"), {QStringLiteral("Band")}, MediaApp::spotify}));
        QCOMPARE(players.nowPlaying(MediaApp::appleMusic, 2.0), std::nullopt);
        QCOMPARE(players.nowPlaying(MediaApp::chromiumYouTube, 2.0), std::nullopt);
        QCOMPARE(players.nowPlaying(MediaApp::safariYouTube, 2.0), std::nullopt);
        QCOMPARE(
            m_engine->ranSources(),
            QStringList({SpotifyController::nowPlayingScript(), MusicController::nowPlayingScript(),
                         ChromeYouTubeController::nowPlayingScript(),
                         SafariYouTubeController::nowPlayingScript()}));
    }

    void scriptAnswersAreParted_data() {
        QTest::addColumn<bool>("video");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("artists");
        QTest::newRow("track") << false << "Song - Band"
                               << "Song" << QStringList{"Band"};
        QTest::newRow("track titled with the separator") << false << "Song - Live - Band"
                                                         << "Song - Live" << QStringList{"Band"};
        QTest::newRow("track without an artist") << false << "Song - "
                                                 << "Song" << QStringList();
        QTest::newRow("track answer without a separator") << false << "Song"
                                                          << "Song" << QStringList();
        QTest::newRow("video by a band") << true << "Song - Band"
                                         << "Song" << QStringList{"Band"};
        QTest::newRow("video of another kind") << true << "How to - part 2 - final"
                                               << "How to" << QStringList{"part 2 - final"};
        QTest::newRow("video title") << true << "Cats compilation"
                                     << "Cats compilation" << QStringList();
        QTest::newRow("video title ending in the separator") << true << "Cats - "
                                                             << "Cats - " << QStringList();
    }
    void scriptAnswersAreParted() {
        QFETCH(bool, video);
        QFETCH(QString, answer);
        QFETCH(QString, title);
        QFETCH(QStringList, artists);
        const MediaApp app = video ? MediaApp::safariYouTube : MediaApp::appleMusic;
        const NowPlaying parted = video ? ScriptNowPlaying::fromVideoTitle(app, answer)
                                        : ScriptNowPlaying::fromTrackAnswer(app, answer);
        QCOMPARE(parted.title, title);
        QCOMPARE(parted.artists, artists);
        QCOMPARE(parted.app, app);
    }

    // Warming keeps the exact texts a seek of that step will run, for all four apps, and runs
    // nothing.
    void warmingKeepsTheSeekScriptsOfAStep() {
        ScriptedPlayerControl players(m_engine);
        players.warmSeek(15);
        players.warmSeek(15);
        QVERIFY(m_engine->runs().isEmpty());
        m_engine->answer(ScriptedEngine::text("false"));
        for (const MediaApp app : MediaApp::allCases()) {
            players.seekIfPlaying(app, 15, 3.0);
        }
        for (const QString& script :
             {SpotifyController::seekScript(15), MusicController::seekScript(15),
              ChromeYouTubeController::scriptSource(15),
              SafariYouTubeController::scriptSource(15)}) {
            QCOMPARE(m_engine->builds(script), 1);
        }
    }

    void automationProbes_data() {
        QTest::addColumn<ScriptEngine::Reply>("reply");
        QTest::addColumn<PermissionStatus>("status");
        QTest::newRow("name") << ScriptedEngine::text("Spotify") << PermissionStatus::granted;
        QTest::newRow("no text") << ScriptedEngine::noText() << PermissionStatus::granted;
        QTest::newRow("-1743") << ScriptedEngine::error(-1743, std::nullopt)
                               << PermissionStatus::denied;
        QTest::newRow("-1728") << ScriptedEngine::error(-1728, std::nullopt)
                               << PermissionStatus::unknown;
        QTest::newRow("-600") << ScriptedEngine::error(-600, std::nullopt)
                              << PermissionStatus::unknown;
    }
    void automationProbes() {
        QFETCH(ScriptEngine::Reply, reply);
        QFETCH(PermissionStatus, status);
        m_engine->answer(reply);
        for (const PermissionItem& item : PermissionItem::all()) {
            if (item.kind == PermissionItem::Kind::automation) {
                QCOMPARE(ScriptedPlayerControl(m_engine).probe(item, 3.0), status);
            }
        }
        QCOMPARE(m_engine->ranSources(),
                 QStringList({QStringLiteral("    tell application \"Spotify\" to return name"),
                              QStringLiteral("    tell application \"Music\" to return name"),
                              QStringLiteral("    tell application \"Google Chrome\" to return "
                                             "name"),
                              QStringLiteral("    tell application \"Safari\" to return name")}));
    }

    void chromeJavaScriptProbe_data() {
        QTest::addColumn<ScriptEngine::Reply>("reply");
        QTest::addColumn<PermissionStatus>("status");
        // Allowed, with a window open to try it in.
        QTest::newRow("ok") << ScriptedEngine::text("ok") << PermissionStatus::granted;
        QTest::newRow("no text") << ScriptedEngine::noText() << PermissionStatus::granted;
        QTest::newRow("no window") << ScriptedEngine::text("nowindow") << PermissionStatus::unknown;
        QTest::newRow("-1728") << ScriptedEngine::error(-1728, std::nullopt)
                               << PermissionStatus::denied;
        QTest::newRow("-1743") << ScriptedEngine::error(-1743, std::nullopt)
                               << PermissionStatus::denied;
        QTest::newRow("-1") << ScriptedEngine::error(std::nullopt, std::nullopt)
                            << PermissionStatus::unknown;
    }
    void chromeJavaScriptProbe() {
        QFETCH(ScriptEngine::Reply, reply);
        QFETCH(PermissionStatus, status);
        m_engine->answer(reply);
        const PermissionItem browserJavaScript = PermissionItem::all().at(3);
        QCOMPARE(browserJavaScript.kind, PermissionItem::Kind::browserJavaScript);
        QCOMPARE(ScriptedPlayerControl(m_engine).probe(browserJavaScript, 3.0), status);
        QCOMPARE(m_engine->ranSources(), QStringList{PermissionProbes::chromeJavaScriptProbe()});
    }

    void aHungProbeIsUnknown() {
        m_engine->holdNextRuns(1);
        QCOMPARE(ScriptedPlayerControl(m_engine).probe(PermissionItem::all().first(), 0.2),
                 PermissionStatus::unknown);
    }

    void accessibilityIsNeverProbed() {
        PermissionItem item = PermissionItem::all().first();
        item.kind = PermissionItem::Kind::accessibility;
        QCOMPARE(ScriptedPlayerControl(m_engine).probe(item, 3.0), PermissionStatus::unknown);
        QVERIFY(m_engine->runs().isEmpty());
    }

    void isJavaScriptOffOnlyFor1728() {
        using R = ScriptResult;
        QVERIFY(ChromeYouTubeController::isJavaScriptOff(
            R::failure(AppleScriptError::executionFailed(-1728, QStringLiteral("x")))));
        QVERIFY(!ChromeYouTubeController::isJavaScriptOff(
            R::failure(AppleScriptError::executionFailed(-1743, QStringLiteral("x")))));
        QVERIFY(!ChromeYouTubeController::isJavaScriptOff(R::failure(AppleScriptError::timeout())));
        QVERIFY(!ChromeYouTubeController::isJavaScriptOff(R::success(QStringLiteral("-1728"))));
    }
};

QTEST_GUILESS_MAIN(TestScriptControllers)
#include "tst_scriptcontrollers.moc"
