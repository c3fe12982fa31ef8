#include "core/PermissionChecker.h"
#include "scripting/ScriptedPlayerControl.h"
#include "support/FakePlayers.h"
#include "support/FakeRunningApps.h"
#include "support/ScriptedEngine.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

using Call = FakePlayers::Call;
using Status = PermissionStatus;

const QSet<MediaApp> everyTarget = {MediaApp::spotify, MediaApp::appleMusic,
                                    MediaApp::chromiumYouTube, MediaApp::safariYouTube};

const QStringList allIds = {QStringLiteral("automation-spotify"),
                            QStringLiteral("automation-music"), QStringLiteral("automation-chrome"),
                            QStringLiteral("chrome-js"), QStringLiteral("automation-safari")};

} // namespace

class TestPermissionChecker : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<FakePlayers> m_players;
    FakeRunningApps* m_running = nullptr;
    double m_now = 1000; // a clock the test moves
    std::unique_ptr<PermissionChecker> m_checker;

    void make(const QSet<MediaApp>& running, std::shared_ptr<PlayerControl> players = nullptr) {
        auto apps = std::make_unique<FakeRunningApps>(running);
        m_running = apps.get();
        m_checker = std::make_unique<PermissionChecker>(
            players ? players : m_players, std::move(apps), [] { return true; },
            [this] { return m_now; });
    }

    // Starts a check and waits until it is over.
    void check(bool force) {
        m_checker->checkAll(force);
        QTRY_VERIFY(!m_checker->isChecking());
    }

    int probes() const { return static_cast<int>(m_players->subjects(Call::probe).size()); }

