// The hotkey half of the application shell: which keys are bound under which ids, what a press
// hands to the media controller, and when the bindings follow the settings. The system's hotkey
// service is replaced by a recording double; everything else is real.
#include "app/HotkeyBinder.h"
#include "app/HotkeyHold.h"
#include "support/ControllerRig.h"
#include "support/LogCapture.h"
#include "support/RecordingHotkeyService.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

using Direction = SeekAction::Direction;

const QString generalChannel = QStringLiteral("com.scrubline.app.general");
constexpr std::uint32_t mask =
    CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;
const Qt::KeyboardModifiers hyper = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;

QString idOf(const SeekAction& action) {
    return uuidString(action.id());
}

QList<QString> idsOf(const HotkeyBindings& bindings) {
    QList<QString> ids;
    for (const HotkeyBinding& binding : bindings) {
        ids.append(binding.id);
    }
    return ids;
}

} // namespace

class TestHotkeyBinder : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;
    std::unique_ptr<RecordingHotkeyService> m_hotkeys;
    std::unique_ptr<HotkeyHold> m_hold;
    std::unique_ptr<HotkeyBinder> m_binder;

    AppSettings& settings() { return m_rig->settings(); }

    // Sets the list and saves it at once, as if it had been stored before this run.
    void storeActions(const QList<SeekAction>& actions) {
        settings().setSeekActions(actions);
        settings().savePendingChanges();
    }

    void launch() {
        m_binder = std::make_unique<HotkeyBinder>(*m_hotkeys, settings(), *m_hold,
                                                  KeyTable::ModifierStyle::words);
        m_binder->start();
    }

    // Edits the list as the Hotkeys tab does, and waits for the bindings that follow its save.
    bool editAndWaitForBinding(const QList<SeekAction>& actions) {
        QSignalSpy bound(m_hotkeys.get(), &HotkeyService::resultsChanged);
        settings().setSeekActions(actions);
        return bound.wait(10000);
    }

    // Edits the list, and waits until the settings have saved it and called back whoever
    // follows them.
    bool editAndWaitForSave(const QList<SeekAction>& actions) {
        const auto stored = [this] {
            return settings().defaults().dataValue(AppSettings::Keys::seekActions);
        };
        const auto before = stored();
        settings().setSeekActions(actions);
        return QTest::qWaitFor([&] { return stored() != before; }, 10000);
    }

