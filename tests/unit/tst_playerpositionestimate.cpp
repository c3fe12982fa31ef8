// Where a player is between what it says, whether a seek may go there relatively without a read,
// and the moment after our seek that a browser's flicker is held over: on a clock moved by hand.
#include "platform/linux/PlayerPositionEstimate.h"

#include <QtTest>

namespace {

constexpr qint64 msNs = 1'000'000;
constexpr qint64 secNs = 1'000 * msNs;
constexpr qint64 secUs = 1'000'000;
constexpr qint64 unknown = -1;

const QString track1 = QStringLiteral("/org/scrubline/track/1");
const QString track2 = QStringLiteral("/org/scrubline/track/2");

QVariantMap metadata(const QString& trackId, qint64 lengthUs = 240 * secUs,
                     const QString& title = QStringLiteral("Tone")) {
    QVariantMap map{{QStringLiteral("xesam:title"), title}};
    if (!trackId.isEmpty()) {
        map.insert(QStringLiteral("mpris:trackid"), trackId);
    }
    if (lengthUs != unknown) {
        map.insert(QStringLiteral("mpris:length"), lengthUs);
    }
    return map;
}

// The Player properties as a full read gives them.
QVariantMap properties(const QString& status, qint64 positionUs = 100 * secUs, double rate = 1.0,
                       const QVariantMap& meta = metadata(track1)) {
    QVariantMap map{{QStringLiteral("PlaybackStatus"), status},
                    {QStringLiteral("Rate"), rate},
                    {QStringLiteral("Metadata"), meta}};
    if (positionUs != unknown) {
        map.insert(QStringLiteral("Position"), positionUs);
    }
    return map;
}

MprisClient::State read(const QVariantMap& properties) {
    MprisClient::State state;
    MprisClient::apply(state, properties);
    return state;
}

MprisClient::State playing(qint64 positionUs = 100 * secUs, double rate = 1.0) {
    return read(properties(QStringLiteral("Playing"), positionUs, rate));
}

QVariantMap status(const QString& playbackStatus) {
    return {{QStringLiteral("PlaybackStatus"), playbackStatus}};
}

// What Chromium says for a moment after a seek.
QVariantMap vanished() {
    return {{QStringLiteral("PlaybackStatus"), QStringLiteral("Stopped")},
            {QStringLiteral("Metadata"), QVariantMap{}}};
}

QVariantMap backInTrack1() {
    return {{QStringLiteral("PlaybackStatus"), QStringLiteral("Playing")},
            {QStringLiteral("Metadata"), metadata(track1)}};
}

qint64 positionOf(const PlayerPositionEstimate& estimate) {
    return estimate.positionUs().value_or(unknown);
}

} // namespace

class TestPlayerPositionEstimate : public QObject {
    Q_OBJECT

private:
    qint64 m_now = 0;

    PlayerPositionEstimate estimate() {
        return PlayerPositionEstimate([this] { return m_now; });
    }

    // Read playing at 100 s of 240 s, and known to announce its seeks.
    PlayerPositionEstimate announced() {
        PlayerPositionEstimate e = estimate();
        e.remember(playing());
        e.seeked(100 * secUs);
        return e;
    }

    // Our seek to 110 s, announced, then the flicker, said 300 ms after the seek was sent: held
    // over from now on, at 110.2 s.
    PlayerPositionEstimate heldAfterOurSeek() {
        PlayerPositionEstimate e = announced();
        e.expectSeeked();
        m_now += 100 * msNs;
        e.seeked(110 * secUs);
        m_now += 200 * msNs;
        e.applyChanges(vanished());
        return e;
    }

private slots:
    // Any moment will do as the start: only differences between readings count.
    void init() { m_now = 7 * secNs; }

