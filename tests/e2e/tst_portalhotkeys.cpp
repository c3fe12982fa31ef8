// Global hotkeys through the desktop portal, as under Wayland: the service against a portal
// that speaks the documented interfaces on the private bus, and the whole road from a
// shortcut's activation to a player that moves.
#include "app/HotkeyBinder.h"
#include "app/HotkeyHold.h"
#include "core/MediaController.h"
#include "core/MediaStatus.h"
#include "models/KeyTable.h"
#include "platform/Platform.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "platform/linux/MprisRunningApps.h"
#include "platform/linux/PortalHotkeyService.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/FakePortal.h"
#include "support/LogCapture.h"
#include "support/PlayerProcess.h"
#include "support/TempHome.h"

#include <QDBusConnection>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest>

namespace {

constexpr std::uint32_t hyper =
    CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;
const Qt::KeyboardModifiers hyperKeys = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
const QString generalChannel = QStringLiteral("com.scrubline.app.general");

HotkeyBinding forward(const QString& description = QStringLiteral("Forward 10 seconds"),
                      Qt::Key key = Qt::Key_Right) {
    return {QStringLiteral("FORWARD-ID"), QKeyCombination(hyperKeys, key), description};
}

HotkeyBinding backward() {
    return {QStringLiteral("BACKWARD-ID"), QKeyCombination(hyperKeys, Qt::Key_Left),
            QStringLiteral("Backward 10 seconds")};
}

HotkeyBinding playPause() {
    return {QStringLiteral("PLAY-ID"), QKeyCombination(hyperKeys, Qt::Key_Space),
            QStringLiteral("Play/Pause")};
}

HotkeyBinding skip() {
    return {QStringLiteral("SKIP-ID"), QKeyCombination(hyperKeys, Qt::Key_PageUp),
            QStringLiteral("Forward 30 seconds")};
}

// The number presses of a binding are counted under: its place in the full list.
std::uint32_t numberOf(const QString& id) {
    const QStringList ids{QStringLiteral("FORWARD-ID"), QStringLiteral("BACKWARD-ID"),
                          QStringLiteral("PLAY-ID"), QStringLiteral("SKIP-ID")};
    return std::uint32_t(ids.indexOf(id) + 1);
}

QString trigger(const PortalShortcut& shortcut, const char* key = "preferred_trigger") {
    return shortcut.properties.value(QString::fromLatin1(key)).toString();
}

// The program with the portal's shortcuts, its settings in a temporary home, and a fake
// Spotify that prints every call.
class PortalProgram {
public:
    explicit PortalProgram(QDBusConnection bus)
        : m_settings(std::make_unique<SettingsStore>(std::make_unique<QSettings>(
                         m_home.path() + QStringLiteral("/s.conf"), QSettings::IniFormat)),
                     Platform::profile().mediaApps)
        , m_registry(PlayerBus::through(bus))
        , m_player(PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("spotify"),
                                        QStringLiteral("--spotify"), QStringLiteral("--position"),
                                        QStringLiteral("60")}))
        , m_control(std::make_shared<MprisPlayerControl>(m_registry))
        , m_status(m_control, m_settings, [] { return QList<MediaApp>(); })
        , m_controller(m_control, std::make_unique<MprisRunningApps>(m_registry), m_settings,
                       m_status, QString(), MediaApp::BrowserNaming::bySite)
        , m_service(bus)
        , m_hold(m_controller)
        , m_binder(m_service, m_settings, m_hold, KeyTable::ModifierStyle::words) {}

    // Starts once the player runs, and answers whether the desktop bound the shortcuts.
    bool launch() {
        if (!m_player->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.spotify")) ||
            !QTest::qWaitFor([this] { return m_registry.runningApps().size() == 1; }, 20000)) {
            return false;
        }
        QSignalSpy bound(&m_service, &PortalHotkeyService::shortcutsBound);
        m_binder.start();
        return bound.wait(10000);
    }

    // The steps the player was told to take.
    qsizetype moves() {
        return m_player->calls()
            .filter(QRegularExpression(QStringLiteral("^(SetPosition|Seek) ")))
            .size();
    }

    // Waits until the program has served all it was asked, and a little more.
    void settle() {
        QSignalSpy finished(&m_controller, &MediaController::seekFinished);
        // Bounded, so that a hold that never ends fails the test rather than hangs it.
        QElapsedTimer clock;
        clock.start();
        while (finished.wait(1500) && clock.elapsed() < 8000) {
        }
    }

    AppSettings& settings() { return m_settings; }
    HotkeyHold& hold() { return m_hold; }

private:
    TempHome m_home;
    AppSettings m_settings;
    MprisPlayerRegistry m_registry;
    std::unique_ptr<PlayerProcess> m_player;
    std::shared_ptr<MprisPlayerControl> m_control;
    MediaStatus m_status;
    MediaController m_controller;
    PortalHotkeyService m_service;
    HotkeyHold m_hold;
    HotkeyBinder m_binder;
};

} // namespace

