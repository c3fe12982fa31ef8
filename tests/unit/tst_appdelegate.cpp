// The hotkey half of the application shell: which combinations are registered under which ids,
// what a press hands to the media controller, and when the registrations follow the settings.
// The system's hotkey service is replaced by a recording double; everything else is real.
#include "app/AppDelegate.h"
#include "scripting/ChromeYouTubeController.h"
#include "scripting/NativeMediaAppController.h"
#include "scripting/SafariYouTubeController.h"
#include "scripting/ScriptedPlayerControl.h"
#include "support/ControllerRig.h"
#include "support/LogCapture.h"
#include "support/RecordingHotkeyService.h"
#include "support/ScriptedEngine.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

using Direction = SeekAction::Direction;
using Registration = RecordingHotkeyService::Registration;

constexpr std::uint32_t signature = 0x53435231; // "SCR1"
const QString generalChannel = QStringLiteral("com.scrubline.app.general");
constexpr std::uint32_t mask =
    CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;

// The scripts a seek of this many seconds runs, one per target.
QSet<QString> seekScripts(double seconds) {
    return {SpotifyController::seekScript(seconds), MusicController::seekScript(seconds),
            ChromeYouTubeController::scriptSource(seconds),
            SafariYouTubeController::scriptSource(seconds)};
}

std::map<std::uint32_t, double>
table(std::initializer_list<std::pair<const std::uint32_t, double>> entries) {
    return entries;
}

} // namespace

class TestAppDelegate : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;
    std::shared_ptr<ScriptedEngine> m_engine;
    std::shared_ptr<RecordingHotkeyService::Record> m_hotkeys;
    std::unique_ptr<AppDelegate> m_delegate;

    AppSettings& settings() { return m_rig->settings(); }

    // Sets the list and lets its save go by, as if it had been stored before this run.
    void storeActions(const QList<SeekAction>& actions) {
        settings().setSeekActions(actions);
        QTest::qWait(AppSettings::saveDebounceMs + 200);
    }

    // Starts the delegate and waits until its scripts are warm.
    bool launch() {
        m_delegate = std::make_unique<AppDelegate>(
            std::make_unique<RecordingHotkeyService>(m_hotkeys),
            std::make_shared<ScriptedPlayerControl>(m_engine), settings(), m_rig->controller());
        QSignalSpy warmed(m_delegate.get(), &AppDelegate::scriptsPrecompiled);
        m_delegate->applicationDidFinishLaunching();
        return warmed.wait(10000);
    }

    // The registration passes so far: a pass is one run of registrations with ids from 1 up.
    int passes() const {
        int count = 0;
        for (const Registration& attempt : m_hotkeys->attempts) {
            count += attempt.id == 1 ? 1 : 0;
        }
        return count;
    }

    int seeksServed(int waitMs) {
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        QTest::qWait(waitMs);
        return int(finished.size());
    }