    void nothingIsKnownBeforeARead() {
        PlayerPositionEstimate e = estimate();
        QVERIFY(!e.known());
        QCOMPARE(positionOf(e), unknown);
        QVERIFY(!e.canSeekRelatively(0));
        QVERIFY(!e.isSeekInFlight());
        QVERIFY(!e.isHeldOver());
        // Changes and moves of a player never read are not guessed into a state.
        e.applyChanges(properties(QStringLiteral("Playing")));
        e.seeked(50 * secUs);
        QVERIFY(!e.known());
        // Yet that it announces its moves is kept for when it is read.
        e.remember(playing());
        QVERIFY(e.canSeekRelatively(10 * secUs));
    }

    void thePositionRunsOnAtTheRateRead() {
        PlayerPositionEstimate e = estimate();
        e.remember(playing(100 * secUs, 1.5));
        QCOMPARE(positionOf(e), 100 * secUs);
        m_now += 2 * secNs;
        QCOMPARE(positionOf(e), 103 * secUs);
        m_now += 2 * secNs;
        QCOMPARE(positionOf(e), 106 * secUs);
    }

    void aPausedPlayerStaysWhereItIs() {
        PlayerPositionEstimate e = estimate();
        e.remember(read(properties(QStringLiteral("Paused"))));
        m_now += 5 * secNs;
        QCOMPARE(positionOf(e), 100 * secUs);
    }

    void aNewRateRunsOnFromWhereTheOldOneGot() {
        PlayerPositionEstimate e = estimate();
        e.remember(playing());
        m_now += 2 * secNs;
        e.applyChanges({{QStringLiteral("Rate"), 2.0}});
        QCOMPARE(positionOf(e), 102 * secUs);
        m_now += 1 * secNs;
        QCOMPARE(positionOf(e), 104 * secUs);
    }

    void aPauseStopsThePositionWhereItGot() {
        PlayerPositionEstimate e = estimate();
        e.remember(playing());
        m_now += 2 * secNs;
        e.applyChanges(status(QStringLiteral("Paused")));
        m_now += 5 * secNs;
        QCOMPARE(positionOf(e), 102 * secUs);
    }

    void aSeekedReanchors() {
        PlayerPositionEstimate e = estimate();
        e.remember(playing());
        m_now += 10 * secNs;
        e.seeked(50 * secUs);
        QCOMPARE(positionOf(e), 50 * secUs);
        m_now += 1 * secNs;
        QCOMPARE(positionOf(e), 51 * secUs);
    }

    void anotherItemStartsAtAPositionNotTold_data() {
        QTest::addColumn<QVariantMap>("changed");
        QTest::addColumn<qint64>("positionUs"); // 2 s after the read at 100 s
        QTest::newRow("the same metadata again")
            << QVariantMap{{QStringLiteral("Metadata"), metadata(track1)}} << 102 * secUs;
        QTest::newRow("another track")
            << QVariantMap{{QStringLiteral("Metadata"), metadata(track2)}} << unknown;
        QTest::newRow("the same id, another length")
            << QVariantMap{{QStringLiteral("Metadata"), metadata(track1, 200 * secUs)}} << unknown;
        QTest::newRow("the same id, another title")
            << QVariantMap{{QStringLiteral("Metadata"),
                            metadata(track1, 240 * secUs, QStringLiteral("Other"))}}
            << unknown;
        QTest::newRow("another track, with its position")
            << QVariantMap{{QStringLiteral("Metadata"), metadata(track2)},
                           {QStringLiteral("Position"), 7 * secUs}}
            << 7 * secUs;
    }
    void anotherItemStartsAtAPositionNotTold() {
        QFETCH(QVariantMap, changed);
        QFETCH(qint64, positionUs);
        PlayerPositionEstimate e = estimate();
        e.remember(playing());
        m_now += 2 * secNs;
        e.applyChanges(changed);
        QCOMPARE(positionOf(e), positionUs);
    }

    // One moved by the user in its own window would be guessed wrong.
    void aPlayerThatNeverAnnouncedASeekIsNotSeekedRelatively() {
        PlayerPositionEstimate e = estimate();
        e.remember(playing());
        QVERIFY(!e.canSeekRelatively(10 * secUs));
        e.seeked(100 * secUs);
        QVERIFY(e.canSeekRelatively(10 * secUs));
    }