class TestPortalHotkeys : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<FakePortal> m_portal;

    static QDBusConnection bus() { return QDBusConnection::sessionBus(); }

    // What the service said of each binding, the last time it said.
    HotkeyService::Results m_results;

    // The service with the two preset combinations, bound.
    // Presses go to `presses`, and releases to `releases` where given, by binding number.
    std::unique_ptr<PortalHotkeyService> boundService(QList<std::uint32_t>* presses,
                                                      QList<std::uint32_t>* releases = nullptr) {
        auto service = std::make_unique<PortalHotkeyService>(bus());
        QSignalSpy bound(service.get(), &PortalHotkeyService::shortcutsBound);
        connect(service.get(), &HotkeyService::pressed, service.get(),
                [presses](const QString& id) { presses->append(numberOf(id)); });
        connect(service.get(), &HotkeyService::released, service.get(),
                [releases](const QString& id) {
                    if (releases != nullptr) {
                        releases->append(numberOf(id));
                    }
                });
        connect(service.get(), &HotkeyService::resultsChanged, this,
                [this](const HotkeyService::Results& results) { m_results = results; });
        if (!service->start()) {
            return nullptr;
        }
        service->bind({forward(), backward()});
        if (!bound.wait(10000)) {
            return nullptr;
        }
        return service;
    }

