#include "services/AppleScriptService.h"
#include "services/ChromeYouTubeController.h"
#include "services/NativeMediaAppController.h"
#include "services/SafariYouTubeController.h"
#include "services/SeekResult.h"
#include "services/UserAlert.h"
#include "support/ScriptedEngine.h"

#include <QCoreApplication>
#include <QThread>
#include <QtTest>

#include <thread>

Q_DECLARE_METATYPE(ScriptEngine::Reply)

namespace {

enum class Run { answer, cannotBuild, hang };

struct Alerts {
    QList<UserAlert> shown;
    int offGuiThread = 0;
};

} // namespace

class TestScriptControllers : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<ScriptedEngine> m_engine;
    std::shared_ptr<Alerts> m_alerts;

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
        AppleScriptService::setEngine(m_engine);
        m_alerts = std::make_shared<Alerts>();
        UserAlerts::setPresenter([alerts = m_alerts](const UserAlert& alert) {
            alerts->shown << alert;
            if (QThread::currentThread() != qApp->thread()) {
                ++alerts->offGuiThread;
            }
        });
    }

    void cleanup() {
        // Alerts still queued belong to this test.
        QCoreApplication::processEvents();
        UserAlerts::setPresenter(nullptr);
        m_engine->release();
        AppleScriptService::setEngine(nullptr);
    }

    void spotifySeek_data() { answerRows(true); }
    void spotifySeek() {
        checkRow(SpotifyController::seekScript(-10),
                 [] { return SpotifyController::seekIfPlaying(-10); });
    }

    void musicSeek_data() { answerRows(false); }
    void musicSeek() {
        checkRow(MusicController::seekScript(2.5),
                 [] { return MusicController::seekIfPlaying(2.5); });
    }

    void chromeSeek_data() { answerRows(true); }
    void chromeSeek() {
        checkRow(ChromeYouTubeController::scriptSource(30),
                 [] { return ChromeYouTubeController::seekIfPlaying(30); });
    }

    void safariToggle_data() { answerRows(true); }
    void safariToggle() {
        checkRow(SafariYouTubeController::toggleScript(),
                 [] { return SafariYouTubeController::togglePlayPause(); });
    }

    // The controller applies the same mapping to the Safari seek and the Chrome play/pause.
    void browserScriptRuns_data() { answerRows(false); }
    void browserScriptRuns() {
        const QString safariSeek = SafariYouTubeController::scriptSource(-30);
        checkRow(safariSeek, [&] {
            return seekResultOfAnswer(
                AppleScriptService::execute(safariSeek, AppleScriptService::actionTimeout));
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
                AppleScriptService::execute(script, AppleScriptService::actionTimeout));
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

    void theJavaScriptAlertFollowsEveryRefusal() {
        m_engine->answer(ScriptedEngine::error(-1728, QStringLiteral("Can't get JavaScript.")));
        for (int press = 0; press < 3; ++press) {
            QCOMPARE(ChromeYouTubeController::seekIfPlaying(10), SeekResult::error);
        }
        // Shown later, on the GUI thread, never while the seek waits.
        QVERIFY(m_alerts->shown.isEmpty());
        QTRY_COMPARE(m_alerts->shown.size(), 3);
        QCOMPARE(m_alerts->offGuiThread, 0);
        for (const UserAlert& alert : std::as_const(m_alerts->shown)) {
            QCOMPARE(alert.messageText, QStringLiteral("Chrome JavaScript Access Required"));
            QCOMPARE(alert.informativeText,
                     QStringLiteral("To control YouTube, enable JavaScript from Apple Events in "
                                    "Chrome:\n\nView > Developer > Allow JavaScript from Apple "
                                    "Events"));
            QCOMPARE(alert.buttonTitle, QStringLiteral("OK"));
        }
    }

    void theAlertIsPostedFromTheSeekThread() {
        m_engine->answer(ScriptedEngine::error(-1728, std::nullopt));
        SeekResult verdict = SeekResult::seeked;
        std::thread seekThread(
            [&verdict] { verdict = ChromeYouTubeController::seekIfPlaying(-5); });
        seekThread.join();
        QCOMPARE(verdict, SeekResult::error);
        QTRY_COMPARE(m_alerts->shown.size(), 1);
        QCOMPARE(m_alerts->offGuiThread, 0);
    }

    void noAlertForOtherFailures_data() {
        QTest::addColumn<ScriptEngine::Reply>("reply");
        QTest::newRow("-1743") << ScriptedEngine::error(-1743, std::nullopt);
        QTest::newRow("-1729") << ScriptedEngine::error(-1729, std::nullopt);
        QTest::newRow("no number") << ScriptedEngine::error(std::nullopt, std::nullopt);
        QTest::newRow("false") << ScriptedEngine::text("false");
        QTest::newRow("text -1728") << ScriptedEngine::text("-1728");
    }
    void noAlertForOtherFailures() {
        QFETCH(ScriptEngine::Reply, reply);
        m_engine->answer(reply);
        ChromeYouTubeController::seekIfPlaying(10);
        // A marker alert posted after the seek arrives after anything the seek posted.
        UserAlerts::post({QStringLiteral("marker"), {}, {}});
        QTRY_COMPARE(m_alerts->shown.size(), 1);
        QCOMPARE(m_alerts->shown[0].messageText, QStringLiteral("marker"));
    }

    void safariAndNativeSeeksNeverAlert() {
        m_engine->answer(ScriptedEngine::error(-1728, std::nullopt));
        QCOMPARE(SpotifyController::seekIfPlaying(10), SeekResult::error);
        QCOMPARE(SafariYouTubeController::togglePlayPause(), SeekResult::error);
        UserAlerts::post({QStringLiteral("marker"), {}, {}});
        QTRY_COMPARE(m_alerts->shown.size(), 1);
        QCOMPARE(m_alerts->shown[0].messageText, QStringLiteral("marker"));
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