    void canSeekRelatively_data() {
        QTest::addColumn<qint64>("ageNs"); // since the position was last sure
        QTest::addColumn<qint64>("deltaUs");
        QTest::addColumn<bool>("can");
        // At 100 s of 240 s, 2 s away from either end.
        QTest::newRow("well inside") << qint64(0) << 10 * secUs << true;
        QTest::newRow("back, well inside") << qint64(0) << -10 * secUs << true;
        QTest::newRow("up to the margin before the end") << qint64(0) << 138 * secUs << true;
        QTest::newRow("into the margin before the end") << qint64(0) << 138 * secUs + 1 << false;
        QTest::newRow("up to the margin after the start") << qint64(0) << -98 * secUs << true;
        QTest::newRow("into the margin after the start") << qint64(0) << -98 * secUs - 1 << false;
        // 10 s on, at 110 s, and 3 s away from either end.
        QTest::newRow("later, up to the margin before the end")
            << 10 * secNs << 127 * secUs << true;
        QTest::newRow("later, into the margin before the end")
            << 10 * secNs << 127 * secUs + 1 << false;
        QTest::newRow("later, up to the margin after the start")
            << 10 * secNs << -107 * secUs << true;
        QTest::newRow("later, into the margin after the start")
            << 10 * secNs << -107 * secUs - 1 << false;
        // A minute on, at 160 s, 8 s away; beyond that, never.
        QTest::newRow("a minute on") << 60 * secNs << qint64(0) << true;
        QTest::newRow("longer") << 60 * secNs + 1'000 << qint64(0) << false;
    }
    void canSeekRelatively() {
        QFETCH(qint64, ageNs);
        QFETCH(qint64, deltaUs);
        QFETCH(bool, can);
        PlayerPositionEstimate e = announced();
        m_now += ageNs;
        QCOMPARE(e.canSeekRelatively(deltaUs), can);
    }

    void notWithoutAPlayingKnownTrack_data() {
        QTest::addColumn<QVariantMap>("state");
        QTest::addColumn<bool>("can");
        const QString plays = QStringLiteral("Playing");
        QTest::newRow("playing in a known track") << properties(plays) << true;
        QTest::newRow("paused") << properties(QStringLiteral("Paused")) << false;
        QTest::newRow("stopped") << properties(QStringLiteral("Stopped")) << false;
        // A relative step needs no track id.
        QTest::newRow("no track id")
            << properties(plays, 100 * secUs, 1.0, metadata(QString())) << true;
        QTest::newRow("no track") << properties(plays, 100 * secUs, 1.0,
                                                metadata(QStringLiteral(
                                                    "/org/mpris/MediaPlayer2/TrackList/NoTrack")))
                                  << false;
        QTest::newRow("a track id that is no path")
            << properties(plays, 100 * secUs, 1.0, metadata(QStringLiteral("5"))) << true;
        QTest::newRow("no length")
            << properties(plays, 100 * secUs, 1.0, metadata(track1, unknown)) << false;
        QTest::newRow("no length told")
            << properties(plays, 100 * secUs, 1.0, metadata(track1, 0)) << false;
        QTest::newRow("no position") << properties(plays, unknown) << false;
    }
    void notWithoutAPlayingKnownTrack() {
        QFETCH(QVariantMap, state);
        QFETCH(bool, can);
        PlayerPositionEstimate e = announced();
        e.remember(read(state));
        QCOMPARE(e.canSeekRelatively(0), can);
    }

    void aPlayerThatRefusesSeeksIsNeverSteppedWithoutARead() {
        PlayerPositionEstimate e = announced();
        QVariantMap state = properties(QStringLiteral("Playing"));
        state.insert(QStringLiteral("CanSeek"), false);
        e.remember(read(state));
        QVERIFY(!e.canSeekRelatively(0));
        QCOMPARE(e.targetWithoutRead(0), std::nullopt);
        state.insert(QStringLiteral("CanSeek"), true);
        e.remember(read(state));
        QVERIFY(e.canSeekRelatively(0));
        QVERIFY(e.targetWithoutRead(0).has_value());
    }