private slots:
    void init() {
        m_results.clear();
        m_portal = std::make_unique<FakePortal>();
        QVERIFY(m_portal->appear());
    }

    void cleanup() { m_portal.reset(); }

    void triggersAreWrittenInTheShortcutFormat() {
        QCOMPARE(PortalHotkeyService::preferredTrigger(QKeyCombination(hyperKeys, Qt::Key_Right)),
                 std::optional<QString>(QStringLiteral("CTRL+ALT+LOGO+Right")));
        QCOMPARE(
            PortalHotkeyService::preferredTrigger(QKeyCombination(Qt::ShiftModifier, Qt::Key_A)),
            std::optional<QString>(QStringLiteral("SHIFT+a")));
        QCOMPARE(PortalHotkeyService::preferredTrigger(
                     QKeyCombination(Qt::ControlModifier, Qt::Key_PageUp)),
                 std::optional<QString>(QStringLiteral("CTRL+Prior")));
        QCOMPARE(PortalHotkeyService::preferredTrigger(
                     QKeyCombination(Qt::AltModifier | Qt::KeypadModifier, Qt::Key_0)),
                 std::optional<QString>(QStringLiteral("ALT+KP_0")));
        QCOMPARE(
            PortalHotkeyService::preferredTrigger(QKeyCombination(Qt::MetaModifier, Qt::Key_Comma)),
            std::optional<QString>(QStringLiteral("LOGO+comma")));
        // A key no hotkey is made of has no trigger, and is not offered.
        QCOMPARE(
            PortalHotkeyService::preferredTrigger(QKeyCombination(hyperKeys, Qt::Key_VolumeUp)),
            std::nullopt);
    }

    // Register first, then the version, a session, and one binding of both shortcuts, each
    // answer awaited at the request path the token makes.
    void theCallsComeInTheDocumentedOrder() {
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        QCOMPARE(m_portal->members(),
                 (QStringList{QStringLiteral("Register"), QStringLiteral("Get"),
                              QStringLiteral("CreateSession"), QStringLiteral("ListShortcuts"),
                              QStringLiteral("BindShortcuts")}));
        const QList<FakePortal::Call>& calls = m_portal->calls();
        QCOMPARE(calls[0].arguments.value(0).toString(), QStringLiteral("com.scrubline.app"));
        const QString sender = bus().baseService();
        QCOMPARE(calls[0].sender, sender);
        const QVariantMap options = qdbus_cast<QVariantMap>(calls[2].arguments.value(0));
        const QString handleToken = options.value(QStringLiteral("handle_token")).toString();
        const QString sessionToken =
            options.value(QStringLiteral("session_handle_token")).toString();
        QVERIFY(!handleToken.isEmpty() && handleToken != sessionToken);
        // One session token, the same in every copy of the program and for every binding.
        QCOMPARE(sessionToken, QStringLiteral("scrubline"));
        QCOMPARE(m_portal->boundSession(), FakePortal::sessionPath(sender, sessionToken));
        // The set goes along with the session too, where Plasma 5.27 reads it.
        const PortalShortcuts offered =
            qdbus_cast<PortalShortcuts>(options.value(QStringLiteral("shortcuts")));
        QCOMPARE(offered, m_portal->boundShortcuts());
        QCOMPARE(calls[3].arguments.value(0).value<QDBusObjectPath>().path(),
                 m_portal->boundSession());
        const QVariantMap bindOptions = qdbus_cast<QVariantMap>(calls[4].arguments.value(3));
        QVERIFY(bindOptions.value(QStringLiteral("handle_token")).toString() != handleToken);
        QCOMPARE(calls[4].arguments.value(2).toString(), QString()); // no parent window

        const PortalShortcuts& bound = m_portal->boundShortcuts();
        QCOMPARE(bound.size(), 2);
        QCOMPARE(bound[0].id, QStringLiteral("FORWARD-ID"));
        QCOMPARE(trigger(bound[0]), QStringLiteral("CTRL+ALT+LOGO+Right"));
        QCOMPARE(trigger(bound[0], "description"), QStringLiteral("Forward 10 seconds"));
        QCOMPARE(bound[1].id, QStringLiteral("BACKWARD-ID"));
        QCOMPARE(trigger(bound[1]), QStringLiteral("CTRL+ALT+LOGO+Left"));
        QVERIFY(service->isAvailable());
        QCOMPARE(service->mechanism(), QStringLiteral("Desktop portal\n2 of 2 bound"));
    }

    // The desktop, not the program, decides the final key; what it says is kept.
    void theAssignedTriggersAreReadBack() {
        // The same keys in the desktop's words, and other keys.
        m_portal->assignTrigger(QStringLiteral("FORWARD-ID"),
                                QStringLiteral("Ctrl+Alt+Meta+Right"));
        m_portal->assignTrigger(QStringLiteral("BACKWARD-ID"), QStringLiteral("Ctrl+Alt+B"));
        LogCapture log;
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        // Said once, for the keys the desktop chose itself only.
        QCOMPARE(log.countContaining(QStringLiteral("The desktop keeps")), 1);
        QCOMPARE(log.countContaining(
                     QStringLiteral("The desktop keeps Ctrl+Alt+B on \"Backward 10 seconds\"")),
                 1);
        QCOMPARE(service->assignedTriggers(),
                 (QHash<QString, QString>{
                     {QStringLiteral("FORWARD-ID"), QStringLiteral("Ctrl+Alt+Meta+Right")},
                     {QStringLiteral("BACKWARD-ID"), QStringLiteral("Ctrl+Alt+B")}}));
        // The keys asked for are bound, whatever words the desktop says them in; other keys are
        // reported in the program's words.
        QCOMPARE(m_results,
                 (HotkeyService::Results{
                     {QStringLiteral("FORWARD-ID"), {HotkeyService::Status::bound, QString()}},
                     {QStringLiteral("BACKWARD-ID"),
                      {HotkeyService::Status::reassigned, QStringLiteral("Ctrl+Alt+B")}}}));
    }

    // Before the desktop has said it sends releases, an Activated is a press, but one that
    // follows another of the same shortcut at a keyboard's repeat pace is that key's repeat,
    // as Plasma and GNOME pass a held key on; the session's own shortcuts only.
    void repeatsAreKnownByTheirPaceBeforeAnyRelease() {
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        const QString session = m_portal->boundSession();
        m_portal->activate(session, QStringLiteral("BACKWARD-ID"));
        for (int repeat = 0; repeat < 10; ++repeat) {
            m_portal->activate(session, QStringLiteral("FORWARD-ID"));
            QTest::qWait(35);
        }
        QTRY_COMPARE(presses, (QList<std::uint32_t>{2, 1}));
        QTest::qWait(PortalHotkeyService::repeatWithinMs + 200);
        QCOMPARE(presses, (QList<std::uint32_t>{2, 1}));
        // A pause longer than any repeat's: a press again.
        m_portal->activate(session, QStringLiteral("FORWARD-ID"));
        QTRY_COMPARE(presses, (QList<std::uint32_t>{2, 1, 1}));
        m_portal->activate(session + QStringLiteral("x"), QStringLiteral("BACKWARD-ID"));
        m_portal->activate(session, QStringLiteral("UNKNOWN"));
        QTest::qWait(300);
        QCOMPARE(presses.size(), 3);
    }

    // Once the desktop has sent a Deactivated, Activated and Deactivated are a press and a
    // release: repeats of Activated in between are dropped, and another shortcut's Activated
    // ends the one down. Signals of another session are not the program's.
    void deactivationsMakeReleases() {
        QList<std::uint32_t> presses;
        QList<std::uint32_t> releases;
        auto service = boundService(&presses, &releases);
        QVERIFY(service != nullptr);
        const QString session = m_portal->boundSession();
        const QString forward = QStringLiteral("FORWARD-ID");
        const QString backward = QStringLiteral("BACKWARD-ID");
        // Before any Deactivated, a press comes with its release.
        m_portal->activate(session, forward);
        QTRY_COMPARE(presses, QList<std::uint32_t>{1});
        QCOMPARE(releases, QList<std::uint32_t>{1});
        m_portal->deactivate(session, forward);
        QTest::qWait(300);
        QCOMPARE(releases, QList<std::uint32_t>{1});

        m_portal->activate(session, forward);
        m_portal->activate(session, forward);
        m_portal->activate(session, forward);
        QTRY_COMPARE(presses, (QList<std::uint32_t>{1, 1}));
        QTest::qWait(300);
        QCOMPARE(presses, (QList<std::uint32_t>{1, 1}));
        QCOMPARE(releases, QList<std::uint32_t>{1});
        m_portal->deactivate(session + QStringLiteral("x"), forward);
        m_portal->activate(session, backward);
        QTRY_COMPARE(presses, (QList<std::uint32_t>{1, 1, 2}));
        QCOMPARE(releases, (QList<std::uint32_t>{1, 1}));
        m_portal->deactivate(session, forward); // no longer down: nothing
        m_portal->deactivate(session, backward);
        QTRY_COMPARE(releases, (QList<std::uint32_t>{1, 1, 2}));
        QTest::qWait(300);
        QCOMPARE(releases.size(), 3);
        QCOMPARE(presses.size(), 3);
    }

    // A session binds once: a changed list closes it and binds in a new one under the same
    // token.
    void aChangedListIsBoundInANewSession() {
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        const QString first = m_portal->boundSession();
        QSignalSpy bound(service.get(), &PortalHotkeyService::shortcutsBound);
        service->bind({forward(QStringLiteral("Forward 30 seconds"), Qt::Key_PageUp)});
        QVERIFY(bound.wait(10000));
        QTest::qWait(200);
        QCOMPARE(bound.size(), 1);
        QCOMPARE(m_portal->members().count(QStringLiteral("CreateSession")), 2);
        QCOMPARE(m_portal->boundSession(), first);
        // The old session was closed before the new one was asked for under its handle.
        const QStringList members = m_portal->members();
        QCOMPARE(members.lastIndexOf(QStringLiteral("Close")) + 1,
                 members.lastIndexOf(QStringLiteral("CreateSession")));
        QCOMPARE(m_portal->openSessions(), QSet<QString>{m_portal->boundSession()});
        QCOMPARE(m_portal->boundShortcuts().size(), 1);
        QCOMPARE(trigger(m_portal->boundShortcuts()[0]), QStringLiteral("CTRL+ALT+LOGO+Prior"));
        QCOMPARE(service->mechanism(), QStringLiteral("Desktop portal\n1 of 1 bound"));
        m_portal->activate(m_portal->boundSession(), QStringLiteral("BACKWARD-ID"));
        m_portal->activate(m_portal->boundSession(), QStringLiteral("FORWARD-ID"));
        QTRY_COMPARE(presses, QList<std::uint32_t>{1});
        QTest::qWait(200);
        QCOMPARE(presses, QList<std::uint32_t>{1});
    }

    // With no action to offer, no session is asked for, and nothing is counted.
    void noActionsAskNothing() {
        PortalHotkeyService service(bus());
        QSignalSpy bound(&service, &PortalHotkeyService::shortcutsBound);
        QVERIFY(service.start());
        QVERIFY(bound.wait(10000));
        QCOMPARE(service.mechanism(), QStringLiteral("Desktop portal"));
        QCOMPARE(m_portal->members().count(QStringLiteral("CreateSession")), 0);
    }

    // Binding the same set again, as a rebuild of the hotkeys after a load or an edit that
    // changed no key does, asks the desktop nothing.
    void theSameSetIsNotBoundTwice() {
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        const qsizetype before = m_portal->calls().size();
        for (int pass = 0; pass < 3; ++pass) {
            service->bind({forward(), backward()});
            QTest::qWait(100);
        }
        QTest::qWait(300);
        QCOMPARE(m_portal->calls().size(), before);
        m_portal->activate(m_portal->boundSession(), QStringLiteral("FORWARD-ID"));
        QTRY_COMPARE(presses, QList<std::uint32_t>{1});
    }

    // Plasma 5.27 reads the set only from CreateSession's options: it holds it as soon as the
    // session is made, so nothing is bound, and nothing opens the desktop's shortcut settings.
    void aDesktopThatTakesTheSetWithTheSessionIsNotAskedToBind() {
        m_portal->setQuirks({.setFromCreateSession = true});
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        QCOMPARE(m_portal->members().count(QStringLiteral("BindShortcuts")), 0);
        QCOMPARE(service->mechanism(), QStringLiteral("Desktop portal\n2 of 2 bound"));
        m_portal->activate(
            FakePortal::sessionPath(bus().baseService(), QStringLiteral("scrubline")),
            QStringLiteral("BACKWARD-ID"));
        QTRY_COMPARE(presses, QList<std::uint32_t>{2});
    }

    // A desktop that keeps what the user approved under the shortcut ids asks once: a restart
    // of the program with the same set binds nothing and asks nothing; a new action is asked
    // for, and only then.
    void aDesktopThatKeepsTheShortcutsIsAskedOnce() {
        m_portal->setQuirks({.keepsApprovedShortcuts = true});
        m_portal->assignTrigger(QStringLiteral("FORWARD-ID"), QStringLiteral("Meta+Ctrl+Alt+F"));
        QList<std::uint32_t> presses;
        {
            auto first = boundService(&presses);
            QVERIFY(first != nullptr);
            QCOMPARE(m_portal->timesAsked(), 1);
        }
        QTRY_VERIFY(m_portal->openSessions().isEmpty());
        const qsizetype binds = m_portal->members().count(QStringLiteral("BindShortcuts"));
        auto again = boundService(&presses);
        QVERIFY(again != nullptr);
        QCOMPARE(m_portal->members().count(QStringLiteral("BindShortcuts")), binds);
        QCOMPARE(m_portal->timesAsked(), 1);
        // What the desktop kept is read back as it is now.
        QCOMPARE(m_results.value(QStringLiteral("FORWARD-ID")),
                 (HotkeyService::Result{HotkeyService::Status::reassigned,
                                        QStringLiteral("Ctrl+Alt+Super+F")}));
        m_portal->activate(m_portal->boundSession(), QStringLiteral("FORWARD-ID"));
        QTRY_COMPARE(presses, QList<std::uint32_t>{1});

        QSignalSpy bound(again.get(), &PortalHotkeyService::shortcutsBound);
        again->bind({forward(), backward(), playPause()});
        QVERIFY(bound.wait(10000));
        QCOMPARE(m_portal->timesAsked(), 2);
        QCOMPARE(again->mechanism(), QStringLiteral("Desktop portal\n3 of 3 bound"));
    }

    // xdg-desktop-portal-gnome 48.0 answers a binding that worked with 2 and the full list: the
    // list is what counts, and nothing is said to have been declined.
    void anAnswerThatListsShortcutsCountsAsBound() {
        QVERIFY(PortalHotkeyService::answerBinds(0, {}));
        QVERIFY(PortalHotkeyService::answerBinds(2, {PortalShortcut{QStringLiteral("a"), {}}}));
        QVERIFY(PortalHotkeyService::answerBinds(1, {PortalShortcut{QStringLiteral("a"), {}}}));
        QVERIFY(!PortalHotkeyService::answerBinds(2, {}));
        QVERIFY(!PortalHotkeyService::answerBinds(1, {}));

        m_portal->setQuirks({.answersTwoWhenBound = true});
        m_portal->assignTrigger(QStringLiteral("BACKWARD-ID"),
                                QStringLiteral("Press <Control><Alt><Super>Left"));
        LogCapture log;
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        QCOMPARE(service->mechanism(), QStringLiteral("Desktop portal\n2 of 2 bound"));
        // The keys asked for, in GNOME's words.
        QCOMPARE(m_results.value(QStringLiteral("BACKWARD-ID")).status,
                 HotkeyService::Status::bound);
        for (const LogCapture::Entry& entry : log.entries()) {
            QVERIFY2(!entry.message.contains(QStringLiteral("declined")),
                     qPrintable(entry.message));
        }
        QVERIFY(log.countContaining(QStringLiteral("The desktop bound 2 of 2 global shortcuts")) >
                0);
    }

    // A user who says no is asked again only for another set, and the log says so once.
    void aRefusalIsSaidOnce() {
        m_portal->setQuirks({.userDeclines = true});
        LogCapture log;
        PortalHotkeyService service(bus());
        QSignalSpy triggers(&service, &PortalHotkeyService::shortcutsBound);
        QSignalSpy told(&service, &HotkeyService::resultsChanged);
        QVERIFY(service.start());
        service.bind({forward()});
        QTRY_COMPARE(told.size(), 1);
        QCOMPARE(told[0][0].value<HotkeyService::Results>(),
                 (HotkeyService::Results{
                     {QStringLiteral("FORWARD-ID"), {HotkeyService::Status::refused, QString()}}}));
        QCOMPARE(m_portal->timesAsked(), 1);
        for (int pass = 0; pass < 4; ++pass) {
            // The same set: not asked again.
            service.bind({forward()});
            QTest::qWait(100);
        }
        QCOMPARE(m_portal->timesAsked(), 1);
        // Another set is asked for; still one warning in all.
        service.bind({forward(), backward()});
        QTRY_COMPARE(m_portal->timesAsked(), 2);
        QTest::qWait(300);
        QCOMPARE(log.countContaining(QStringLiteral("declined")), 1);
        QCOMPARE(service.mechanism(), QStringLiteral("Desktop portal\n0 of 2 bound"));
        QCOMPARE(triggers.size(), 0);
    }

    // Where cancelling the desktop's dialog for a new action unbinds the old ones too (GNOME),
    // the old ones are bound again without asking, and the refused one is not asked for again
    // until the actions change.
    void aRefusedNewActionLeavesTheOldOnesWorking() {
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        QCOMPARE(m_portal->timesAsked(), 1);
        m_portal->setQuirks({.answersTwoWhenBound = true, .userCancelsNew = true});
        LogCapture log;
        QSignalSpy bound(service.get(), &PortalHotkeyService::shortcutsBound);
        service->bind({forward(), backward(), playPause()});
        QVERIFY(bound.wait(10000));
        QCOMPARE(m_portal->timesAsked(), 2);
        QCOMPARE(log.countContaining(QStringLiteral("declined")), 1);
        QCOMPARE(service->mechanism(), QStringLiteral("Desktop portal\n2 of 3 bound"));
        QCOMPARE(m_portal->boundShortcuts().size(), 2);
        QCOMPARE(m_portal->boundShortcuts()[0].id, QStringLiteral("FORWARD-ID"));
        QCOMPARE(m_portal->boundShortcuts()[1].id, QStringLiteral("BACKWARD-ID"));
        QCOMPARE(m_results.value(QStringLiteral("PLAY-ID")).status, HotkeyService::Status::refused);
        QCOMPARE(m_results.value(QStringLiteral("FORWARD-ID")).status,
                 HotkeyService::Status::bound);
        m_portal->activate(m_portal->boundSession(), QStringLiteral("FORWARD-ID"));
        QTRY_COMPARE(presses, QList<std::uint32_t>{1});
        // A rebuild of the same actions asks nothing; another action asks again.
        const qsizetype calls = m_portal->calls().size();
        service->bind({forward(), backward(), playPause()});
        QTest::qWait(300);
        QCOMPARE(m_portal->calls().size(), calls);
        service->bind({forward(), backward(), playPause(), skip()});
        QTRY_COMPARE(m_portal->timesAsked(), 3);
        QTRY_COMPARE(service->mechanism(), QStringLiteral("Desktop portal\n2 of 4 bound"));
    }

    // A portal that does not know the program's app id (a copy run from its build folder) is
    // named in one line with what to do; the shortcuts are still offered.
    void anUnknownAppIDIsSaidOnceWithWhatToDo() {
        m_portal->setQuirks({.refusesAppID = true});
        LogCapture log;
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        QCOMPARE(log.countContaining(QStringLiteral("does not know the app id")), 1);
        QVERIFY(log.countContaining(QStringLiteral("scripts/run.sh")) > 0);
        QVERIFY(log.countContaining(QStringLiteral("App info not found")) > 0);
        m_portal->disappear();
        QVERIFY(m_portal->appear());
        QTRY_COMPARE(m_portal->members().count(QStringLiteral("Register")), 2);
        QTest::qWait(300);
        QCOMPARE(log.countContaining(QStringLiteral("does not know the app id")), 1);
    }

    // A portal that restarts has forgotten the program: it registers again and binds anew.
    void aPortalThatComesBackIsToldAgain() {
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        QSignalSpy bound(service.get(), &PortalHotkeyService::shortcutsBound);
        m_portal->disappear();
        QTest::qWait(300);
        const qsizetype before = m_portal->calls().size();
        QVERIFY(m_portal->appear());
        QVERIFY(bound.wait(10000));
        const QStringList after = m_portal->members().mid(before);
        QCOMPARE(after,
                 (QStringList{QStringLiteral("Register"), QStringLiteral("Get"),
                              QStringLiteral("CreateSession"), QStringLiteral("ListShortcuts"),
                              QStringLiteral("BindShortcuts")}));
        m_portal->activate(m_portal->boundSession(), QStringLiteral("BACKWARD-ID"));
        QTRY_COMPARE(presses, QList<std::uint32_t>{2});
    }

    // Restarted alone, the portal's desktop backend still holds the old session under the
    // program's one handle: the first asking is refused, the second gets a session.
    void aPortalRestartedAloneIsAskedTwiceForTheSession() {
        m_portal->setQuirks({.backendOutlivesRestart = true});
        QList<std::uint32_t> presses;
        auto service = boundService(&presses);
        QVERIFY(service != nullptr);
        QSignalSpy bound(service.get(), &PortalHotkeyService::shortcutsBound);
        LogCapture log;
        m_portal->disappear();
        QTest::qWait(300);
        const qsizetype before = m_portal->calls().size();
        QVERIFY(m_portal->appear());
        QVERIFY(bound.wait(10000));
        QCOMPARE(m_portal->members().mid(before).count(QStringLiteral("CreateSession")), 2);
        QCOMPARE(log.countContaining(QStringLiteral("declined")), 0);
        QCOMPARE(service->mechanism(), QStringLiteral("Desktop portal\n2 of 2 bound"));
        m_portal->activate(m_portal->boundSession(), QStringLiteral("BACKWARD-ID"));
        QTRY_COMPARE(presses, QList<std::uint32_t>{2});
    }

    // Without a portal the program says once that there are no global hotkeys, and what to do.
    void withoutAPortalItSaysSoOnce() {
        m_portal->disappear();
        LogCapture log;
        PortalHotkeyService service(bus());
        QSignalSpy unavailable(&service, &HotkeyService::unavailable);
        QVERIFY(service.start());
        service.bind({forward()});
        QTRY_COMPARE(log.entries().size(), 1);
        QCOMPARE(log.entries()[0].type, QtWarningMsg);
        QVERIFY(log.entries()[0].message.startsWith(
            QStringLiteral("Global hotkeys are not available in this session")));
        QVERIFY(log.entries()[0].message.contains(QStringLiteral("scrubline seek +10")));
        service.bind({backward()});
        QTest::qWait(300);
        QCOMPARE(log.entries().size(), 1);
        QCOMPARE(unavailable.size(), 1);
        QVERIFY(!service.isAvailable());
        QCOMPARE(service.mechanism(), QString());
    }

    // The program hears of it too, once the portal has answered, so that it can tell the user.
    void theBinderHearsThatThereIsNoPortal() {
        m_portal->disappear();
        TempHome home;
        AppSettings settings(std::make_unique<SettingsStore>(std::make_unique<QSettings>(
                                 home.path() + QStringLiteral("/s.conf"), QSettings::IniFormat)),
                             Platform::profile().mediaApps);
        MprisPlayerRegistry registry(PlayerBus::session());
        auto control = std::make_shared<MprisPlayerControl>(registry);
        MediaStatus status(control, settings, [] { return QList<MediaApp>(); });
        MediaController controller(control, std::make_unique<MprisRunningApps>(registry), settings,
                                   status, QString(), MediaApp::BrowserNaming::bySite);
        PortalHotkeyService service(bus());
        HotkeyHold hold(controller);
        HotkeyBinder binder(service, settings, hold, KeyTable::ModifierStyle::words);
        QSignalSpy unavailable(&binder, &HotkeyBinder::hotkeysUnavailable);
        binder.start();
        QCOMPARE(unavailable.size(), 0); // the portal has not answered yet
        QTRY_COMPARE(unavailable.size(), 1);
        QCOMPARE(binder.mechanism(), QString());
        QTest::qWait(300);
        QCOMPARE(unavailable.size(), 1);
    }

    // A stored list is written back and the hotkeys bound again once it is saved, as after any
    // load; the desktop is asked once all the same.
    void storedActionsAreBoundOnceAtStart() {
        TempHome home;
        const QString file = home.path() + QStringLiteral("/s.conf");
        const QList<SeekAction> stored{SeekAction(SeekAction::Direction::forward, 30, 124, hyper),
                                       SeekAction(SeekAction::Direction::playPause, 0, 49, hyper)};
        {
            AppSettings writer(std::make_unique<SettingsStore>(
                                   std::make_unique<QSettings>(file, QSettings::IniFormat)),
                               Platform::profile().mediaApps);
            writer.setSeekActions(stored);
            writer.savePendingChanges();
        }
        AppSettings settings(std::make_unique<SettingsStore>(
                                 std::make_unique<QSettings>(file, QSettings::IniFormat)),
                             Platform::profile().mediaApps);
        QCOMPARE(settings.seekActions(), stored);
        MprisPlayerRegistry registry(PlayerBus::session());
        auto control = std::make_shared<MprisPlayerControl>(registry);
        MediaStatus status(control, settings, [] { return QList<MediaApp>(); });
        MediaController controller(control, std::make_unique<MprisRunningApps>(registry), settings,
                                   status, QString(), MediaApp::BrowserNaming::bySite);
        PortalHotkeyService service(bus());
        QSignalSpy bound(&service, &PortalHotkeyService::shortcutsBound);
        QSignalSpy told(&service, &HotkeyService::resultsChanged);
        HotkeyHold hold(controller);
        HotkeyBinder binder(service, settings, hold, KeyTable::ModifierStyle::words);
        QSignalSpy written(&settings.defaults(), &SettingsStore::written);
        binder.start();
        QVERIFY(bound.wait(10000));
        // Past the store's write-back and the binding that follows it, which the desktop has
        // answered already.
        QTRY_VERIFY_WITH_TIMEOUT(written.size() > 0, 10000);
        QCOMPARE(written[0][0].toString(), AppSettings::Keys::seekActions);
        QTRY_COMPARE_WITH_TIMEOUT(told.size(), 2, 10000);
        QTest::qWait(300);
        QCOMPARE(m_portal->members().count(QStringLiteral("CreateSession")), 1);
        QCOMPARE(m_portal->members().count(QStringLiteral("BindShortcuts")), 1);
        QCOMPARE(bound.size(), 1);
        QCOMPARE(m_portal->boundShortcuts().size(), 2);
        QCOMPARE(m_portal->boundShortcuts()[0].id, uuidString(stored[0].id()));
    }

    // A desktop that sends Deactivated: once it has shown that it does, a shortcut held
    // between Activated and Deactivated scrubs as a held key does, whatever Activated repeats
    // it sends meanwhile.
    void activatedThenDeactivatedIsAHold() {
        PortalProgram program(bus());
        QVERIFY(program.launch());
        const QString session = m_portal->boundSession();
        const QString forwardId = uuidString(program.settings().seekActions()[0].id());
        // A tap first: the desktop says it sends Deactivated.
        m_portal->activate(session, forwardId);
        m_portal->deactivate(session, forwardId);
        program.settle();
        QCOMPARE(program.moves(), 1);

        m_portal->activate(session, forwardId);
        for (int repeat = 0; repeat < 20; ++repeat) {
            QTest::qWait(100);
            m_portal->activate(session, forwardId); // the keyboard's repeat, passed on
        }
        m_portal->deactivate(session, forwardId);
        program.settle();
        const qsizetype held = program.moves() - 1;
        QVERIFY2(held >= 6 && held <= 9, qPrintable(QString::number(held)));
        QCOMPARE(program.hold().steps(), held);
        QCOMPARE(program.hold().totalSeconds(), 10.0 * double(held));
    }

    // A desktop that has sent no Deactivated: each Activated is a press, and nothing repeats.
    void anActivationAloneIsOneSeek() {
        PortalProgram program(bus());
        QVERIFY(program.launch());
        m_portal->activate(m_portal->boundSession(),
                           uuidString(program.settings().seekActions()[0].id()));
        QTest::qWait(2000);
        program.settle();
        QCOMPARE(program.moves(), 1);
        QVERIFY(!program.hold().isHolding());
    }

    // The whole road: the default actions in the store are offered with their combinations, an
    // activation moves the player by the action's step, and an edit binds again.
    void anActivationMovesThePlayer() {
        TempHome home;
        AppSettings settings(std::make_unique<SettingsStore>(std::make_unique<QSettings>(
                                 home.path() + QStringLiteral("/s.conf"), QSettings::IniFormat)),
                             Platform::profile().mediaApps);
        MprisPlayerRegistry registry(PlayerBus::session());
        auto spotify = PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("spotify"),
                                            QStringLiteral("--spotify"),
                                            QStringLiteral("--position"), QStringLiteral("60")});
        QVERIFY(spotify->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.spotify")));
        QTRY_COMPARE(registry.runningApps().size(), 1);
        auto control = std::make_shared<MprisPlayerControl>(registry);
        MediaStatus status(control, settings, [] { return QList<MediaApp>(); });
        MediaController controller(control, std::make_unique<MprisRunningApps>(registry), settings,
                                   status, QString(), MediaApp::BrowserNaming::bySite);
        PortalHotkeyService service(bus());
        QSignalSpy bound(&service, &PortalHotkeyService::shortcutsBound);
        const QList<SeekAction>& presets = settings.seekActions();
        m_portal->assignTrigger(uuidString(presets[1].id()), QStringLiteral("Ctrl+Alt+B"));
        HotkeyHold hold(controller);
        HotkeyBinder binder(service, settings, hold, KeyTable::ModifierStyle::words);
        QSignalSpy triggers(&binder, &HotkeyBinder::assignedTriggersChanged);
        binder.start();
        QVERIFY(bound.wait(10000));
        // The desktop's own choice for the second action reaches the settings window's side.
        QCOMPARE(triggers.size(), 1);
        QCOMPARE(binder.assignedTriggers(),
                 (QHash<QUuid, QString>{{presets[1].id(), QStringLiteral("Ctrl+Alt+B")}}));

        const QList<SeekAction>& actions = settings.seekActions();
        PortalShortcuts bindings = m_portal->boundShortcuts();
        QCOMPARE(bindings.size(), actions.size());
        for (qsizetype i = 0; i < actions.size(); ++i) {
            QCOMPARE(bindings[i].id, uuidString(actions[i].id()));
            QCOMPARE(trigger(bindings[i], "description"), actions[i].label());
            QCOMPARE(trigger(bindings[i]),
                     *PortalHotkeyService::preferredTrigger(*KeyTable::toKeyCombination(
                         {actions[i].keyCode, actions[i].carbonModifiers})));
        }
        QCOMPARE(trigger(bindings[0]), QStringLiteral("CTRL+ALT+LOGO+Right"));

        QSignalSpy finished(&controller, &MediaController::seekFinished);
        m_portal->activate(m_portal->boundSession(), uuidString(actions[0].id()));
        QTRY_COMPARE(finished.size(), 1);
        // The player was told to move by the forward step: to where it was plus 10 s, or by
        // 10 s from where it is.
        const QStringList moves =
            spotify->calls().filter(QRegularExpression(QStringLiteral("^(SetPosition|Seek) ")));
        QCOMPARE(moves.size(), 1);
        const qint64 value = moves[0].section(QLatin1Char(' '), -1).toLongLong();
        if (moves[0].startsWith(QStringLiteral("Seek "))) {
            QCOMPARE(value, 10'000'000);
        } else {
            QVERIFY2(value >= 69'500'000 && value <= 72'000'000, qPrintable(moves[0]));
        }

        // An edit in the store: its debounced save binds again, with the new combination.
        QList<SeekAction> edited = actions;
        edited[0].keyCode = 116;
        settings.setSeekActions(edited);
        QTRY_VERIFY_WITH_TIMEOUT(m_portal->members().count(QStringLiteral("CreateSession")) == 2,
                                 10000);
        QTRY_COMPARE_WITH_TIMEOUT(m_portal->members().count(QStringLiteral("BindShortcuts")), 2,
                                  10000);
        QCOMPARE(trigger(m_portal->boundShortcuts()[0]), QStringLiteral("CTRL+ALT+LOGO+Prior"));
        QCOMPARE(m_portal->openSessions().size(), 1);
        binder.stop();
        QTRY_VERIFY(m_portal->openSessions().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestPortalHotkeys)
#include "tst_portalhotkeys.moc"
