// A hotkey held down, over fake players: one step at the press, repeats at their own pace
// while it is down, to the app the first step reached, never piled up behind a slow player.
// Timers are checked by the order and number of steps, never by how long they took.
#include "app/HotkeyHold.h"
#include "support/ControllerRig.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

using Call = FakePlayers::Call;

const QString spotify = QStringLiteral("spotify");
const QString music = QStringLiteral("appleMusic");

} // namespace

class TestHotkeyHold : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;
    std::unique_ptr<HotkeyHold> m_hold;

    FakePlayers& players() { return m_rig->players(); }
    QStringList tried() { return players().subjects(Call::seek); }

    // Spotify alone runs and plays.
    void startSpotify() {
        m_rig->start({MediaApp::spotify});
        players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        m_hold = std::make_unique<HotkeyHold>(m_rig->controller());
    }

    // Waits until `count` steps have been handed on, or the time is up.
    bool waitForSteps(QSignalSpy& sent, int count) {
        return QTest::qWaitFor([&] { return sent.size() >= count; }, 5000);
    }

private slots:
    void init() { m_rig = std::make_unique<ControllerRig>(referenceApps()); }

    void cleanup() {
        m_hold.reset();
        m_rig.reset();
    }

    void aTapSeeksOnce() {
        startSpotify();
        QSignalSpy ended(m_hold.get(), &HotkeyHold::holdEnded);
        m_hold->press(1, 10, true);
        m_hold->release(1);
        QCOMPARE(ended.size(), 1);
        QVERIFY(!m_hold->isHolding());
        // Past the moment a repeat would have come.
        QTest::qWait(HotkeyHold::repeatDelayMs + 2 * HotkeyHold::repeatIntervalMs);
        QCOMPARE(players().seekSeconds(), QList<double>{10});
        QCOMPARE(m_hold->steps(), 1);
    }

    void aHeldHotkeyRepeatsUntilItComesUp() {
        startSpotify();
        QSignalSpy sent(m_hold.get(), &HotkeyHold::stepSent);
        m_hold->press(1, -5, true);
        // The press seeks at once; the first repeat waits for the delay.
        QCOMPARE(sent.size(), 1);
        QTest::qWait(HotkeyHold::repeatDelayMs / 2);
        QCOMPARE(sent.size(), 1);
        QVERIFY(waitForSteps(sent, 4));
        m_hold->release(1);
        const qsizetype steps = sent.size();
        QTest::qWait(HotkeyHold::repeatDelayMs + 2 * HotkeyHold::repeatIntervalMs);
        QCOMPARE(sent.size(), steps);
        QTRY_COMPARE(players().seekSeconds().size(), steps);
        QCOMPARE(players().seekSeconds(), QList<double>(steps, -5));
        QCOMPARE(m_hold->steps(), steps);
        QCOMPARE(m_hold->totalSeconds(), -5.0 * double(steps));
        // In order: the press, then the repeats one by one.
        for (qsizetype i = 0; i < steps; ++i) {
            QCOMPARE(sent[i][0].toInt(), int(i));
        }
    }

    void theRepeatsGoToTheAppTheFirstStepReached() {
        m_rig->start({MediaApp::spotify, MediaApp::appleMusic});
        players().setSeekAnswer(MediaApp::spotify, {SeekResult::notPlaying});
        players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::seeked});
        m_hold = std::make_unique<HotkeyHold>(m_rig->controller());
        QSignalSpy sent(m_hold.get(), &HotkeyHold::stepSent);
        m_hold->press(1, 10, true);
        QVERIFY(waitForSteps(sent, 3));
        QTRY_VERIFY(tried().size() >= 4);
        QCOMPARE(tried().mid(0, 2), QStringList({spotify, music}));
        QCOMPARE(tried().mid(2), QStringList(tried().size() - 2, music));
        // Music stops and Spotify starts: the hold does not jump to Spotify, it ends.
        players().setSeekAnswer(MediaApp::appleMusic, {SeekResult::notPlaying});
        players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        QTest::qWait(HotkeyHold::repeatDelayMs + 3 * HotkeyHold::repeatIntervalMs);
        m_hold->release(1);
        QTRY_COMPARE(tried().size(), sent.size() + 1);
        QVERIFY(!tried().mid(2).contains(spotify));
        QCOMPARE(m_hold->steps(), sent.size() - 1);
    }

    void aSlowPlayerHasAtMostOneRepeatWaitingAndTheReleaseDropsIt() {
        startSpotify();
        // Slower than the pace: repeats come due while a step is under way.
        players().setCallDuration(3 * HotkeyHold::repeatIntervalMs);
        QSignalSpy sent(m_hold.get(), &HotkeyHold::stepSent);
        QSignalSpy dropped(m_hold.get(), &HotkeyHold::repeatDropped);
        m_hold->press(1, 10, true);
        // Two steps taken, and more repeats due than a player this slow can take.
        QVERIFY(QTest::qWaitFor([&] { return dropped.size() >= 2 && sent.size() >= 2; }, 5000));
        QVERIFY(QTest::qWaitFor([&] { return m_hold->isRepeatWaiting(); }, 5000));
        m_hold->release(1);
        QVERIFY(!m_hold->isRepeatWaiting());
        const qsizetype steps = sent.size();
        // The step under way ends; the one that waited never starts.
        QTest::qWait(4 * HotkeyHold::repeatIntervalMs);
        QCOMPARE(sent.size(), steps);
        QCOMPARE(players().seekSeconds().size(), steps);
        // One step at a time reached the player, and never one behind another in the queue.
        QCOMPARE(players().mostAtOnce(), 1);
    }

    void withoutRepeatsAHoldIsOneSeek() {
        startSpotify();
        QSignalSpy sent(m_hold.get(), &HotkeyHold::stepSent);
        m_hold->press(2, 0, false);
        QVERIFY(!m_hold->isHolding());
        QTest::qWait(HotkeyHold::repeatDelayMs + 3 * HotkeyHold::repeatIntervalMs);
        m_hold->release(2);
        QTRY_COMPARE(players().subjects(Call::playPause), QStringList{spotify});
        QTest::qWait(HotkeyHold::repeatIntervalMs);
        QCOMPARE(players().subjects(Call::playPause).size(), 1);
        QCOMPARE(sent.size(), 0);
    }

    void theFeedbackCarriesTheRunningTotalOfOneHold() {
        startSpotify();
        QSignalSpy sent(m_hold.get(), &HotkeyHold::stepSent);
        m_hold->press(1, 10, true);
        QTRY_VERIFY(m_rig->status().seekFeedback().has_value());
        const SeekFeedback first = *m_rig->status().seekFeedback();
        QVERIFY(first.hold.has_value());
        QCOMPARE(first.hold->steps, 1);
        QVERIFY(!first.showsTotal());
        QCOMPARE(first.totalText(), QString());
        QVERIFY(waitForSteps(sent, 4));
        m_hold->release(1);
        QTRY_COMPARE(m_rig->status().seekFeedback()->hold->steps, 4);
        const SeekFeedback last = *m_rig->status().seekFeedback();
        QCOMPARE(last.hold->hold, first.hold->hold);
        QCOMPARE(last.hold->totalSeconds, 40.0);
        QCOMPARE(last.totalText(), QStringLiteral("+40s"));
        // A new press is a new hold, whose first step shows no total.
        m_hold->press(1, 10, true);
        m_hold->release(1);
        QTRY_VERIFY(m_rig->status().seekFeedback()->hold->hold != first.hold->hold);
        QVERIFY(!m_rig->status().seekFeedback()->showsTotal());
    }

    void nothingMovedMeansNoRepeats() {
        m_rig->start({MediaApp::spotify});
        players().setSeekAnswer(MediaApp::spotify, {SeekResult::notPlaying});
        m_hold = std::make_unique<HotkeyHold>(m_rig->controller());
        QSignalSpy sent(m_hold.get(), &HotkeyHold::stepSent);
        m_hold->press(1, 10, true);
        QTest::qWait(HotkeyHold::repeatDelayMs + 3 * HotkeyHold::repeatIntervalMs);
        QCOMPARE(sent.size(), 1);
        QCOMPARE(tried(), QStringList{spotify});
        m_hold->release(1);
    }

    void aPressOfAnotherHotkeyEndsTheHold() {
        startSpotify();
        QSignalSpy ended(m_hold.get(), &HotkeyHold::holdEnded);
        m_hold->press(1, 10, true);
        m_hold->press(2, -10, true);
        QCOMPARE(ended.size(), 1);
        // The first hotkey's release is no longer the hold's.
        m_hold->release(1);
        QVERIFY(m_hold->isHolding());
        m_hold->release(2);
        QVERIFY(!m_hold->isHolding());
        QTRY_COMPARE(players().seekSeconds(), (QList<double>{10, -10}));
        QTest::qWait(HotkeyHold::repeatDelayMs + HotkeyHold::repeatIntervalMs);
        QCOMPARE(players().seekSeconds().size(), 2);
    }

    void theFeedbackStaysWhileAHotkeyIsHeld() {
        startSpotify();
        m_rig->settings().setFeedbackDuration(0.1);
        MediaStatus& status = m_rig->status();
        QSignalSpy changed(&status, &MediaStatus::seekFeedbackChanged);
        m_rig->controller().setFeedbackHeld(true);
        status.showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTest::qWait(300);
        QVERIFY(status.seekFeedback().has_value());
        QCOMPARE(changed.size(), 1);
        m_rig->controller().setFeedbackHeld(false);
        // The usual time on show, counted from the release.
        QVERIFY(status.seekFeedback().has_value());
        QTRY_VERIFY(!status.seekFeedback().has_value());
        QCOMPARE(changed.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestHotkeyHold)
#include "tst_hotkeyhold.moc"