    // Firefox says where it is in whole seconds only, also when it announces our own move.
    void ourOwnMoveIsKeptAgainstAWholeSecondAnnouncement() {
        PlayerPositionEstimate e = estimate();
        e.remember(playing(100 * secUs));
        QCOMPARE(e.targetWithoutRead(10 * secUs), std::nullopt); // never announced nor moved
        m_now += 300 * msNs;
        e.sentPosition(110'300'000);
        m_now += 100 * msNs;
        e.seeked(110 * secUs);
        QCOMPARE(e.positionUs(), std::optional<qint64>(110'400'000));
        m_now += 500 * msNs;
        QCOMPARE(e.targetWithoutRead(-10 * secUs), std::optional<qint64>(100'900'000));
        // An exact announcement of our move is taken: it says when the player got there.
        e.sentPosition(120'300'000);
        m_now += 200 * msNs;
        e.seeked(120'305'000);
        QCOMPARE(e.positionUs(), std::optional<qint64>(120'305'000));
        // A move by the user, elsewhere, is taken as said.
        e.seeked(50 * secUs);
        QCOMPARE(e.positionUs(), std::optional<qint64>(50 * secUs));
    }

    // Quick presses: the announcement of the first move comes after the second was sent.
    void aLateAnnouncementOfAnEarlierMoveIsPassedOver() {
        PlayerPositionEstimate e = announced();
        e.sentPosition(110 * secUs);
        m_now += 50 * msNs;
        e.sentPosition(120'050'000);
        m_now += 50 * msNs;
        e.seeked(110'100'000); // the first move's
        QCOMPARE(e.positionUs(), std::optional<qint64>(120'100'000));
        e.seeked(120'102'000); // the second's
        QCOMPARE(e.positionUs(), std::optional<qint64>(120'102'000));
        // Later on, any announcement is taken as said.
        m_now += 2 * secNs;
        e.sentPosition(130 * secUs);
        m_now += PlayerPositionEstimate::seekFlickerNs + msNs;
        e.seeked(60 * secUs);
        QCOMPARE(e.positionUs(), std::optional<qint64>(60 * secUs));
    }

    void aTargetWithoutReadIsClampedToTheTrack() {
        PlayerPositionEstimate e = announced();
        QCOMPARE(e.targetWithoutRead(-200 * secUs), std::optional<qint64>(0));
        QCOMPARE(e.targetWithoutRead(200 * secUs), std::optional<qint64>(240 * secUs));
        e.remember(read(properties(QStringLiteral("Paused"))));
        QCOMPARE(e.targetWithoutRead(10 * secUs), std::nullopt);
    }

    void aSeekIsInFlightUntilItIsAnnounced() {
        PlayerPositionEstimate e = announced();
        QVERIFY(!e.isSeekInFlight());
        e.expectSeeked();
        QVERIFY(e.isSeekInFlight());
        QVERIFY(!e.canSeekRelatively(10 * secUs));
        // A read meanwhile may still give the position from before our seek.
        e.remember(playing());
        QVERIFY(e.isSeekInFlight());
        QVERIFY(!e.canSeekRelatively(10 * secUs));
        e.seeked(110 * secUs);
        QVERIFY(!e.isSeekInFlight());
        QVERIFY(e.canSeekRelatively(10 * secUs));
    }

    void noSeekIsInFlightToAPlayerThatNeverAnnouncesOne() {
        PlayerPositionEstimate e = estimate();
        e.remember(playing());
        e.expectSeeked();
        QVERIFY(!e.isSeekInFlight());
    }

