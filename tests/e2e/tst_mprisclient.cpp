// The MPRIS client against real players on a private session bus: mpv with its MPRIS plugin,
// and our fake player where Spotify's ways are needed.
#include "platform/linux/MprisClient.h"
#include "support/PlayerProcess.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QtTest>

#include <thread>

namespace {

const QString mpvName = QStringLiteral("org.mpris.MediaPlayer2.mpv");
const QString spotifyName = QStringLiteral("org.mpris.MediaPlayer2.spotify");

// Seconds, from the player's microseconds.
double positionOf(const QString& service) {
    const auto state = MprisClient::readState(PlayerBus::session(), service, 3000);
    return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
}

} // namespace

class TestMprisClient : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<PlayerProcess> m_mpv;

    void startMpv() {
        m_mpv = PlayerProcess::mpv(PlayerProcess::generatedAudio(600));
        QVERIFY(m_mpv->waitForBusName(mpvName));
        // Playing, and past the very start, so that a seek back has room.
        QTRY_VERIFY_WITH_TIMEOUT(positionOf(mpvName) > 0.2, 20000);
    }

    std::unique_ptr<PlayerProcess> startSpotify(const QStringList& extra = {}) {
        auto player =
            PlayerProcess::fake(QStringList{QStringLiteral("--name"), QStringLiteral("spotify"),
                                            QStringLiteral("--spotify")} +
                                extra);
        if (!player->waitForBusName(spotifyName)) {
            qFatal("The fake Spotify did not start");
        }
        return player;
    }

