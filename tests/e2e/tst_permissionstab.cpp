#include "core/PermissionChecker.h"
#include "platform/Platform.h"
#include "platform/RunningApps.h"
#include "support/PlayerProcess.h"
#include "views/settings/PermissionsSettingsTab.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QtTest>

#include <memory>

namespace {

const QString spotifyBusName = QStringLiteral("org.mpris.MediaPlayer2.spotify");
const QString spotifyItem = QStringLiteral("automation-spotify");

} // namespace

// The Permissions tab over the real player control, with real player processes on the session
// bus: what it shows is what the players answer.
class TestPermissionsTab : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<DesktopIntegration> m_desktop;
    std::unique_ptr<PermissionsSettingsTab> m_tab;

    PermissionsSettingsTab& openTab() {
        auto checker = std::make_unique<PermissionChecker>(Platform::createPlayerControl(),
                                                           Platform::createRunningApps(),
                                                           &Platform::accessibilityTrusted);
        checker->setItems(Platform::permissionItems());
        m_tab = std::make_unique<PermissionsSettingsTab>(std::move(checker), *m_desktop);
        m_tab->show();
        if (!QTest::qWaitForWindowExposed(m_tab.get())) {
            qWarning("the tab was not exposed");
        }
        return *m_tab;
    }

    QString statusOf(const QString& id) {
        for (QWidget* row : m_tab->findChildren<QWidget*>(QStringLiteral("permissionRow"))) {
            if (row->property("itemId").toString() == id) {
                return row->findChild<QLabel*>(QStringLiteral("statusText"))->text();
            }
        }
        return QStringLiteral("(no row)");
    }

    // Once the check that is under way is over.
    QString checkedStatusOf(const QString& id) {
        if (!QTest::qWaitFor([this] { return !m_tab->checker().isChecking(); }, 20000)) {
            return QStringLiteral("(still checking)");
        }
        return statusOf(id);
    }

    // Once the session's list of players has it: a player that has only just appeared is
    // not running yet as far as the program has heard.
    static void waitUntilRunning(MediaApp app) {
        const auto running = Platform::createRunningApps();
        if (!QTest::qWaitFor([&] { return running->runningApps().contains(app); }, 10000)) {
            qFatal("The player never showed as running");
        }
    }

    static std::unique_ptr<PlayerProcess> spotify() {
        auto process = PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("spotify")});
        if (!process->waitForBusName(spotifyBusName)) {
            qFatal("The player did not start");
        }
        waitUntilRunning(MediaApp::spotify);
        return process;
    }

private slots:
    void init() { m_desktop = Platform::createDesktopIntegration(); }
    void cleanup() { m_tab.reset(); }

    void aPlayerThatAnswersIsGranted() {
        auto player = spotify();
        openTab();
        QCOMPARE(checkedStatusOf(spotifyItem), QStringLiteral("Granted"));
    }

    void aStoppedPlayerIsDeniedAndTheWindowStaysResponsive() {
        auto player = spotify();
        player->stop();
        openTab();
        QTRY_VERIFY(m_tab->checker().isChecking());
        QCOMPARE(statusOf(spotifyItem), QStringLiteral("Checking..."));
        // The window goes on serving events while the probe waits for the silent player.
        int served = 0;
        QTimer ticks;
        connect(&ticks, &QTimer::timeout, this, [&served] { ++served; });
        ticks.start(20);
        QTRY_VERIFY(served >= 5);
        QVERIFY(m_tab->checker().isChecking());
        QCOMPARE(checkedStatusOf(spotifyItem), QStringLiteral("Denied"));
        player->resume();
    }

    // The players this platform has, each reached over MPRIS; an ordinary player counts under
    // "Other players", and the apps of another platform are not listed.
    void theRowsAreThePlayersOfThisPlatform() {
        auto other = PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("vlc")});
        QVERIFY(other->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.vlc")));
        waitUntilRunning(MediaApp::otherPlayers);
        openTab();
        QStringList rows;
        QStringList names;
        for (QWidget* row : m_tab->findChildren<QWidget*>(QStringLiteral("permissionRow"))) {
            rows << row->property("itemId").toString();
            names << row->findChild<QLabel*>(QStringLiteral("rowTitle"))->text();
        }
        QCOMPARE(rows, (QStringList{QStringLiteral("automation-spotify"),
                                    QStringLiteral("automation-chromeYouTube"),
                                    QStringLiteral("automation-firefox"),
                                    QStringLiteral("automation-otherPlayers")}));
        // The Chrome app is every Chromium-based browser, whatever page plays.
        QCOMPARE(names, (QStringList{QStringLiteral("Spotify"), QStringLiteral("Chrome"),
                                     QStringLiteral("Firefox"), QStringLiteral("Other players")}));
        QCOMPARE(checkedStatusOf(QStringLiteral("automation-otherPlayers")),
                 QStringLiteral("Granted"));
        QCOMPARE(statusOf(QStringLiteral("automation-firefox")), QStringLiteral("Not running"));
    }

    void aPlayerThatIsGoneIsNotRunning() {
        auto player = spotify();
        openTab();
        QCOMPARE(checkedStatusOf(spotifyItem), QStringLiteral("Granted"));
        player->kill();
        // Once the session has seen it go; a new tab has a new checker, with no cache.
        const auto running = Platform::createRunningApps();
        QTRY_VERIFY(!running->runningApps().contains(MediaApp::spotify));
        m_tab.reset();
        openTab();
        QCOMPARE(checkedStatusOf(spotifyItem), QStringLiteral("Not running"));
    }
};

QTEST_MAIN(TestPermissionsTab)
#include "tst_permissionstab.moc"