    void theFlickerAfterOurSeekIsHeldOver() {
        PlayerPositionEstimate e = heldAfterOurSeek();
        QVERIFY(e.isHeldOver());
        QVERIFY(e.known()->isPlaying());
        QCOMPARE(e.known()->trackId.value_or(QString()), track1);
        QCOMPARE(positionOf(e), 110'200'000);
        QVERIFY(e.canSeekRelatively(-5 * secUs));
        // From where it was when the hold began, as sure as it gets: 2 s from the end, no more.
        QVERIFY(e.canSeekRelatively(127'800'000));
        QVERIFY(!e.canSeekRelatively(127'800'001));
        m_now += 500 * msNs;
        QCOMPARE(positionOf(e), 110'700'000);
        // Said again, it changes nothing.
        e.applyChanges(vanished());
        QVERIFY(e.isHeldOver());
        QCOMPARE(positionOf(e), 110'700'000);
        m_now += 1 * secNs;
        QVERIFY(e.isHeldOver());
        QVERIFY(e.canSeekRelatively(-5 * secUs));
        QCOMPARE(positionOf(e), 111'700'000);
        // Not a moment longer: the player is to be read.
        m_now += 1;
        QVERIFY(!e.isHeldOver());
        QVERIFY(!e.canSeekRelatively(-5 * secUs));
    }