private slots:
    void init() {
        m_rig = std::make_unique<ControllerRig>(referenceApps());
        m_rig->start({MediaApp::spotify});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        m_hotkeys = std::make_unique<RecordingHotkeyService>();
        m_hold = std::make_unique<HotkeyHold>(m_rig->controller());
    }

    void cleanup() {
        m_binder.reset();
        m_hold.reset();
        m_hotkeys.reset();
        m_rig.reset();
    }

    void startBindsEveryActionAsOneSetInListOrder() {
        const QList<SeekAction>& actions = settings().seekActions();
        launch();
        QCOMPARE(m_hotkeys->starts, 1);
        QCOMPARE(m_hotkeys->binds.size(), 1);
        QCOMPARE(m_hotkeys->bound(),
                 (HotkeyBindings{
                     {idOf(actions[0]), QKeyCombination(hyper, Qt::Key_Right), actions[0].label()},
                     {idOf(actions[1]), QKeyCombination(hyper, Qt::Key_Left), actions[1].label()},
                 }));
        QCOMPARE(m_binder->mechanism(), QStringLiteral("Test hotkeys"));
        QVERIFY(m_binder->unavailableActionIDs().isEmpty());
        QVERIFY(m_binder->assignedTriggers().isEmpty());
    }

    void anEmptyListBindsAnEmptySet() {
        storeActions({});
        launch();
        QCOMPARE(m_hotkeys->binds, QList<HotkeyBindings>{HotkeyBindings()});
    }

    // A fresh action without a recorded combination holds key code 0 (the A key) and no
    // modifiers; a bare key taken system-wide would take that key from every program, so
    // neither it nor any other action without a modifier is bound.
    void anActionWithoutAModifierIsNotBound() {
        const QList<SeekAction> actions{
            SeekAction(Direction::forward, 5, 0, 0), SeekAction(Direction::backward, 5, 124, 0),
            SeekAction(Direction::forward, 10, 124, CarbonModifier::shift)};
        storeActions(actions);
        LogCapture log;
        launch();
        QCOMPARE(idsOf(m_hotkeys->bound()), QList<QString>{idOf(actions[2])});
        QCOMPARE(m_hotkeys->bound()[0].keys, QKeyCombination(Qt::ShiftModifier, Qt::Key_Right));
        QCOMPARE(log.count(generalChannel, QtInfoMsg,
                           QStringLiteral("Hotkey A has no modifier key and is not registered")),
                 1);
        QCOMPARE(
            log.count(generalChannel, QtInfoMsg,
                      QStringLiteral("Hotkey \u2192 has no modifier key and is not registered")),
            1);
        // Not held by anyone: such an action is not marked as unavailable.
        QVERIFY(m_binder->unavailableActionIDs().isEmpty());
    }

    // A key code no key of the table has (a file edited by hand) cannot be bound, and its row
    // says so.
    void anActionWithAnUnknownKeyIsUnavailable() {
        const QList<SeekAction> actions{SeekAction(Direction::forward, 5, 10, mask),
                                        SeekAction(Direction::backward, 5, 123, mask)};
        storeActions(actions);
        launch();
        QCOMPARE(idsOf(m_hotkeys->bound()), QList<QString>{idOf(actions[1])});
        QCOMPARE(m_binder->unavailableActionIDs(), QSet<QUuid>{actions[0].id()});
    }

    // It stays unbound and is reported, so that its row can say why its hotkey does nothing.
    void keysHeldElsewhereAreReportedUnavailable() {
        m_hotkeys->heldElsewhere.append(QKeyCombination(hyper, Qt::Key_Left));
        const QList<SeekAction> actions{SeekAction(Direction::forward, 10, 124, mask),
                                        SeekAction(Direction::backward, 10, 123, mask),
                                        SeekAction(Direction::playPause, 0, 49, mask)};
        storeActions(actions);
        LogCapture log;
        launch();
        QCOMPARE(m_binder->unavailableActionIDs(), QSet<QUuid>{actions[1].id()});
        QVERIFY(log.entries().isEmpty());

        // The same outcome again is no news.
        QSignalSpy changed(m_binder.get(), &HotkeyBinder::unavailableActionIDsChanged);
        QVERIFY(editAndWaitForBinding(actions));
        QCOMPARE(changed.size(), 0);

        // Once the other program lets go, the next binding has it and the mark goes.
        m_hotkeys->heldElsewhere.clear();
        QVERIFY(editAndWaitForBinding(actions));
        QCOMPARE(changed.size(), 1);
        QVERIFY(changed[0][0].value<QSet<QUuid>>().isEmpty());
        QVERIFY(m_binder->unavailableActionIDs().isEmpty());
    }

    void triggersTheDesktopGaveAreReportedByAction() {
        const QList<SeekAction>& actions = settings().seekActions();
        m_hotkeys->reassigned.insert(idOf(actions[1]), QStringLiteral("Ctrl+Alt+B"));
        m_binder = std::make_unique<HotkeyBinder>(*m_hotkeys, settings(), *m_hold,
                                                  KeyTable::ModifierStyle::words);
        QSignalSpy changed(m_binder.get(), &HotkeyBinder::assignedTriggersChanged);
        m_binder->start();
        const QHash<QUuid, QString> expected{{actions[1].id(), QStringLiteral("Ctrl+Alt+B")}};
        QCOMPARE(m_binder->assignedTriggers(), expected);
        QCOMPARE(changed.size(), 1);
        QVERIFY(m_binder->unavailableActionIDs().isEmpty());
    }

    void theMechanismFollowsTheService() {
        launch();
        QSignalSpy changed(m_binder.get(), &HotkeyBinder::mechanismChanged);
        emit m_hotkeys->mechanismChanged(QStringLiteral("Desktop portal\n2 of 2 bound"));
        QCOMPARE(changed.size(), 1);
        QCOMPARE(m_binder->mechanism(), QStringLiteral("Desktop portal\n2 of 2 bound"));
        emit m_hotkeys->mechanismChanged(QStringLiteral("Desktop portal\n2 of 2 bound"));
        QCOMPARE(changed.size(), 1);
    }

    // Ten edits in a burst are one save of the settings, and so one binding; the next edit
    // after it is the next binding, with nothing in between.
    void aBurstOfEditsBindsOnce() {
        launch();
        QSignalSpy bound(m_hotkeys.get(), &HotkeyService::resultsChanged);
        for (int i = 1; i <= 10; ++i) {
            settings().setSeekActions({SeekAction(Direction::forward, i, 124, mask),
                                       SeekAction(Direction::backward, i, 123, mask)});
        }
        QVERIFY(bound.wait(10000));
        QCOMPARE(m_hotkeys->binds.size(), 2);
        QCOMPARE(m_hotkeys->bound()[0].description, settings().seekActions()[0].label());
        QVERIFY(editAndWaitForBinding({SeekAction(Direction::forward, 45, 116, mask)}));
        QCOMPARE(m_hotkeys->binds.size(), 3);
        QCOMPARE(m_hotkeys->bound().size(), 1);
        QCOMPARE(m_hotkeys->bound()[0].keys, QKeyCombination(hyper, Qt::Key_PageUp));
    }

    // While a recorder records, nothing is bound, edits bind nothing, what the views were told
    // stands, and lifting the suspension binds the list as it is then.
    void suspendingLetsGoOfEveryHotkeyUntilLifted() {
        m_hotkeys->heldElsewhere.append(QKeyCombination(hyper, Qt::Key_Left));
        storeActions({SeekAction(Direction::forward, 10, 124, mask),
                      SeekAction(Direction::backward, 10, 123, mask)});
        launch();
        const QSet<QUuid> unavailable = m_binder->unavailableActionIDs();
        QCOMPARE(unavailable.size(), 1);
        QSignalSpy changed(m_binder.get(), &HotkeyBinder::unavailableActionIDsChanged);

        m_binder->setSuspended(true);
        QCOMPARE(m_hotkeys->binds.size(), 2);
        QVERIFY(m_hotkeys->bound().isEmpty());

        const QList<SeekAction> edited{SeekAction(Direction::forward, 30, 116, mask),
                                       SeekAction(Direction::backward, 10, 123, mask)};
        QVERIFY(editAndWaitForBinding(edited));
        QVERIFY(m_hotkeys->bound().isEmpty());
        QCOMPARE(m_binder->unavailableActionIDs(), unavailable);
        QCOMPARE(changed.size(), 0);

        m_binder->setSuspended(false);
        QCOMPARE(idsOf(m_hotkeys->bound()), (QList<QString>{idOf(edited[0]), idOf(edited[1])}));
        QCOMPARE(m_binder->unavailableActionIDs(), QSet<QUuid>{edited[1].id()});
        QCOMPARE(changed.size(), 1);
        // Lifting a suspension that is already lifted changes nothing.
        const qsizetype binds = m_hotkeys->binds.size();
        m_binder->setSuspended(false);
        QCOMPARE(m_hotkeys->binds.size(), binds);
    }

    void aPressSeeksByItsActionsSeconds() {
        launch();
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        m_hotkeys->press(idOf(settings().seekActions()[1]));
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished[0][0].toDouble(), -10.0);
        QCOMPARE(m_rig->players().seekSeconds(), QList<double>{-10.0});
    }

    // Held down: one press, repeats until the release, and none once the hotkeys are let go
    // (the recorder suspends them) while it is still down.
    void aHeldHotkeyRepeatsUntilReleasedOrLetGo() {
        launch();
        const QList<SeekAction>& actions = settings().seekActions();
        QSignalSpy sent(m_hold.get(), &HotkeyHold::stepSent);
        m_hotkeys->keyDown(idOf(actions[0]));
        QVERIFY(QTest::qWaitFor([&] { return sent.size() >= 3; }, 5000));
        QSignalSpy ended(m_hold.get(), &HotkeyHold::holdEnded);
        m_hotkeys->keyUp(idOf(actions[0]));
        QVERIFY(ended.wait(5000));
        QVERIFY(!m_hold->isHolding());

        m_hotkeys->keyDown(idOf(actions[1]));
        QTRY_VERIFY(m_hold->isHolding());
        m_binder->setSuspended(true);
        QVERIFY(!m_hold->isHolding());
    }

    // With the switch off, a held hotkey is one seek.
    void withHoldingOffAHeldHotkeyDoesNotRepeat() {
        settings().setHoldToSeek(false);
        launch();
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        m_hotkeys->keyDown(idOf(settings().seekActions()[0]));
        QVERIFY(finished.wait(10000));
        // Still down, and not holding: nothing will repeat it.
        QVERIFY(!m_hold->isHolding());
    }

    void aPressOfPlayPauseTogglesAndNeverRepeats() {
        storeActions({SeekAction(Direction::playPause, 30, 49, mask)});
        launch();
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        m_hotkeys->keyDown(idOf(settings().seekActions()[0]));
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished[0][0].toDouble(), 0.0);
        QVERIFY(!m_hold->isHolding());
        QCOMPARE(m_rig->players().subjects(FakePlayers::Call::playPause),
                 QStringList{QStringLiteral("spotify")});
    }

    void aPressOfAnUnknownIdDoesNothing() {
        launch();
        QSignalSpy sent(m_hold.get(), &HotkeyHold::stepSent);
        m_hotkeys->press(QStringLiteral("00000000-0000-0000-0000-000000000000"));
        // A known press after it is the first step sent.
        m_hotkeys->press(idOf(settings().seekActions()[0]));
        QVERIFY(sent.wait(5000));
        QCOMPARE(sent.size(), 1);
        QTRY_COMPARE(m_rig->players().seekSeconds(), QList<double>{10.0});
    }

    // A session without global hotkeys is told of once, at start, and nothing is bound.
    void withoutHotkeysTheBinderSaysSo() {
        m_hotkeys->refusesStart = true;
        m_binder = std::make_unique<HotkeyBinder>(*m_hotkeys, settings(), *m_hold,
                                                  KeyTable::ModifierStyle::words);
        QSignalSpy unavailable(m_binder.get(), &HotkeyBinder::hotkeysUnavailable);
        m_binder->start();
        QCOMPARE(unavailable.size(), 1);
        QVERIFY(m_hotkeys->binds.isEmpty());
        QCOMPARE(m_binder->mechanism(), QString());
    }

    void theDesktopSayingItHasNoneIsPassedOn() {
        launch();
        QSignalSpy unavailable(m_binder.get(), &HotkeyBinder::hotkeysUnavailable);
        emit m_hotkeys->unavailable();
        QCOMPARE(unavailable.size(), 1);
    }

    // Quitting lets every hotkey go and stops following the settings: a later edit binds
    // nothing, and a press that was under way seeks no more.
    void stopUnbindsAndUnhooks() {
        launch();
        m_hotkeys->keyDown(idOf(settings().seekActions()[0]));
        QTRY_VERIFY(m_hold->isHolding());
        m_binder->stop();
        QCOMPARE(m_hotkeys->stops, 1);
        QVERIFY(!m_hotkeys->started);
        QVERIFY(m_hotkeys->bound().isEmpty());
        QVERIFY(!m_hold->isHolding());
        QVERIFY(editAndWaitForSave({SeekAction(Direction::forward, 45, 124, mask)}));
        QCOMPARE(m_hotkeys->binds.size(), 1);
        // Gone, it stops once, not twice.
        m_binder.reset();
        QCOMPARE(m_hotkeys->stops, 1);
    }

    void aBinderThatIsGoneBindsNothing() {
        launch();
        m_binder.reset();
        QCOMPARE(m_hotkeys->stops, 1);
        QSignalSpy bound(m_hotkeys.get(), &HotkeyService::resultsChanged);
        QVERIFY(editAndWaitForSave({SeekAction(Direction::forward, 45, 124, mask)}));
        QCOMPARE(bound.size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestHotkeyBinder)
#include "tst_hotkeybinder.moc"