private slots:
    void init() {
        m_rig = std::make_unique<ControllerRig>(referenceApps());
        m_rig->start({QStringLiteral("Spotify")});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        m_engine = std::make_shared<ScriptedEngine>();
        m_hotkeys = std::make_shared<RecordingHotkeyService::Record>();
    }

    void cleanup() {
        m_delegate.reset();
        m_rig.reset();
        m_engine.reset();
    }

    void registersEveryActionInListOrderUnderItsPosition() {
        QVERIFY(launch());
        QVERIFY(m_hotkeys->installed);
        QCOMPARE(m_hotkeys->attempts,
                 (QList<Registration>{{124, mask, signature, 1}, {123, mask, signature, 2}}));
        QCOMPARE(m_hotkeys->liveIds(), (QList<std::uint32_t>{1, 2}));
        QCOMPARE(AppDelegate::hotkeySecondsMap(), table({{1, 10.0}, {2, -10.0}}));
        QCOMPARE(m_delegate->registeredHotkeyCount(), 2);
        QCOMPARE(m_engine->builtSources(), seekScripts(10) | seekScripts(-10));
    }

    void anEmptyListRegistersAndPrecompilesNothing() {
        storeActions({});
        QVERIFY(launch());
        QVERIFY(m_hotkeys->attempts.isEmpty());
        QVERIFY(AppDelegate::hotkeySecondsMap().empty());
        QVERIFY(m_engine->builtSources().isEmpty());
    }

    // A fresh action without a recorded combination holds key code 0 (the A key) and no
    // modifiers; a bare key grabbed system-wide would take that key from every program, so
    // neither it nor any other action without a modifier is registered. Both keep their ids.
    void anActionWithoutAModifierIsNotRegistered() {
        storeActions({SeekAction(Direction::forward, 5, 0, 0),
                      SeekAction(Direction::backward, 5, 124, 0),
                      SeekAction(Direction::forward, 10, 124, CarbonModifier::shift)});
        LogCapture log;
        QVERIFY(launch());
        QCOMPARE(m_hotkeys->attempts,
                 (QList<Registration>{{124, CarbonModifier::shift, signature, 3}}));
        QCOMPARE(m_hotkeys->liveIds(), QList<std::uint32_t>{3});
        QCOMPARE(AppDelegate::hotkeySecondsMap(), table({{1, 5.0}, {2, -5.0}, {3, 10.0}}));
        QCOMPARE(log.count(generalChannel, QtInfoMsg,
                           QStringLiteral("Hotkey A has no modifier key and is not registered")),
                 1);
        QCOMPARE(
            log.count(generalChannel, QtInfoMsg,
                      QStringLiteral("Hotkey \u2192 has no modifier key and is not registered")),
            1);
        // Not held by anyone: such an action is not marked as unavailable.
        QVERIFY(m_delegate->unavailableActionIDs().isEmpty());
    }

    void playPauseAtPositionThreeIsIdThreeWithZeroAndIsNotPrecompiled() {
        storeActions({SeekAction(Direction::forward, 15, 124, mask),
                      SeekAction(Direction::backward, 7.5, 123, mask),
                      SeekAction(Direction::playPause, 30, 49, mask)});
        QVERIFY(launch());
        QCOMPARE(m_hotkeys->attempts.size(), 3);
        QCOMPARE(m_hotkeys->attempts[2], (Registration{49, mask, signature, 3}));
        QCOMPARE(AppDelegate::hotkeySecondsMap(), table({{1, 15.0}, {2, -7.5}, {3, 0.0}}));
        // Its stored 30 s is ignored: neither +30, -30 nor 0 was built.
        QCOMPARE(m_engine->builtSources(), seekScripts(15) | seekScripts(-7.5));
    }

    void deletingTheFirstActionShiftsTheLaterIdsDown() {
        storeActions({SeekAction(Direction::forward, 5, 124, mask),
                      SeekAction(Direction::backward, 5, 123, mask),
                      SeekAction(Direction::playPause, 0, 49, mask)});
        QVERIFY(launch());
        QCOMPARE(m_hotkeys->liveIds(), (QList<std::uint32_t>{1, 2, 3}));
        QList<SeekAction> actions = settings().seekActions();
        actions.removeFirst();
        settings().setSeekActions(actions);
        QTRY_COMPARE_WITH_TIMEOUT(passes(), 2, 10000);
        QCOMPARE(m_hotkeys->attempts.mid(3),
                 (QList<Registration>{{123, mask, signature, 1}, {49, mask, signature, 2}}));
        QCOMPARE(m_hotkeys->liveIds(), (QList<std::uint32_t>{1, 2}));
        QCOMPARE(AppDelegate::hotkeySecondsMap(), table({{1, -5.0}, {2, 0.0}}));
        // The three earlier registrations were all given back, in order.
        QCOMPARE(m_hotkeys->unregistered, (QList<HotkeyService::Handle>{1, 2, 3}));
    }

    void twoEqualActionsAreRegisteredTwiceAndPrecompiledOnce() {
        storeActions({SeekAction(Direction::forward, 10, 124, mask),
                      SeekAction(Direction::forward, 10, 124, mask)});
        QVERIFY(launch());
        QCOMPARE(m_hotkeys->attempts,
                 (QList<Registration>{{124, mask, signature, 1}, {124, mask, signature, 2}}));
        QCOMPARE(AppDelegate::hotkeySecondsMap(), table({{1, 10.0}, {2, 10.0}}));
        QCOMPARE(m_engine->builtSources(), seekScripts(10));
        for (const QString& source : seekScripts(10)) {
            QCOMPARE(m_engine->builds(source), 1);
        }
    }

    // It stays inactive, keeps its entry in the table, and is reported, so that its row can say
    // why its hotkey does nothing.
    void aCombinationHeldElsewhereIsReportedUnavailable() {
        m_hotkeys->heldElsewhere.append({123, mask});
        const QList<SeekAction> actions{SeekAction(Direction::forward, 10, 124, mask),
                                        SeekAction(Direction::backward, 10, 123, mask),
                                        SeekAction(Direction::playPause, 0, 49, mask)};
        storeActions(actions);
        LogCapture log;
        QVERIFY(launch());
        QCOMPARE(m_hotkeys->attempts.size(), 3);
        QCOMPARE(m_hotkeys->liveIds(), (QList<std::uint32_t>{1, 3}));
        QCOMPARE(m_delegate->registeredHotkeyCount(), 2);
        QCOMPARE(AppDelegate::hotkeySecondsMap(), table({{1, 10.0}, {2, -10.0}, {3, 0.0}}));
        QCOMPARE(m_delegate->unavailableActionIDs(), QSet<QUuid>{actions[1].id()});
        QVERIFY(log.entries().isEmpty());

        // The same outcome again is no news; the next pass gives back only what was granted.
        QSignalSpy changed(m_delegate.get(), &AppDelegate::unavailableActionIDsChanged);
        m_delegate->registerAllHotkeys();
        QCOMPARE(m_hotkeys->unregistered.size(), 2);
        QCOMPARE(changed.size(), 0);

        // Once the other program lets go, the next pass takes it and the mark goes.
        m_hotkeys->heldElsewhere.clear();
        m_delegate->registerAllHotkeys();
        QCOMPARE(m_hotkeys->liveIds(), (QList<std::uint32_t>{1, 2, 3}));
        QCOMPARE(changed.size(), 1);
        QVERIFY(changed[0][0].value<QSet<QUuid>>().isEmpty());
        QVERIFY(m_delegate->unavailableActionIDs().isEmpty());
    }

    // Where the system refuses a program the same combination twice, the second action on it
    // is a conflict the row shows already, not another program's doing.
    void aRepeatRefusedByTheSystemIsNotAnotherProgram() {
        m_hotkeys->refusesRepeats = true;
        storeActions({SeekAction(Direction::forward, 10, 124, mask),
                      SeekAction(Direction::backward, 10, 124, mask)});
        QVERIFY(launch());
        QCOMPARE(m_hotkeys->attempts.size(), 2);
        QCOMPARE(m_hotkeys->liveIds(), QList<std::uint32_t>{1});
        QVERIFY(m_delegate->unavailableActionIDs().isEmpty());
    }

    // While a recorder records, no grab is held, edits still rebuild the table, and lifting the
    // suspension registers the list as it is then.
    void suspendingLetsGoOfEveryGrabUntilLifted() {
        m_hotkeys->heldElsewhere.append({123, mask});
        storeActions({SeekAction(Direction::forward, 10, 124, mask),
                      SeekAction(Direction::backward, 10, 123, mask)});
        QVERIFY(launch());
        const QSet<QUuid> unavailable = m_delegate->unavailableActionIDs();
        QCOMPARE(unavailable.size(), 1);
        QSignalSpy changed(m_delegate.get(), &AppDelegate::unavailableActionIDsChanged);

        m_delegate->setHotkeysSuspended(true);
        QVERIFY(m_delegate->hotkeysSuspended());
        QVERIFY(m_hotkeys->live.isEmpty());
        QCOMPARE(m_delegate->registeredHotkeyCount(), 0);
        const qsizetype attempts = m_hotkeys->attempts.size();

        // An edit's debounced re-registration comes and goes without grabbing.
        settings().setSeekActions({SeekAction(Direction::forward, 30, 116, mask),
                                   SeekAction(Direction::backward, 10, 123, mask)});
        QTRY_COMPARE_WITH_TIMEOUT(AppDelegate::hotkeySecondsMap(), table({{1, 30.0}, {2, -10.0}}),
                                  10000);
        QCOMPARE(m_hotkeys->attempts.size(), attempts);
        // Unknown while nothing is tried: the last word stands.
        QCOMPARE(m_delegate->unavailableActionIDs(), unavailable);
        QCOMPARE(changed.size(), 0);

        m_delegate->setHotkeysSuspended(false);
        QCOMPARE(m_hotkeys->attempts.mid(attempts),
                 (QList<Registration>{{116, mask, signature, 1}, {123, mask, signature, 2}}));
        QCOMPARE(m_hotkeys->liveIds(), QList<std::uint32_t>{1});
        QCOMPARE(m_delegate->registeredHotkeyCount(), 1);
        // Lifting a suspension that is already lifted changes nothing.
        m_delegate->setHotkeysSuspended(false);
        QCOMPARE(m_hotkeys->liveIds(), QList<std::uint32_t>{1});
    }

    void tenEditsWithin300msReRegisterOnce() {
        QVERIFY(launch());
        QCOMPARE(passes(), 1);
        QSignalSpy warmed(m_delegate.get(), &AppDelegate::scriptsPrecompiled);
        for (int i = 1; i <= 10; ++i) {
            settings().setSeekActions({SeekAction(Direction::forward, i, 124, mask),
                                       SeekAction(Direction::backward, i, 123, mask)});
            QTest::qWait(20);
        }
        QTRY_COMPARE_WITH_TIMEOUT(passes(), 2, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(warmed.size(), 1, 10000);
        // Long enough for any second pass to show.
        QTest::qWait(AppSettings::saveDebounceMs + AppDelegate::hotkeyDebounceMs + 500);
        QCOMPARE(passes(), 2);
        QCOMPARE(m_hotkeys->unregistered.size(), 2);
        QCOMPARE(warmed.size(), 1);
        QCOMPARE(AppDelegate::hotkeySecondsMap(), table({{1, 10.0}, {2, -10.0}}));
    }

    void burstsOfChangeCallsReRegisterOnce() {
        QVERIFY(launch());
        for (int i = 0; i < 10; ++i) {
            m_delegate->seekActionsChanged();
            QTest::qWait(10);
        }
        QCOMPARE(passes(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(passes(), 2, 5000);
        QTest::qWait(AppDelegate::hotkeyDebounceMs + 300);
        QCOMPARE(passes(), 2);
    }

    void theRebuildFollowsTheSaveAndAlsoWarmsTheNewAmounts() {
        QVERIFY(launch());
        QSignalSpy warmed(m_delegate.get(), &AppDelegate::scriptsPrecompiled);
        settings().setSeekActions({SeekAction(Direction::forward, 45, 124, mask)});
        QVERIFY(warmed.wait(10000));
        QCOMPARE(passes(), 2);
        QCOMPARE(m_engine->builtSources(), seekScripts(10) | seekScripts(-10) | seekScripts(45));
    }

    void aPressEnqueuesExactlyOneValue() {
        QVERIFY(launch());
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        m_hotkeys->press(2);
        QVERIFY(finished.wait(10000));
        QTest::qWait(300);
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished[0][0].toDouble(), -10.0);
        QCOMPARE(m_rig->players().seekSeconds(), QList<double>{-10.0});
    }

    // Held down: one press, repeats until the release, and none once the hotkeys are let go
    // (the recorder suspends them) while it is still down.
    void aHeldHotkeyRepeatsUntilReleasedOrLetGo() {
        QVERIFY(launch());
        const HotkeyHold& hold = m_delegate->hotkeyHold();
        QSignalSpy sent(&hold, &HotkeyHold::stepSent);
        m_hotkeys->keyDown(1);
        QVERIFY(QTest::qWaitFor([&] { return sent.size() >= 3; }, 5000));
        m_hotkeys->keyUp(1);
        QTRY_VERIFY(!hold.isHolding());
        const qsizetype released = sent.size();
        QTest::qWait(HotkeyHold::repeatDelayMs + HotkeyHold::repeatIntervalMs);
        QCOMPARE(sent.size(), released);

        m_hotkeys->keyDown(2);
        QVERIFY(QTest::qWaitFor([&] { return hold.isHolding(); }, 5000));
        m_delegate->setHotkeysSuspended(true);
        QVERIFY(!hold.isHolding());
        const qsizetype suspended = sent.size();
        QTest::qWait(HotkeyHold::repeatDelayMs + 2 * HotkeyHold::repeatIntervalMs);
        QCOMPARE(sent.size(), suspended);
    }

    // With the switch off, a held hotkey is one seek.
    void withHoldingOffAHeldHotkeyIsOnePress() {
        settings().setHoldToSeek(false);
        QVERIFY(launch());
        m_hotkeys->keyDown(1);
        QCOMPARE(seeksServed(HotkeyHold::repeatDelayMs + 3 * HotkeyHold::repeatIntervalMs), 1);
        m_hotkeys->keyUp(1);
        QCOMPARE(seeksServed(300), 0);
    }

    void aPressOfPlayPauseEnqueuesZero() {
        storeActions({SeekAction(Direction::playPause, 30, 49, mask)});
        QVERIFY(launch());
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        m_hotkeys->press(1);
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished[0][0].toDouble(), 0.0);
        QCOMPARE(m_rig->players().subjects(FakePlayers::Call::playPause),
                 QStringList{QStringLiteral("spotify")});
    }

    void aPressWithAnUnknownIdDoesNothing() {
        QVERIFY(launch());
        m_hotkeys->press(3);
        m_hotkeys->press(0);
        QCOMPARE(seeksServed(500), 0);
        QVERIFY(m_rig->players().records().isEmpty());
    }

    // A session without global hotkeys is told of once, at launch, and nothing is registered.
    void withoutHotkeysTheDelegateSaysSo() {
        m_hotkeys->refusesHandler = true;
        m_delegate = std::make_unique<AppDelegate>(
            std::make_unique<RecordingHotkeyService>(m_hotkeys),
            std::make_shared<ScriptedPlayerControl>(m_engine), settings(), m_rig->controller());
        QSignalSpy unavailable(m_delegate.get(), &AppDelegate::hotkeysUnavailable);
        m_delegate->applicationDidFinishLaunching();
        QCOMPARE(unavailable.size(), 1);
        QCOMPARE(m_delegate->hotkeyMechanism(), QString());
    }

    void terminationUnregistersThenRemovesTheHandlerAndUnhooks() {
        QVERIFY(launch());
        m_delegate->seekActionsChanged(); // pending when the program ends
        m_delegate->applicationWillTerminate();
        QCOMPARE(m_hotkeys->unregistered, (QList<HotkeyService::Handle>{1, 2}));
        QVERIFY(m_hotkeys->live.isEmpty());
        QCOMPARE(m_hotkeys->removals, 1);
        QVERIFY(!m_hotkeys->installed);
        // Neither the pending pass nor a later edit registers anything again.
        settings().setSeekActions({SeekAction(Direction::forward, 45, 124, mask)});
        QTest::qWait(AppSettings::saveDebounceMs + AppDelegate::hotkeyDebounceMs + 400);
        QCOMPARE(passes(), 1);
        // The table stays as it was, like after any unregistration.
        QCOMPARE(AppDelegate::hotkeySecondsMap(), table({{1, 10.0}, {2, -10.0}}));
    }

    void aDelegateThatIsGoneRegistersNothing() {
        QVERIFY(launch());
        m_delegate->seekActionsChanged();
        m_delegate.reset();
        settings().setSeekActions({SeekAction(Direction::forward, 45, 124, mask)});
        QTest::qWait(AppSettings::saveDebounceMs + AppDelegate::hotkeyDebounceMs + 400);
        QCOMPARE(passes(), 1);
    }
};

QTEST_GUILESS_MAIN(TestAppDelegate)
#include "tst_appdelegate.moc"