    void aStopIsHeldOverOnlyRightAfterOurSeekOfAPlayingTrack_data() {
        QTest::addColumn<QVariantMap>("state");
        QTest::addColumn<qint64>("sinceOurSeekNs"); // -1: no seek of ours
        QTest::addColumn<QVariantMap>("changed");
        QTest::addColumn<bool>("held");
        const QVariantMap plays = properties(QStringLiteral("Playing"));
        QTest::newRow("right after our seek") << plays << 300 * msNs << vanished() << true;
        QTest::newRow("as long after our seek as is held")
            << plays << PlayerPositionEstimate::seekFlickerNs << vanished() << true;
        QTest::newRow("longer after our seek")
            << plays << PlayerPositionEstimate::seekFlickerNs + 1 << vanished() << false;
        QTest::newRow("with no seek of ours") << plays << qint64(-1) << vanished() << false;
        QTest::newRow("of a paused player")
            << properties(QStringLiteral("Paused")) << 300 * msNs << vanished() << false;
        QTest::newRow("of a player in no track")
            << properties(QStringLiteral("Playing"), 100 * secUs, 1.0,
                          metadata(QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack")))
            << 300 * msNs << vanished() << false;
        QTest::newRow("keeping its metadata")
            << plays << 300 * msNs << status(QStringLiteral("Stopped")) << false;
        QTest::newRow("in its track")
            << plays << 300 * msNs
            << QVariantMap{{QStringLiteral("PlaybackStatus"), QStringLiteral("Stopped")},
                           {QStringLiteral("Metadata"), metadata(track1)}}
            << false;
    }
    void aStopIsHeldOverOnlyRightAfterOurSeekOfAPlayingTrack() {
        QFETCH(QVariantMap, state);
        QFETCH(qint64, sinceOurSeekNs);
        QFETCH(QVariantMap, changed);
        QFETCH(bool, held);
        PlayerPositionEstimate e = announced();
        e.remember(read(state));
        if (sinceOurSeekNs >= 0) {
            e.expectSeeked();
            m_now += sinceOurSeekNs;
        }
        e.applyChanges(changed);
        QCOMPARE(e.isHeldOver(), held);
        QVERIFY(e.known());
        // Held, it still plays; else it is taken as said.
        QCOMPARE(e.known()->playbackStatus,
                 held ? state.value(QStringLiteral("PlaybackStatus")).toString()
                      : QStringLiteral("Stopped"));
    }

    void aReturnToPlayingEndsTheHoldKeepingThePosition_data() {
        QTest::addColumn<QVariantMap>("changed");
        QTest::newRow("with its metadata") << backInTrack1();
        QTest::newRow("the status alone") << status(QStringLiteral("Playing"));
    }
    void aReturnToPlayingEndsTheHoldKeepingThePosition() {
        QFETCH(QVariantMap, changed);
        PlayerPositionEstimate e = heldAfterOurSeek();
        m_now += 600 * msNs;
        e.applyChanges(changed);
        QVERIFY(!e.isHeldOver());
        QVERIFY(e.known()->isPlaying());
        QCOMPARE(positionOf(e), 110'800'000);
        m_now += 1 * secNs;
        QCOMPARE(positionOf(e), 111'800'000);
        // No longer a hold, so its end does not matter.
        m_now += 1 * secNs;
        QVERIFY(e.canSeekRelatively(10 * secUs));
    }

    void anythingElseEndsTheHold_data() {
        QTest::addColumn<qint64>("afterNs"); // since the hold began
        QTest::addColumn<QVariantMap>("changed");
        const qint64 late = PlayerPositionEstimate::seekFlickerNs + 1;
        QTest::newRow("a pause") << 500 * msNs << status(QStringLiteral("Paused"));
        QTest::newRow("another track")
            << 500 * msNs
            << QVariantMap{{QStringLiteral("PlaybackStatus"), QStringLiteral("Playing")},
                           {QStringLiteral("Metadata"), metadata(track2)}};
        QTest::newRow("its track again, too late") << late << backInTrack1();
        QTest::newRow("the flicker again, too late") << late << vanished();
    }
    void anythingElseEndsTheHold() {
        QFETCH(qint64, afterNs);
        QFETCH(QVariantMap, changed);
        PlayerPositionEstimate e = heldAfterOurSeek();
        m_now += afterNs;
        e.applyChanges(changed);
        QVERIFY(!e.isHeldOver());
        QVERIFY(!e.known());
        QCOMPARE(positionOf(e), unknown);
        QVERIFY(!e.canSeekRelatively(0));
        // Nothing it says is taken until it is read again.
        e.applyChanges(properties(QStringLiteral("Playing")));
        QVERIFY(!e.known());
        e.remember(playing(120 * secUs));
        QVERIFY(!e.isHeldOver());
        QCOMPARE(positionOf(e), 120 * secUs);
        QVERIFY(e.canSeekRelatively(10 * secUs));
    }

    void aReadEndsTheHold() {
        PlayerPositionEstimate e = heldAfterOurSeek();
        m_now += 500 * msNs;
        e.remember(read(properties(QStringLiteral("Paused"), 105 * secUs)));
        QVERIFY(!e.isHeldOver());
        QVERIFY(!e.known()->isPlaying());
        QCOMPARE(positionOf(e), 105 * secUs);
    }

    // Our seek was sent 300 ms before the hold began, which ended 600 ms later.
    void aStopAfterTheHoldEnded_data() {
        QTest::addColumn<qint64>("sinceOurSeekNs");
        QTest::addColumn<bool>("held");
        QTest::newRow("still right after our seek")
            << PlayerPositionEstimate::seekFlickerNs << true;
        QTest::newRow("later") << PlayerPositionEstimate::seekFlickerNs + 1 << false;
    }
    void aStopAfterTheHoldEnded() {
        QFETCH(qint64, sinceOurSeekNs);
        QFETCH(bool, held);
        PlayerPositionEstimate e = heldAfterOurSeek();
        const qint64 ourSeekAt = m_now - 300 * msNs;
        m_now += 600 * msNs;
        e.applyChanges(backInTrack1());
        QVERIFY(!e.isHeldOver());
        m_now = ourSeekAt + sinceOurSeekNs;
        e.applyChanges(vanished());
        QCOMPARE(e.isHeldOver(), held);
        QCOMPARE(e.known()->isPlaying(), held);
        QCOMPARE(e.canSeekRelatively(0), held);
        // Applied, the player is in no track and at no position told.
        QCOMPARE(positionOf(e) != unknown, held);
    }
};

QTEST_APPLESS_MAIN(TestPlayerPositionEstimate)
#include "tst_playerpositionestimate.moc"
