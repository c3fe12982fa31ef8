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
        m_rig->start({QStringLiteral("Spotify"), QStringLiteral("Music")});
    }
    void cleanup() { m_rig.reset(); }

    // Two successes a second apart with the default 2.5 s: shown until 2.5 s after the second.
    void eachSuccessRestartsTheFeedbackTime() {
        QCOMPARE(m_rig->settings().feedbackDuration(), 2.5);
        ChangeLog changes(status(), &MediaStatus::seekFeedbackChanged);
        status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        const SeekFeedback first = *status().seekFeedback();
        QTest::qWait(1000);
        status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        const qint64 second = changes.now();
        const SeekFeedback again = *status().seekFeedback();
        // Two equal actions are still two values.
        QCOMPARE(again.app, first.app);
        QCOMPARE(again.kind, first.kind);
        QVERIFY(again.id != first.id);
        QVERIFY(!again.id.isNull());

        QTRY_COMPARE_WITH_TIMEOUT(changes.count(), 3, 15000);
        QCOMPARE(status().seekFeedback(), std::nullopt);
        // Cleared once, by the newer timer: not before its full time after the second.
        QVERIFY2(changes.at(2) - second >= 2495,
                 qPrintable(QString::number(changes.at(2) - second)));
        QTest::qWait(300);
        QCOMPARE(changes.count(), 3);
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

    void aRepeatedProblemStaysFiveSecondsAfterTheLast() {
        ChangeLog changes(status(), &MediaStatus::statusMessageChanged);
        const QString text = QStringLiteral("YouTube (Chrome) returned an error");
        status().showStatus(text);
        QTest::qWait(1500);
        status().showStatus(text);
        const qint64 second = changes.now();
        QCOMPARE(changes.count(), 1); // the same text is not published again
        QTRY_COMPARE_WITH_TIMEOUT(changes.count(), 2, 15000);
        QCOMPARE(status().statusMessage(), std::nullopt);
        QVERIFY2(changes.at(1) - second >= 4995,
                 qPrintable(QString::number(changes.at(1) - second)));
    }

    // The timer of an older problem never clears a newer one.
    void aNewProblemReplacesTheOld() {
        ChangeLog changes(status(), &MediaStatus::statusMessageChanged);
        status().showStatus(QStringLiteral("No media apps running"));
        status().showStatus(QStringLiteral("Spotify returned an error"));
        QCOMPARE(changes.count(), 2);
        QCOMPARE(status().statusMessage(),
                 std::optional<QString>(QStringLiteral("Spotify returned an error")));
        QTRY_COMPARE_WITH_TIMEOUT(changes.count(), 3, 15000);
        QVERIFY(changes.at(2) - changes.at(1) >= 4995);
    }

    void titleAndArtistAreSplitAtTheFirstDash() {
        m_rig->players().setNowPlayingText(MediaApp::spotify,
                                           QStringLiteral("Intro - Live - Band"));
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(status().nowPlaying(),
                 std::optional<NowPlaying>(
                     {QStringLiteral("Intro"), QStringLiteral("Live - Band"), MediaApp::spotify}));
    }

    void splitRule_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("artist");
        QTest::newRow("song - band") << "Song - Band"
                                     << "Song"
                                     << "Band";
        QTest::newRow("no separator") << "Just a title"
                                      << "Just a title"
                                      << "";
        QTest::newRow("hyphen only") << "Song-Band"
                                     << "Song-Band"
                                     << "";
        QTest::newRow("empty artist") << "Song - "
                                      << "Song - "
                                      << "";
        QTest::newRow("empty title") << " - Band"
                                     << " - Band"
                                     << "";
        QTest::newRow("only separator") << " - "
                                        << " - "
                                        << "";
        QTest::newRow("two dashes") << "A - B - C"
                                    << "A"
                                    << "B - C";
        QTest::newRow("spaces kept") << "  A  -  B "
                                     << "  A "
                                     << " B ";
    }
    void splitRule() {
        QFETCH(QString, text);
        QFETCH(QString, title);
        QFETCH(QString, artist);
        const NowPlaying nowPlaying = NowPlaying::fromText(MediaApp::chromiumYouTube, text);
        QCOMPARE(nowPlaying.title, title);
        QCOMPARE(nowPlaying.artist, artist);
        QCOMPARE(nowPlaying.app, MediaApp(MediaApp::chromiumYouTube));
    }

    void theFirstPlayingAppInOrderIsShown() {
        m_rig->players().setNowPlayingText(MediaApp::spotify, QString()); // nothing playing
        m_rig->players().setNowPlayingText(MediaApp::appleMusic, QStringLiteral("Blue - Joni"));
        m_rig->running().launch(QStringLiteral("Safari"));
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
        players->setNowPlayingText(MediaApp::spotify, QStringLiteral("Intro - Band"));
        MediaStatus status(players, m_rig->settings());
        const auto title = [&status] {
            return status.nowPlaying() ? status.nowPlaying()->title : QString();
        };
        const auto controllerOver = [&] {
            return std::make_unique<MediaController>(
                players,
                std::make_unique<FakeRunningApps>(QSet<QString>{QStringLiteral("Spotify")}),
                m_rig->settings(), status);
        };
        status.pollNowPlaying();

        auto controller = controllerOver();
        status.pollNowPlaying();
        QTRY_COMPARE(title(), QStringLiteral("Intro"));
        // With no one to ask, nothing is playing.
        controller.reset();
        status.pollNowPlaying();
        QTRY_COMPARE(title(), QString());

        players->setNowPlayingText(MediaApp::spotify, QStringLiteral("Outro - Band"));
        controller = controllerOver();
        status.pollNowPlaying();
        QTRY_COMPARE(title(), QStringLiteral("Outro"));
        // One question for each poll made while a controller lived, none for the others.
        QCOMPARE(players->subjects(Call::nowPlaying),
                 QStringList({QStringLiteral("spotify"), QStringLiteral("spotify")}));
    }

    void nothingPlayingClearsTheLineAtTheNextPoll() {
        m_rig->players().setNowPlayingText(MediaApp::spotify, QStringLiteral("Intro - Band"));
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        m_rig->players().setNowPlayingText(MediaApp::spotify, std::nullopt);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 2);
        QCOMPARE(status().nowPlaying(), std::nullopt);
    }

    // A player that hangs costs its own time-out and the next one is asked.
    void aHungPlayerYieldsNothing() {
        m_rig->players().hang(MediaApp::spotify);
        m_rig->players().setNowPlayingText(MediaApp::appleMusic, QStringLiteral("Blue - Joni"));
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        QElapsedTimer clock;
        clock.start();
        status().pollNowPlaying();
        QTRY_COMPARE_WITH_TIMEOUT(changed.size(), 1, 15000);
        QVERIFY(clock.elapsed() >= 1995); // the now-playing time-out is two seconds
        QCOMPARE(status().nowPlaying()->title, QStringLiteral("Blue"));
    }

    void pollingStartsAtOnceAndStopsWithThePanel() {
        QVERIFY(!status().isPollingNowPlaying());
        status().startNowPlayingPolling();
        QVERIFY(status().isPollingNowPlaying());
        QTRY_COMPARE(m_rig->players().subjects(Call::nowPlaying).size(), 2);
        // The next poll is ten seconds away.
        QTest::qWait(500);
        QCOMPARE(m_rig->players().subjects(Call::nowPlaying).size(), 2);
        status().stopNowPlayingPolling();
        QVERIFY(!status().isPollingNowPlaying());
        // Starting again polls at once again.
        status().startNowPlayingPolling();
        QTRY_COMPARE(m_rig->players().subjects(Call::nowPlaying).size(), 4);
        status().stopNowPlayingPolling();
    }

    void theLastValueStaysAfterPollingStops() {
        m_rig->players().setNowPlayingText(MediaApp::spotify, QStringLiteral("Intro - Band"));
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().startNowPlayingPolling();
        QTRY_COMPARE(changed.size(), 1);
        status().stopNowPlayingPolling();
        QCOMPARE(status().nowPlaying()->title, QStringLiteral("Intro"));
    }

    void noRunningPlayerMeansNothingPlaying() {
        m_rig->players().setNowPlayingText(MediaApp::spotify, QStringLiteral("Intro - Band"));
        QSignalSpy changed(&status(), &MediaStatus::nowPlayingChanged);
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        const auto asked = m_rig->players().subjects(Call::nowPlaying).size();
        m_rig->running().quit(QStringLiteral("Spotify"));
        m_rig->running().quit(QStringLiteral("Music"));
        status().pollNowPlaying();
        QTRY_COMPARE(changed.size(), 2);
        QCOMPARE(status().nowPlaying(), std::nullopt);
        QCOMPARE(m_rig->players().subjects(Call::nowPlaying).size(), asked); // nobody asked
    }

    // A problem on show goes as soon as a request succeeds.
    void aSeekAfterAProblemHidesIt() {
        m_rig->running().quit(QStringLiteral("Spotify"));
        m_rig->running().quit(QStringLiteral("Music"));
        QCOMPARE(m_rig->seek({10}), 1);
        QCOMPARE(status().statusMessage(),
                 std::optional<QString>(QStringLiteral("No media apps running")));
        QTest::qWait(500);
        m_rig->running().launch(QStringLiteral("Spotify"));
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        QCOMPARE(m_rig->seek({10}), 1);
        QCOMPARE(status().statusMessage(), std::nullopt);
        QCOMPARE(status().seekFeedback()->app, MediaApp(MediaApp::spotify));
    }
};

QTEST_GUILESS_MAIN(TestMediaFeedback)
#include "tst_mediafeedback.moc"
