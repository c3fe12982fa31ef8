#include "support/Barrier.h"
#include "support/ControllerRig.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

namespace {

using Call = FakePlayers::Call;

// When a value changed, by the controller's own signal, on one clock.
class ChangeLog {
public:
    template <class Signal>
    ChangeLog(MediaStatus& controller, Signal signal) {
        m_clock.start();
        QObject::connect(&controller, signal, &controller,
                         [this] { m_times << m_clock.elapsed(); });
    }
    qsizetype count() const { return m_times.size(); }
    qint64 at(qsizetype i) const { return m_times.at(i); }
    qint64 now() const { return m_clock.elapsed(); }

private:
    QElapsedTimer m_clock;
    QList<qint64> m_times;
};

} // namespace

// Timers are checked by what happens and in which order; the only timing asserted is that
// nothing expires early, which holds however loaded the machine is.
class TestMediaFeedback : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;

    MediaStatus& status() { return m_rig->status(); }

private slots:
    void init() {
        m_rig = std::make_unique<ControllerRig>(referenceApps());
        m_rig->start({MediaApp::spotify, MediaApp::appleMusic});
    }
    void cleanup() { m_rig.reset(); }

    // The program's times; the tests below run on shorter ones.
    void theTimesAreTwoAndAHalfFiveAndTenSeconds() {
        QCOMPARE(m_rig->settings().feedbackDuration(), 2.5);
        QCOMPARE(status().statusDuration(), 5000);
        QCOMPARE(status().nowPlayingInterval(), 10000);
    }

    // Two successes half the feedback time apart: shown until the whole time after the second.
    void eachSuccessRestartsTheFeedbackTime() {
        m_rig->settings().setFeedbackDuration(0.3);
        ChangeLog changes(status(), &MediaStatus::seekFeedbackChanged);
        status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        const SeekFeedback first = *status().seekFeedback();
        QTest::qWait(150);
        status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        const qint64 second = changes.now();
        const SeekFeedback again = *status().seekFeedback();
        // Two equal actions are still two values.
        QCOMPARE(again.app, first.app);
        QCOMPARE(again.kind, first.kind);
        QVERIFY(again.id != first.id);
        QVERIFY(!again.id.isNull());

        QTRY_COMPARE(changes.count(), 3);
        QCOMPARE(status().seekFeedback(), std::nullopt);
        // Cleared by the newer timer: not before its full time after the second.
        QVERIFY2(changes.at(2) - second >= 295,
                 qPrintable(QString::number(changes.at(2) - second)));
        // Cleared once: a later feedback, shown and cleared in its turn, is all that follows.
        status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_COMPARE(changes.count(), 5);
        QCOMPARE(status().seekFeedback(), std::nullopt);
    }

    void theFeedbackTimeFollowsTheSetting() {
        m_rig->settings().setFeedbackDuration(0.1);
        ChangeLog changes(status(), &MediaStatus::seekFeedbackChanged);
        status().showFeedback(MediaApp::appleMusic, FeedbackKind::backward);
        QTRY_COMPARE(changes.count(), 2);
        QVERIFY(changes.at(1) - changes.at(0) >= 95);

        m_rig->settings().setFeedbackDuration(0.7);
        const qint64 shown = changes.now();
        status().showFeedback(MediaApp::appleMusic, FeedbackKind::backward);
        QTRY_COMPARE(changes.count(), 4);
        QVERIFY(changes.at(3) - shown >= 695);
    }

    void aSuccessHidesAProblemAtOnce() {
        status().showStatus(QStringLiteral("No media apps running"));
        QSignalSpy changes(&status(), &MediaStatus::statusMessageChanged);
        status().showFeedback(MediaApp::spotify, FeedbackKind::playPause);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(status().statusMessage(), std::nullopt);
    }

    void aRepeatedProblemStaysItsWholeTimeAfterTheLast() {
        status().setStatusDuration(400);
        ChangeLog changes(status(), &MediaStatus::statusMessageChanged);
        const QString text = QStringLiteral("YouTube (Chrome) returned an error");
        status().showStatus(text);
        QTest::qWait(200);
        status().showStatus(text);
        const qint64 second = changes.now();
        QCOMPARE(changes.count(), 1); // the same text is not published again
        QTRY_COMPARE(changes.count(), 2);
        QCOMPARE(status().statusMessage(), std::nullopt);
        QVERIFY2(changes.at(1) - second >= 395,
                 qPrintable(QString::number(changes.at(1) - second)));
    }

    // The timer of an older problem never clears a newer one.
    void aNewProblemReplacesTheOld() {
        status().setStatusDuration(300);
        ChangeLog changes(status(), &MediaStatus::statusMessageChanged);
        status().showStatus(QStringLiteral("No media apps running"));
        status().showStatus(QStringLiteral("Spotify returned an error"));
        QCOMPARE(changes.count(), 2);
        QCOMPARE(status().statusMessage(),
                 std::optional<QString>(QStringLiteral("Spotify returned an error")));
        QTRY_COMPARE(changes.count(), 3);
        QVERIFY(changes.at(2) - changes.at(1) >= 295);
    }

    // What the player says goes through whole: a title with " - " in it stays the title, and
    // each artist stays apart.
    void theTitleAndArtistsComeAsThePlayerSaysThem() {
        m_rig->players().setNowPlaying(MediaApp::spotify, QStringLiteral("Intro - Live"),
                                       {QStringLiteral("Band"), QStringLiteral("Guest")});
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(status().nowPlaying(),
                 std::optional<NowPlaying>({QStringLiteral("Intro - Live"),
                                            {QStringLiteral("Band"), QStringLiteral("Guest")},
                                            MediaApp::spotify}));
    }

    // An answer with no title is nothing playing, whatever else it says.
    void anAnswerWithoutATitleIsNothing() {
        m_rig->players().setNowPlaying(MediaApp::spotify, QString(), {QStringLiteral("Band")});
        m_rig->players().setNowPlaying(MediaApp::appleMusic, QStringLiteral("Blue"));
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(status().nowPlaying()->app, MediaApp(MediaApp::appleMusic));
    }

    void theFirstPlayingAppInOrderIsShown() {
        m_rig->players().setNowPlaying(MediaApp::spotify, QString()); // nothing playing
        m_rig->players().setNowPlaying(MediaApp::appleMusic, QStringLiteral("Blue"),
                                       {QStringLiteral("Joni")});
        m_rig->running().launch(MediaApp::safariYouTube);
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(status().nowPlaying()->app, MediaApp(MediaApp::appleMusic));
        // Asked in order, stopping at the first that plays.
        QCOMPARE(m_rig->players().subjects(Call::nowPlaying),
                 QStringList({QStringLiteral("spotify"), QStringLiteral("appleMusic")}));
    }

    // The status is made before the controller and may outlive it: it asks no player until a
    // controller tells it which apps run, and none once that controller is gone.
    void theStatusAsksOnlyWhatALivingControllerWouldTry() {
        auto players = std::make_shared<FakePlayers>();
        players->setNowPlaying(MediaApp::spotify, QStringLiteral("Intro"),
                               {QStringLiteral("Band")});
        MediaStatus status(players, m_rig->settings());
        const auto title = [&status] {
            return status.nowPlaying() ? status.nowPlaying()->title : QString();
        };
        const auto controllerOver = [&] {
            return std::make_unique<MediaController>(
                players, std::make_unique<FakeRunningApps>(QSet<MediaApp>{MediaApp::spotify}),
                m_rig->settings(), status, QString(), MediaApp::BrowserNaming::bySite);
        };
        status.pollNowPlaying();

        auto controller = controllerOver();
        status.pollNowPlaying();
        QTRY_COMPARE(title(), QStringLiteral("Intro"));
        // With no one to ask, nothing is playing.
        controller.reset();
        status.pollNowPlaying();
        QTRY_COMPARE(title(), QString());

        players->setNowPlaying(MediaApp::spotify, QStringLiteral("Outro"),
                               {QStringLiteral("Band")});
        controller = controllerOver();
        status.pollNowPlaying();
        QTRY_COMPARE(title(), QStringLiteral("Outro"));
        // One question for each poll made while a controller lived, none for the others.
        QCOMPARE(players->subjects(Call::nowPlaying),
                 QStringList({QStringLiteral("spotify"), QStringLiteral("spotify")}));
    }

    void nothingPlayingClearsTheLineAtTheNextPoll() {
        m_rig->players().setNowPlaying(MediaApp::spotify, QStringLiteral("Intro"),
                                       {QStringLiteral("Band")});
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        m_rig->players().setNowPlaying(MediaApp::spotify, std::nullopt);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 2);
        QCOMPARE(status().nowPlaying(), std::nullopt);
    }

    // A player that hangs costs its own time-out and the next one is asked.
    void aHungPlayerYieldsNothing() {
        m_rig->players().hang(MediaApp::spotify);
        m_rig->players().setNowPlaying(MediaApp::appleMusic, QStringLiteral("Blue"),
                                       {QStringLiteral("Joni")});
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        QElapsedTimer clock;
        clock.start();
        status().pollNowPlaying();
        QTRY_COMPARE_WITH_TIMEOUT(changed.size(), 1, 15000);
        QVERIFY(clock.elapsed() >= 1995); // the now-playing time-out is two seconds
        QCOMPARE(status().nowPlaying()->title, QStringLiteral("Blue"));
    }

    void pollingStartsAtOnceRepeatsAndStopsWithThePanel() {
        const auto asked = [this] {
            return m_rig->players().subjects(Call::nowPlaying).size();
        };
        // With the next poll a minute away, a poll that comes is the first, made at once.
        status().setNowPlayingInterval(60'000);
        QVERIFY(!status().isPollingNowPlaying());
        status().startNowPlayingPolling();
        QVERIFY(status().isPollingNowPlaying());
        QTRY_COMPARE(asked(), 2);
        status().stopNowPlayingPolling();
        QVERIFY(!status().isPollingNowPlaying());
        // Starting again polls at once again, then at the interval.
        status().setNowPlayingInterval(50);
        status().startNowPlayingPolling();
        QTRY_VERIFY(asked() >= 6);
        status().stopNowPlayingPolling();
        // A timer of several intervals, started after the stop, ends after any poll still due
        // and any answer still on its way; from then on nothing more is asked.
        QVERIFY(Barrier::timerFired(200));
        const auto stopped = asked();
        QVERIFY(Barrier::timerFired(200));
        QCOMPARE(asked(), stopped);
    }

    void theLastValueStaysAfterPollingStops() {
        m_rig->players().setNowPlaying(MediaApp::spotify, QStringLiteral("Intro"),
                                       {QStringLiteral("Band")});
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().startNowPlayingPolling();
        QTRY_COMPARE(changed.size(), 1);
        status().stopNowPlayingPolling();
        QCOMPARE(status().nowPlaying()->title, QStringLiteral("Intro"));
    }

    void noRunningPlayerMeansNothingPlaying() {
        m_rig->players().setNowPlaying(MediaApp::spotify, QStringLiteral("Intro"),
                                       {QStringLiteral("Band")});
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        const auto asked = m_rig->players().subjects(Call::nowPlaying).size();
        m_rig->running().quit(MediaApp::spotify);
        m_rig->running().quit(MediaApp::appleMusic);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 2);
        QCOMPARE(status().nowPlaying(), std::nullopt);
        QCOMPARE(m_rig->players().subjects(Call::nowPlaying).size(), asked); // nobody asked
    }

    // A problem on show goes as soon as a request succeeds.
    void aSeekAfterAProblemHidesIt() {
        m_rig->running().quit(MediaApp::spotify);
        m_rig->running().quit(MediaApp::appleMusic);
        QCOMPARE(m_rig->seek({10}), 1);
        QCOMPARE(status().statusMessage(),
                 std::optional<QString>(QStringLiteral("No media apps running")));
        m_rig->running().launch(MediaApp::spotify);
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        QCOMPARE(m_rig->seek({10}), 1);
        QCOMPARE(status().statusMessage(), std::nullopt);
        QCOMPARE(status().seekFeedback()->app, MediaApp(MediaApp::spotify));
    }
};

QTEST_GUILESS_MAIN(TestMediaFeedback)
#include "tst_mediafeedback.moc"
