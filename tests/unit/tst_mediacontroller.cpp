#include "models/UserAlert.h"
#include "scripting/ChromeYouTubeController.h"
#include "support/ControllerRig.h"
#include "support/LogCapture.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest>

namespace {

const QString seekChannel = QStringLiteral("com.scrubline.app.seek");
using Call = FakePlayers::Call;
using Answer = PlayerControl::SeekAnswer;

const QString spotify = QStringLiteral("spotify");
const QString music = QStringLiteral("appleMusic");
const QString chrome = QStringLiteral("chromeYouTube");

} // namespace

class TestMediaController : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;

    void start(const QSet<MediaApp>& running) { m_rig->start(running); }
    void seek(const QList<double>& requests, int timeoutMs = 20000) {
        QCOMPARE(m_rig->seek(requests, timeoutMs), requests.size());
    }
    QStringList tried() const { return m_rig->players().subjects(Call::seek); }

private slots:
    // Just started, the list of running apps may not have heard of every player yet: a request
    // waits for it, and then reaches the player it had not heard of, instead of being told that
    // nothing runs.
    void aRequestWaitsUntilTheRunningAppsHaveHeardOfEveryPlayer() {
        m_rig->start({}, false);
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        m_rig->controller().enqueueSeek(10);
        m_rig->controller().enqueueSeek(10);
        // A later event has been handled, and still nothing was tried.
        QSignalSpy later(&m_rig->controller(), &QObject::objectNameChanged);
        QMetaObject::invokeMethod(
            &m_rig->controller(), [this] { m_rig->controller().setObjectName("later"); },
            Qt::QueuedConnection);
        QVERIFY(later.wait(5000));
        QCOMPARE(finished.size(), 0);
        QCOMPARE(tried(), QStringList());
        m_rig->running().launch(MediaApp::spotify);
        m_rig->running().settle();
        QTRY_COMPARE(finished.size(), 2);
        QCOMPARE(tried(), QStringList({spotify, spotify}));
        QCOMPARE(m_rig->status().statusMessage(), std::nullopt);
    }

    void init() { m_rig = std::make_unique<ControllerRig>(referenceApps()); }

    void cleanup() { m_rig.reset(); }

    void theAppThatSeekedIsTriedFirstNextTime() {
        start({MediaApp::spotify, MediaApp::appleMusic});
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        seek({10});
        QCOMPARE(tried(), QStringList({spotify, music}));
        QCOMPARE(m_rig->controller().lastSuccessfulApp(),
                 std::optional<MediaApp>(MediaApp::appleMusic));
        seek({-10});
        QCOMPARE(tried(), QStringList({spotify, music, music}));
    }

    void playPauseTogglesTheFirstNativePlayer() {
        start({MediaApp::spotify, MediaApp::appleMusic});
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        // Music plays, but play/pause acts on Spotify, first in the order...
        seek({0});
        QCOMPARE(m_rig->players().subjects(Call::playPause), QStringList{spotify});
        QCOMPARE(m_rig->status().seekFeedback()->kind, FeedbackKind::playPause);
        QCOMPARE(m_rig->status().seekFeedback()->app, MediaApp(MediaApp::spotify));
        // ...unless Music seeked last.
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::notPlaying});
        seek({5});
        seek({0});
        QCOMPARE(m_rig->players().subjects(Call::playPause), QStringList({spotify, music}));
    }

    void aQuitPlayerIsNoLongerTriedFirst() {
        start({MediaApp::spotify, MediaApp::appleMusic});
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        seek({10});
        QCOMPARE(m_rig->controller().lastSuccessfulApp(),
                 std::optional<MediaApp>(MediaApp::appleMusic));
        m_rig->running().quit(MediaApp::appleMusic);
        QCOMPARE(m_rig->controller().lastSuccessfulApp(), std::nullopt);
        QVERIFY(!m_rig->controller().runningApps().contains(MediaApp::appleMusic));
        m_rig->running().launch(MediaApp::appleMusic);
        seek({10});
        QCOMPARE(tried(), QStringList({spotify, music, spotify, music}));
    }

    void anotherAppQuittingKeepsTheLastSuccessfulOne() {
        start({MediaApp::spotify, MediaApp::appleMusic, MediaApp::safariYouTube});
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        seek({10});
        m_rig->running().quit(MediaApp::spotify);
        m_rig->running().quit(MediaApp::safariYouTube);
        QCOMPARE(m_rig->controller().lastSuccessfulApp(),
                 std::optional<MediaApp>(MediaApp::appleMusic));
    }

    void aLaunchedPlayerBecomesACandidate() {
        start({});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        seek({10});
        QVERIFY(tried().isEmpty());
        m_rig->running().launch(MediaApp::spotify);
        seek({10});
        QCOMPARE(tried(), QStringList{spotify});
    }

    void aDisabledAppIsNeverTried() {
        m_rig->settings().setDisabledApps({MediaApp::appleMusic});
        start({MediaApp::spotify, MediaApp::appleMusic});
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        QSignalSpy status(&m_rig->status(), &MediaStatus::statusMessageChanged);
        seek({10, 0});
        QCOMPARE(tried(), QStringList{spotify});
        QCOMPARE(m_rig->players().subjects(Call::playPause), QStringList{spotify});
        QCOMPARE(status.size(), 0); // nothing played: silence
    }

    void thePriorityOrderIsTheUsers() {
        m_rig->settings().setEnabledApps({MediaApp::chromiumYouTube, MediaApp::appleMusic,
                                          MediaApp::spotify, MediaApp::safariYouTube});
        start({MediaApp::spotify, MediaApp::appleMusic, MediaApp::chromiumYouTube,
               MediaApp::safariYouTube});
        seek({10});
        QCOMPARE(tried(), QStringList({chrome, music, spotify, QStringLiteral("safariYouTube")}));
    }

    void noAppRunning() {
        start({});
        LogCapture log;
        seek({10});
        QCOMPARE(m_rig->status().statusMessage(),
                 std::optional<QString>(QStringLiteral("No media apps running")));
        QVERIFY(m_rig->players().records().isEmpty());
        for (const auto& entry : log.entries()) {
            QVERIFY2(entry.category != seekChannel, qPrintable(entry.message));
        }
        QCOMPARE(m_rig->status().seekFeedback(), std::nullopt);
    }

    void aRefusedPermissionStopsTheTrial() {
        start({MediaApp::spotify, MediaApp::appleMusic});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::permissionDenied});
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        seek({10});
        QCOMPARE(tried(), QStringList{spotify});
        QCOMPARE(m_rig->status().statusMessage(),
                 std::optional<QString>(QStringLiteral(
                     "Grant Spotify permission in System Settings > Privacy > Automation")));
        QCOMPARE(m_rig->controller().lastSuccessfulApp(), std::nullopt);
    }

    void anErrorIsShownOnlyWhenNothingSeeked() {
        start({MediaApp::spotify, MediaApp::appleMusic, MediaApp::safariYouTube});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::error});
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        seek({10});
        QCOMPARE(m_rig->status().statusMessage(), std::nullopt);
        // Spotify and Safari fail, Music plays nothing: the last failing app is named.
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::notPlaying});
        m_rig->players().setSeekAnswer(MediaApp::safariYouTube, {SeekResult::error});
        seek({10});
        QCOMPARE(m_rig->status().statusMessage(),
                 std::optional<QString>(QStringLiteral("YouTube (Safari) returned an error")));
    }

    void chromeWithJavaScriptOff() {
        start({MediaApp::spotify, MediaApp::chromiumYouTube});
        m_rig->players().setSeekAnswer(
            MediaApp::chromiumYouTube,
            {SeekResult::error, ChromeYouTubeController::jsPermissionAlert()});
        // Handed on where the views live, never from the seek thread.
        int offGuiThread = 0;
        connect(
            &m_rig->controller(), &MediaController::alertRequested, this,
            [&offGuiThread] { offGuiThread += QThread::currentThread() != qApp->thread() ? 1 : 0; },
            Qt::DirectConnection);
        seek({10});
        QCOMPARE(tried(), QStringList({spotify, chrome}));
        QCOMPARE(m_rig->status().statusMessage(),
                 std::optional<QString>(QStringLiteral("YouTube (Chrome) returned an error")));
        QCOMPARE(m_rig->alerts().size(), 1);
        QCOMPARE(m_rig->alerts()[0].messageText,
                 QStringLiteral("Chrome JavaScript Access Required"));
        // Again on every such failure.
        seek({10, -10});
        QCOMPARE(m_rig->alerts().size(), 3);
        QCOMPARE(offGuiThread, 0);
    }

    void aFailureWithoutRefusalShowsNoAlert() {
        start({MediaApp::chromiumYouTube});
        m_rig->players().setSeekAnswer(MediaApp::chromiumYouTube, {SeekResult::error});
        seek({10});
        // The request is served only after its alerts were handed on.
        QCOMPARE(m_rig->alerts().size(), 0);
    }

    void aSeekIsLoggedWithItsTime() {
        start({MediaApp::spotify});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        LogCapture log;
        seek({-10, 2.25, 0});
        QStringList lines;
        for (const auto& entry : log.entries()) {
            if (entry.category == seekChannel) {
                QCOMPARE(entry.type, QtInfoMsg);
                lines << entry.message;
            }
        }
        QCOMPARE(lines.size(), 3);
        QVERIFY2(QRegularExpression(QStringLiteral("^Seek -10\\.0s: \\d+\\.\\dms$"))
                     .match(lines[0])
                     .hasMatch(),
                 qPrintable(lines[0]));
        QVERIFY2(lines[1].startsWith(QStringLiteral("Seek 2.2s: ")) ||
                     lines[1].startsWith(QStringLiteral("Seek 2.3s: ")),
                 qPrintable(lines[1]));
        QVERIFY2(lines[2].startsWith(QStringLiteral("Seek 0.0s: ")), qPrintable(lines[2]));
    }

    void nothingPlayingIsSilentButLogged() {
        start({MediaApp::spotify});
        LogCapture log;
        QSignalSpy status(&m_rig->status(), &MediaStatus::statusMessageChanged);
        QSignalSpy feedback(&m_rig->status(), &MediaStatus::seekFeedbackChanged);
        seek({10});
        QCOMPARE(status.size(), 0);
        QCOMPARE(feedback.size(), 0);
        QCOMPARE(log.entries().size(), 1);
    }

    void theActiveAppIsPublishedOnlyWhenItChanges() {
        start({MediaApp::spotify, MediaApp::appleMusic});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        QSignalSpy changed(&m_rig->status(), &MediaStatus::lastActiveAppChanged);
        seek({10, 10, -10});
        QCOMPARE(changed.size(), 1);
        QCOMPARE(m_rig->status().lastActiveApp(), std::optional<MediaApp>(MediaApp::spotify));
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::notPlaying});
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        seek({10});
        QCOMPARE(changed.size(), 2);
        QCOMPARE(m_rig->status().lastActiveApp(), std::optional<MediaApp>(MediaApp::appleMusic));
    }

    void feedbackKindFollowsTheSign() {
        start({MediaApp::spotify});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        seek({0.5});
        QCOMPARE(m_rig->status().seekFeedback()->kind, FeedbackKind::forward);
        seek({-0.5});
        QCOMPARE(m_rig->status().seekFeedback()->kind, FeedbackKind::backward);
        seek({0});
        QCOMPARE(m_rig->status().seekFeedback()->kind, FeedbackKind::playPause);
    }

    void requestsAreServedOneAfterAnotherInOrder() {
        start({MediaApp::spotify});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        m_rig->players().setCallDuration(
            20); // time enough for a second trial to overlap, if it could
        seek({1, 2, 3, 4, 5});
        const QList<FakePlayers::Record> records = m_rig->players().records();
        QCOMPARE(records.size(), 10);
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(records[2 * i].finished, false);
            QCOMPARE(records[2 * i].seconds, double(i + 1));
            QCOMPARE(records[2 * i + 1].finished, true);
            QCOMPARE(records[2 * i + 1].seconds, double(i + 1));
        }
        QCOMPARE(m_rig->players().mostAtOnce(), 1);
    }

    // A request from outside (the command line) waits its turn among the others and hears what
    // its own trial came to, in the panel's words.
    void anAnsweredRequestIsToldItsOwnOutcome() {
        start({MediaApp::spotify, MediaApp::appleMusic});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        m_rig->players().setCallDuration(20);
        QList<std::pair<int, MediaController::Served>> told;
        const auto tell = [&told](int which) {
            return [&told, which](const MediaController::Served& served) {
                told.append({which, served});
            };
        };
        m_rig->controller().enqueueSeek(1);
        m_rig->controller().enqueueAnsweredSeek(-5.5, tell(1));
        m_rig->controller().enqueueSeek(2);
        m_rig->controller().enqueueAnsweredSeek(0, tell(2));
        QTRY_COMPARE(told.size(), 2);
        QCOMPARE(told[0].first, 1);
        QCOMPARE(told[0].second.acted, true);
        QCOMPARE(told[0].second.line, QStringLiteral("Spotify: -5.5s"));
        QCOMPARE(told[1].first, 2);
        QCOMPARE(told[1].second.line, QStringLiteral("Spotify: play/pause"));
        const QList<FakePlayers::Record> records = m_rig->players().records();
        QList<double> order;
        for (const auto& record : records) {
            if (record.finished) {
                order << record.seconds;
            }
        }
        QCOMPARE(order, QList<double>({1, -5.5, 2, 0}));

        // Nothing playing, a refusal, an error: not acted on, each said its own way.
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::notPlaying});
        m_rig->controller().enqueueAnsweredSeek(10, tell(3));
        QTRY_COMPARE(told.size(), 3);
        QCOMPARE(told[2].second.acted, false);
        QCOMPARE(told[2].second.line, QStringLiteral("Nothing is playing"));
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::permissionDenied});
        m_rig->controller().enqueueAnsweredSeek(10, tell(4));
        QTRY_COMPARE(told.size(), 4);
        QCOMPARE(told[3].second.acted, false);
        QCOMPARE(told[3].second.line, *m_rig->status().statusMessage());
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::error});
        m_rig->controller().enqueueAnsweredSeek(10, tell(5));
        QTRY_COMPARE(told.size(), 5);
        QCOMPARE(told[4].second.line, QStringLiteral("Apple Music returned an error"));
    }

    void anAnsweredRequestWithNoAppRunningIsToldAtOnce() {
        start({});
        std::optional<MediaController::Served> told;
        m_rig->controller().enqueueAnsweredSeek(
            10, [&told](const MediaController::Served& served) { told = served; });
        QVERIFY(told.has_value());
        QCOMPARE(told->acted, false);
        QCOMPARE(told->line, QStringLiteral("No media apps running"));
    }

    void aBurstOfTenThousandIsServedInOrder() {
        start({MediaApp::spotify});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        QList<double> burst;
        for (int i = 1; i <= 10000; ++i) {
            burst << (i % 2 == 0 ? i : -i);
        }
        seek(burst, 120000);
        QCOMPARE(m_rig->players().seekSeconds(), burst);
        QCOMPARE(m_rig->players().mostAtOnce(), 1);
    }

    void requestsFromOtherThreadsAreKept() {
        start({MediaApp::spotify});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        std::thread producer([this] {
            for (int i = 1; i <= 100; ++i) {
                m_rig->controller().enqueueSeek(i);
            }
        });
        producer.join();
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 100, 20000);
        QList<double> expected;
        for (int i = 1; i <= 100; ++i) {
            expected << i;
        }
        QCOMPARE(m_rig->players().seekSeconds(), expected);
    }

    // A player that never answers costs its full time-out on the seek thread, and the GUI
    // thread goes on meanwhile: timers fire and new requests queue up.
    void aHungTrialLeavesTheGuiThreadFree() {
        start({MediaApp::spotify, MediaApp::appleMusic});
        m_rig->players().hang(MediaApp::spotify);
        m_rig->players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        int ticks = 0;
        QTimer ticker;
        ticker.setInterval(10);
        connect(&ticker, &QTimer::timeout, this, [&ticks] { ++ticks; });
        ticker.start();

        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        QElapsedTimer clock;
        clock.start();
        m_rig->controller().enqueueSeek(10);
        QTRY_VERIFY(m_rig->players().waitForCallsInProgress(1, 0));
        // Well inside the hung call, the GUI thread still runs its timers...
        QTRY_VERIFY(ticks >= 20);
        QVERIFY(m_rig->players().waitForCallsInProgress(1, 0));
        QCOMPARE(finished.size(), 0);
        // ...and takes new requests at once.
        m_rig->controller().enqueueSeek(-10);
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 2, 20000);
        QVERIFY(clock.elapsed() >= 2900);
        QCOMPARE(m_rig->controller().lastSuccessfulApp(),
                 std::optional<MediaApp>(MediaApp::appleMusic));
        QCOMPARE(tried(), QStringList({spotify, music, music}));
    }
};

QTEST_GUILESS_MAIN(TestMediaController)
#include "tst_mediacontroller.moc"