private slots:
    void cleanup() { m_mpv.reset(); }

    void readsWhatMpvPlays() {
        startMpv();
        const auto state = MprisClient::readState(PlayerBus::session(), mpvName, 3000);
        QVERIFY(state.has_value());
        QVERIFY(state->isPlaying());
        QCOMPARE(state->lengthUs, std::optional<qint64>(600'000'000));
        QVERIFY(state->trackId.has_value());
        QVERIFY(state->positionUs.has_value());
        QVERIFY(state->title.startsWith(QStringLiteral("tone-600")));
        const NowPlaying playing = MprisClient::nowPlaying(*state);
        QCOMPARE(playing.title, state->title);
        QCOMPARE(playing.artists, QStringList()); // no artist: just the title
    }

    void seeksForwardAndBack() {
        startMpv();
        QElapsedTimer clock;
        const double before = positionOf(mpvName);
        clock.start();
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), mpvName, 10, 3000),
                 SeekResult::seeked);
        // Moved by the step, plus whatever time passed while it played on.
        QTRY_VERIFY(positionOf(mpvName) >= before + 9.5);
        const double ahead = positionOf(mpvName);
        QVERIFY2(ahead <= before + 10.5 + clock.elapsed() / 1000.0,
                 qPrintable(QString::number(ahead)));

        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), mpvName, -5, 3000),
                 SeekResult::seeked);
        QTRY_VERIFY(positionOf(mpvName) <= ahead - 4.5 + clock.elapsed() / 1000.0);
    }

    void aSeekBackPastTheStartStopsAtZero() {
        startMpv();
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), mpvName, -100, 3000),
                 SeekResult::seeked);
        QTRY_VERIFY(positionOf(mpvName) <= 0.5 + clock.elapsed() / 1000.0);
        QVERIFY(positionOf(mpvName) >= 0);
    }

    void aPausedPlayerIsLeftAlone() {
        startMpv();
        QCOMPARE(MprisClient::playPause(PlayerBus::session(), mpvName, 3000), SeekResult::seeked);
        QTRY_COMPARE(MprisClient::readState(PlayerBus::session(), mpvName, 3000)->playbackStatus,
                     QStringLiteral("Paused"));
        const double paused = positionOf(mpvName);
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), mpvName, 30, 3000),
                 SeekResult::notPlaying);
        QTest::qWait(200);
        QCOMPARE(positionOf(mpvName), paused);
        QVERIFY(
            MprisClient::nowPlaying(*MprisClient::readState(PlayerBus::session(), mpvName, 3000))
                .isEmpty());
        QCOMPARE(MprisClient::playPause(PlayerBus::session(), mpvName, 3000), SeekResult::seeked);
        QTRY_VERIFY(MprisClient::readState(PlayerBus::session(), mpvName, 3000)->isPlaying());
    }

    void aStoppedProcessTimesOut() {
        startMpv();
        m_mpv->stop();
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), mpvName, 10, 500),
                 SeekResult::error);
        QVERIFY(clock.elapsed() >= 450);
        QCOMPARE(MprisClient::playPause(PlayerBus::session(), mpvName, 300), SeekResult::error);
        clock.restart();
        QCOMPARE(MprisClient::seekRelative(PlayerBus::session(), mpvName, 1'000'000, 400),
                 SeekResult::error);
        QVERIFY(clock.elapsed() >= 350);
        QVERIFY(!MprisClient::readState(PlayerBus::session(), mpvName, 300).has_value());
        m_mpv->resume();
        QTRY_VERIFY(MprisClient::readState(PlayerBus::session(), mpvName, 3000).has_value());
    }

    void aPlayerThatQuitsMidCallIsAnError() {
        startMpv();
        m_mpv->stop(); // holds the call until the player is gone
        SeekResult result = SeekResult::seeked;
        qint64 took = 0;
        std::thread caller([&result, &took] {
            QElapsedTimer clock;
            clock.start();
            result = MprisClient::seekIfPlaying(PlayerBus::session(), mpvName, 10, 20000);
            took = clock.elapsed();
        });
        QTest::qWait(300);
        m_mpv->kill();
        caller.join();
        QCOMPARE(result, SeekResult::error);
        QVERIFY2(took < 15000, qPrintable(QString::number(took))); // not the whole time-out
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), mpvName, 10, 3000),
                 SeekResult::error);
    }

    // Spotify's track id comes as a string and its length typed t; the position is read at
    // the moment of the seek and the target kept within the track.
    void spotifyIsSetToAClampedPosition() {
        auto spotify = startSpotify(
            {QStringLiteral("--track"), QStringLiteral("/com/spotify/track/4uLU6hMCjMI75M1A2tKUQC"),
             QStringLiteral("--position"), QStringLiteral("30"), QStringLiteral("--length"),
             QStringLiteral("240"), QStringLiteral("--paused")});
        const auto state = MprisClient::readState(PlayerBus::session(), spotifyName, 3000);
        QVERIFY(state.has_value());
        QCOMPARE(state->lengthUs, std::optional<qint64>(240'000'000));
        QCOMPARE(state->trackId, std::optional<QString>(
                                     QStringLiteral("/com/spotify/track/4uLU6hMCjMI75M1A2tKUQC")));
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), spotifyName, -10, 3000),
                 SeekResult::notPlaying);
        QCOMPARE(MprisClient::playPause(PlayerBus::session(), spotifyName, 3000),
                 SeekResult::seeked);
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), spotifyName, -40, 3000),
                 SeekResult::seeked);
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), spotifyName, 300, 3000),
                 SeekResult::seeked);
        QStringList sets;
        for (const QString& call : spotify->calls()) {
            if (call.startsWith(QStringLiteral("SetPosition"))) {
                sets << call;
            }
        }
        QCOMPARE(sets, QStringList({QStringLiteral("SetPosition "
                                                   "/com/spotify/track/4uLU6hMCjMI75M1A2tKUQC 0"),
                                    QStringLiteral("SetPosition "
                                                   "/com/spotify/track/4uLU6hMCjMI75M1A2tKUQC "
                                                   "240000000")}));
    }

    void aTrackIdThatIsNoPathSeeksRelatively() {
        auto spotify = startSpotify({QStringLiteral("--track"), QStringLiteral("spotify:track:x"),
                                     QStringLiteral("--position"), QStringLiteral("30")});
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), spotifyName, -2.5, 3000),
                 SeekResult::seeked);
        QVERIFY(spotify->calls().contains(QStringLiteral("Seek -2500000")));
    }

    void anUnknownLengthSeeksRelatively() {
        auto spotify = startSpotify({QStringLiteral("--length"), QStringLiteral("0")});
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), spotifyName, 15, 3000),
                 SeekResult::seeked);
        QVERIFY(spotify->calls().contains(QStringLiteral("Seek 15000000")));
    }

    void titleAndArtists() {
        auto spotify = startSpotify({QStringLiteral("--title"), QStringLiteral("Intro - Live"),
                                     QStringLiteral("--artist"), QStringLiteral("Band"),
                                     QStringLiteral("--artist"), QStringLiteral("Guest")});
        const auto state = MprisClient::readState(PlayerBus::session(), spotifyName, 3000);
        // The title whole and the artists apart, as the player says them.
        const NowPlaying playing = MprisClient::nowPlaying(*state);
        QCOMPARE(playing.title, QStringLiteral("Intro - Live"));
        QCOMPARE(playing.artists, QStringList({QStringLiteral("Band"), QStringLiteral("Guest")}));
    }

    void aPlayerThatNeverAnswersIsAnError() {
        auto silent = startSpotify({QStringLiteral("--silent")});
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(MprisClient::seekIfPlaying(PlayerBus::session(), spotifyName, 10, 400),
                 SeekResult::error);
        QVERIFY(clock.elapsed() >= 350);
    }

    // On a connection other than the default one, commands go through QtDBus instead.
    void anotherConnectionWorksAlike() {
        startMpv();
        const QDBusConnection other =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("other"));
        QVERIFY(other.isConnected());
        const double before = positionOf(mpvName);
        QCOMPARE(MprisClient::seekRelative(PlayerBus::through(other), mpvName, 20'000'000, 3000),
                 SeekResult::seeked);
        QTRY_VERIFY(positionOf(mpvName) >= before + 19.5);
        QCOMPARE(MprisClient::playPause(PlayerBus::through(other), mpvName, 3000),
                 SeekResult::seeked);
        QTRY_VERIFY(!MprisClient::readState(PlayerBus::session(), mpvName, 3000)->isPlaying());
        QCOMPARE(MprisClient::seekRelative(PlayerBus::through(other),
                                           QStringLiteral("org.mpris.MediaPlayer2.none"), 1, 3000),
                 SeekResult::error);
        QDBusConnection::disconnectFromBus(QStringLiteral("other"));
    }

    // How calls go is the bus object's choice, made by whoever made it, whatever connection it
    // holds: the session bus taken through QtDBus has no connection of this thread's own, and
    // hears nothing there.
    void theWayCallsGoIsTheBusObjectsChoice() {
        auto spotify = startSpotify();
        const QString owner =
            QDBusConnection::sessionBus().interface()->serviceOwner(spotifyName).value();
        QVERIFY(!owner.isEmpty());
        const PlayerBus direct = PlayerBus::session();
        const PlayerBus throughQt = PlayerBus::through(QDBusConnection::sessionBus());
        QVERIFY(direct.callsDirectly());
        QVERIFY(!throughQt.callsDirectly());
        direct.followPlayer(owner);
        throughQt.followPlayer(owner);
        QCOMPARE(MprisClient::playPause(throughQt, spotifyName, 3000), SeekResult::seeked);
        QTRY_COMPARE(direct.lastHeardStatus(owner), DirectBusCalls::Heard::other);
        QCOMPARE(throughQt.lastHeardStatus(owner), DirectBusCalls::Heard::nothing);
    }

    void noSuchPlayerIsAnError() {
        QCOMPARE(MprisClient::seekIfPlaying(
                     PlayerBus::session(), QStringLiteral("org.mpris.MediaPlayer2.none"), 10, 3000),
                 SeekResult::error);
        QCOMPARE(MprisClient::playPause(PlayerBus::session(),
                                        QStringLiteral("org.mpris.MediaPlayer2.none"), 3000),
                 SeekResult::error);
    }
};

QTEST_GUILESS_MAIN(TestMprisClient)
#include "tst_mprisclient.moc"
