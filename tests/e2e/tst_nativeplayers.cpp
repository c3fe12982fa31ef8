// Native players, played for real on the private bus: mpv with its MPRIS plugin, VLC as an
// unprivileged user, and Audacious headless. Each is one of the "Other players", moved by relative
// steps, and each step is read back from the player itself.
#include "platform/linux/MprisClient.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "support/PlayerProcess.h"

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QtTest>

#include <cmath>

namespace {

QString busNameOf(const QString& player) {
    return QStringLiteral("org.mpris.MediaPlayer2.") + player;
}

// The player on `file`; `once`: played to its end and paused there, else looped where the
// player can.
std::unique_ptr<PlayerProcess> start(const QString& player, const QString& file, bool once) {
    if (player == QLatin1String("vlc")) {
        return PlayerProcess::vlc(file);
    }
    if (player == QLatin1String("audacious")) {
        return PlayerProcess::audacious(file); // one track, which it plays once
    }
    return once ? PlayerProcess::mpvOnce(file) : PlayerProcess::mpv(file);
}

std::optional<MprisClient::State> stateOf(const QString& name) {
    return MprisClient::readState(PlayerBus::session(), name, 3000);
}

double positionOf(const QString& name) {
    const auto state = stateOf(name);
    return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
}

} // namespace

class TestNativePlayers : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<PlayerProcess> m_player;
    std::unique_ptr<MprisPlayerRegistry> m_registry;
    std::unique_ptr<MprisPlayerControl> m_control;
    QString m_name;

    void startPlayer(const QString& player, int seconds, bool once) {
        m_name = busNameOf(player);
        m_player = start(player, PlayerProcess::generatedAudio(seconds, true), once);
        QVERIFY2(m_player->waitForBusName(m_name), qPrintable(player + " did not start"));
        QTRY_VERIFY_WITH_TIMEOUT(positionOf(m_name) > 0.5, 20000);
        m_registry = std::make_unique<MprisPlayerRegistry>(PlayerBus::session());
        m_control = std::make_unique<MprisPlayerControl>(*m_registry);
        QTRY_VERIFY(m_registry->playersOf(MediaApp::otherPlayers).contains(m_name));
    }

    // Steps and says how far from its target the player landed, in seconds: where it was
    // plus the step plus the time between the two reads.
    double missBy(double seconds) {
        QElapsedTimer clock;
        clock.start();
        const double before = positionOf(m_name);
        if (m_control->seekIfPlaying(MediaApp::otherPlayers, seconds, 3.0).result !=
            SeekResult::seeked) {
            return 1000;
        }
        QTest::qWait(400); // the player takes the step in its own time
        const double after = positionOf(m_name);
        const double target = before + seconds + static_cast<double>(clock.elapsed()) / 1000;
        qInfo("%+.1f s: from %.3f to %.3f, %.3f s off", seconds, before, after, after - target);
        return after - target;
    }

private slots:
    void cleanup() {
        m_control.reset();
        m_registry.reset();
        m_player.reset();
    }

    void stepsLandWhereTheyShould_data() {
        QTest::addColumn<QString>("player");
        QTest::newRow("mpv") << "mpv";
        QTest::newRow("vlc") << "vlc";
        QTest::newRow("audacious") << "audacious";
    }
    void stepsLandWhereTheyShould() {
        QFETCH(QString, player);
        startPlayer(player, 600, false);
        for (const double step : {10.0, -5.0, 30.0, -10.0, 2.5}) {
            const double miss = missBy(step);
            QVERIFY2(std::abs(miss) <= 0.5, qPrintable(QStringLiteral("%1 s off").arg(miss)));
        }
    }

    void aPausedPlayerIsNotMoved_data() { stepsLandWhereTheyShould_data(); }
    void aPausedPlayerIsNotMoved() {
        QFETCH(QString, player);
        startPlayer(player, 600, false);
        QCOMPARE(m_control->playPause(MediaApp::otherPlayers, 3.0), SeekResult::seeked);
        QTRY_COMPARE(stateOf(m_name)->playbackStatus, QStringLiteral("Paused"));
        const double paused = positionOf(m_name);
        QCOMPARE(m_control->seekIfPlaying(MediaApp::otherPlayers, 30, 3.0).result,
                 SeekResult::notPlaying);
        QCOMPARE(m_control->seekIfPlaying(MediaApp::otherPlayers, -30, 3.0).result,
                 SeekResult::notPlaying);
        QTest::qWait(400);
        QVERIFY(std::abs(positionOf(m_name) - paused) < 0.05);
        QCOMPARE(m_control->playPause(MediaApp::otherPlayers, 3.0), SeekResult::seeked);
        QTRY_VERIFY(stateOf(m_name)->isPlaying());
    }

    // Past the start the player stops at 0; past the end, at the end of the same track, where
    // it pauses as it was told to, rather than going on to another (Audacious, with nothing
    // after it, stops).
    void stepsPastTheEndsAreClamped_data() { stepsLandWhereTheyShould_data(); }
    void stepsPastTheEndsAreClamped() {
        QFETCH(QString, player);
        startPlayer(player, 60, true);
        QCOMPARE(m_control->seekIfPlaying(MediaApp::otherPlayers, 20, 3.0).result,
                 SeekResult::seeked);
        QTRY_VERIFY(positionOf(m_name) > 20);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(m_control->seekIfPlaying(MediaApp::otherPlayers, -1000, 3.0).result,
                 SeekResult::seeked);
        QTRY_VERIFY(positionOf(m_name) <= 0.5 + static_cast<double>(clock.elapsed()) / 1000);
        QVERIFY(positionOf(m_name) >= 0);
        const auto track = stateOf(m_name)->trackId;
        QTest::qWait(300);
        QCOMPARE(m_control->seekIfPlaying(MediaApp::otherPlayers, 1000, 3.0).result,
                 SeekResult::seeked);
        // Audacious ends its playlist there: it stops and goes back to 0, so only the stop, long
        // before the 40 s left would have played, shows that it reached the end.
        if (player == QLatin1String("audacious")) {
            QTRY_COMPARE_WITH_TIMEOUT(stateOf(m_name)->playbackStatus, QStringLiteral("Stopped"),
                                      10000);
            QCOMPARE(stateOf(m_name)->trackId, track);
            return;
        }
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(m_name)->playbackStatus, QStringLiteral("Paused"), 10000);
        const auto atEnd = stateOf(m_name);
        QCOMPARE(atEnd->trackId, track);
        QVERIFY2(atEnd->positionUs && *atEnd->positionUs >= 59'000'000,
                 qPrintable(QString::number(atEnd->positionUs.value_or(-1))));
    }
};

QTEST_GUILESS_MAIN(TestNativePlayers)
#include "tst_nativeplayers.moc"