private slots:
    void init() {
        m_players = std::make_shared<FakePlayers>();
        m_now = 1000;
    }
    void cleanup() {
        m_players->openGate();
        m_checker.reset();
    }

    void theFixedList() {
        const QList<PermissionItem>& items = PermissionItem::all();
        QStringList ids;
        for (const PermissionItem& item : items) {
            ids << item.id;
        }
        QCOMPARE(ids, allIds);
        QCOMPARE(items[0], (PermissionItem{"automation-spotify", "Automation", "Spotify", "Spotify",
                                           "music.note", PermissionItem::Kind::automation,
                                           MediaApp::spotify}));
        QCOMPARE(items[1], (PermissionItem{"automation-music", "Automation", "Apple Music", "Music",
                                           "music.quarternote.3", PermissionItem::Kind::automation,
                                           MediaApp::appleMusic}));
        QCOMPARE(
            items[2],
            (PermissionItem{"automation-chrome", "Automation", "Google Chrome", "Google Chrome",
                            "globe", PermissionItem::Kind::automation, MediaApp::chromiumYouTube}));
        QCOMPARE(items[3], (PermissionItem{"chrome-js", "JavaScript from Apple Events",
                                           "Google Chrome", "Google Chrome", "curlybraces",
                                           PermissionItem::Kind::browserJavaScript,
                                           MediaApp::chromiumYouTube}));
        QCOMPARE(items[4],
                 (PermissionItem{"automation-safari", "Automation", "Safari", "Safari", "safari",
                                 PermissionItem::Kind::automation, MediaApp::safariYouTube}));
    }

    void aListForApps() {
        const QList<PermissionItem> items = PermissionItem::forApps(
            {MediaApp::spotify, MediaApp::otherPlayers}, QStringLiteral("MPRIS over D-Bus"),
            MediaApp::BrowserNaming::bySite);
        QCOMPARE(items.size(), 2);
        QCOMPARE(items[1],
                 (PermissionItem{"automation-otherPlayers", "MPRIS over D-Bus", "Other players",
                                 MediaApp(MediaApp::otherPlayers).processName(), "music.note.list",
                                 PermissionItem::Kind::automation, MediaApp::otherPlayers}));
        // Told another list, the checker probes that one, in its order.
        make({MediaApp::spotify, MediaApp::otherPlayers, MediaApp::appleMusic});
        QCOMPARE(m_checker->items(), PermissionItem::all());
        m_checker->setItems(items);
        check(false);
        QCOMPARE(m_players->subjects(Call::probe),
                 (QStringList{QStringLiteral("automation-spotify"),
                              QStringLiteral("automation-otherPlayers")}));
        QCOMPARE(m_checker->status(QStringLiteral("automation-music")), Status::unknown);
    }

    void probesRunOneAfterAnotherInListOrder() {
        make(everyTarget);
        m_players->setProbeStatus(QStringLiteral("automation-music"), Status::denied);
        m_players->setCallDuration(10);
        check(false);
        QCOMPARE(m_players->subjects(Call::probe), allIds);
        QCOMPARE(m_players->mostAtOnce(), 1);
        QCOMPARE(m_checker->status(QStringLiteral("automation-spotify")), Status::granted);
        QCOMPARE(m_checker->status(QStringLiteral("automation-music")), Status::denied);
    }

    void runningItemsShowCheckingUntilProbed() {
        make({MediaApp::spotify});
        m_players->closeGate();
        QSignalSpy checking(m_checker.get(), &PermissionChecker::isCheckingChanged);
        m_checker->checkAll(false);
        QVERIFY(m_checker->isChecking());
        QCOMPARE(checking.size(), 1);
        QCOMPARE(m_checker->status(QStringLiteral("automation-spotify")), Status::checking);
        QCOMPARE(m_checker->status(QStringLiteral("automation-music")), Status::appNotRunning);
        m_players->openGate();
        QTRY_VERIFY(!m_checker->isChecking());
        QCOMPARE(checking.size(), 2);
        QCOMPARE(m_checker->status(QStringLiteral("automation-spotify")), Status::granted);
    }

    void onlySafariRunning() {
        make({MediaApp::safariYouTube});
        check(false);
        QCOMPARE(m_players->subjects(Call::probe),
                 QStringList{QStringLiteral("automation-safari")});
        for (const QString& id : allIds.mid(0, 4)) {
            QCOMPARE(m_checker->status(id), Status::appNotRunning);
        }
        QCOMPARE(m_checker->status(QStringLiteral("automation-safari")), Status::granted);
    }

    void nothingRunningStillEndsTheCheck() {
        make({});
        m_checker->checkAll(false);
        QVERIFY(m_checker->isChecking()); // the answer comes back later, like any other
        QTRY_VERIFY(!m_checker->isChecking());
        QCOMPARE(probes(), 0);
        QCOMPARE(m_checker->statuses().size(), 5);
    }

    void aRecentCheckIsShownAgainWithoutProbing() {
        make(everyTarget);
        check(false);
        QCOMPARE(probes(), 5);
        const PermissionChecker::Statuses first = m_checker->statuses();
        m_now += 10;
        QSignalSpy statuses(m_checker.get(), &PermissionChecker::statusesChanged);
        QSignalSpy checking(m_checker.get(), &PermissionChecker::isCheckingChanged);
        m_checker->checkAll(false);
        QCOMPARE(statuses.size(), 1);
        QCOMPARE(checking.size(), 0);
        QVERIFY(!m_checker->isChecking());
        QCOMPARE(m_checker->statuses(), first);
        // A forced check, run to its end after it, adds its own probes and no others.
        check(true);
        QCOMPARE(probes(), 10);
    }

    void anOldCheckIsNotReused() {
        make(everyTarget);
        check(false);
        m_now += PermissionChecker::cacheTTL;
        check(false);
        QCOMPARE(probes(), 10);
    }

    void aForcedCheckProbesAgainAndRefreshesTheCache() {
        make(everyTarget);
        check(false);
        m_players->setProbeStatus(QStringLiteral("automation-chrome"), Status::denied);
        check(true);
        QCOMPARE(probes(), 10);
        QCOMPARE(m_checker->status(QStringLiteral("automation-chrome")), Status::denied);
        m_now += 5;
        check(false);
        QCOMPARE(probes(), 10);
        QCOMPARE(m_checker->status(QStringLiteral("automation-chrome")), Status::denied);
    }

    void aCheckDuringACheckIsIgnored() {
        make(everyTarget);
        m_players->closeGate();
        m_checker->checkAll(false);
        QTRY_VERIFY(m_players->waitForCallsInProgress(1, 0));
        m_checker->checkAll(true);
        m_checker->checkAll(false);
        m_players->openGate();
        QTRY_VERIFY(!m_checker->isChecking());
        QCOMPARE(probes(), 5);
        // A check after it runs on its own, start to end, and probes once: nothing was left
        // queued behind the first.
        QSignalSpy checking(m_checker.get(), &PermissionChecker::isCheckingChanged);
        check(true);
        QCOMPARE(checking.size(), 2);
        QCOMPARE(probes(), 10);
    }

    // The cache holds the whole picture, not-running entries included.
    void theCacheKeepsAppsThatWereNotRunning() {
        make({MediaApp::spotify});
        check(false);
        m_running->launch(MediaApp::appleMusic);
        check(false);
        QCOMPARE(m_checker->status(QStringLiteral("automation-music")), Status::appNotRunning);
        QCOMPARE(probes(), 1);
    }

    // A list of running apps just made may not have heard of every player yet: until it says
    // it has, a running player is still being checked, never called not running.
    void aCheckWaitsUntilTheRunningAppsHaveHeardOfEveryPlayer() {
        auto apps = std::make_unique<FakeRunningApps>(QSet<MediaApp>{}, false);
        FakeRunningApps& running = *apps;
        m_checker = std::make_unique<PermissionChecker>(
            m_players, std::move(apps), [] { return true; }, [this] { return m_now; });
        m_checker->checkAll(true);
        QVERIFY(m_checker->isChecking());
        QCOMPARE(m_checker->status(QStringLiteral("automation-spotify")), Status::checking);
        QCOMPARE(probes(), 0);
        running.launch(MediaApp::spotify);
        running.settle();
        QTRY_VERIFY(!m_checker->isChecking());
        QCOMPARE(m_checker->status(QStringLiteral("automation-spotify")), Status::granted);
        QCOMPARE(m_checker->status(QStringLiteral("automation-music")), Status::appNotRunning);
        QCOMPARE(probes(), 1);
    }

    void accessibilityIsReadAtCreationAndOnEachRefresh() {
        auto apps = std::make_unique<FakeRunningApps>();
        bool trusted = false;
        int asked = 0;
        PermissionChecker checker(
            m_players, std::move(apps),
            [&] {
                ++asked;
                return trusted;
            },
            [] { return 0.0; });
        QCOMPARE(checker.accessibilityGranted(), false);
        QCOMPARE(asked, 1);
        QSignalSpy changed(&checker, &PermissionChecker::accessibilityGrantedChanged);
        // A check of the players does not ask again; a refresh of accessibility does.
        trusted = true;
        checker.checkAll(true);
        QTRY_VERIFY(!checker.isChecking());
        QCOMPARE(checker.accessibilityGranted(), false);
        QCOMPARE(asked, 1);
        checker.refreshAccessibility();
        QCOMPARE(checker.accessibilityGranted(), true);
        QCOMPARE(asked, 2);
        QCOMPARE(changed.count(), 1);
        checker.refreshAccessibility();
        QCOMPARE(changed.count(), 1);
        trusted = false;
        checker.refreshAccessibility();
        QCOMPARE(checker.accessibilityGranted(), false);
        QCOMPARE(changed.count(), 2);
    }

    // Through the real probe scripts, with Chrome answering as it does when JavaScript from
    // Apple Events is allowed and a window is open.
    void chromeWithJavaScriptAllowed() {
        auto engine = std::make_shared<ScriptedEngine>();
        engine->respond([](const QString& source) {
            return source.contains(QStringLiteral("javascript \"1+1\""))
                       ? ScriptedEngine::text(QStringLiteral("ok"))
                       : ScriptedEngine::text(QStringLiteral("Google Chrome"));
        });
        make({MediaApp::chromiumYouTube}, std::make_shared<ScriptedPlayerControl>(engine));
        check(false);
        QCOMPARE(m_checker->status(QStringLiteral("chrome-js")), Status::granted);
        QCOMPARE(m_checker->status(QStringLiteral("automation-chrome")), Status::granted);
        QCOMPARE(engine->ranSources().size(), 2);

        // No window: nothing to try JavaScript on.
        engine->answer(ScriptedEngine::text(QStringLiteral("nowindow")));
        check(true);
        QCOMPARE(m_checker->status(QStringLiteral("chrome-js")), Status::unknown);
    }

    void aCheckerGoneBeforeItsProbesEndIsLeftAlone() {
        make(everyTarget);
        m_players->closeGate();
        m_checker->checkAll(false);
        QTRY_VERIFY(m_players->waitForCallsInProgress(1, 0));
        m_checker.reset();
        m_players->openGate();
        QTRY_COMPARE(m_players->subjects(Call::probe).size(), 5);
        QTest::qWait(50); // the answer, posted to a checker that is gone, is dropped
    }
};

QTEST_GUILESS_MAIN(TestPermissionChecker)
#include "tst_permissionchecker.moc"
