// The program's windows on a real Wayland compositor (weston, headless; see with-wayland): the
// whole program is built here as it starts, as a Wayland client with no X server in reach, and
// serves the session's requests as the running copy. The overlay shows after a seek asked for
// on the command line without taking the focus, the settings window opens and works, the
// Permissions tab names the desktop portal as the way hotkeys come, and a StatusNotifierItem
// panel that starts later gets the item, whose click opens the panel.
#include "app/InstanceServer.h"
#include "app/ScrublineApp.h"
#include "support/FakePortal.h"
#include "support/FakeStatusNotifierHost.h"
#include "support/LogCapture.h"
#include "support/PlayerProcess.h"
#include "views/overlay/OverlayPanel.h"
#include "views/settings/HotkeysSettingsTab.h"
#include "views/settings/PermissionsSettingsTab.h"
#include "views/settings/SettingsView.h"
#include "views/tray/TrayIcon.h"
#include "views/tray/TrayPanelWindow.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QLabel>
#include <QProcess>
#include <QSettings>
#include <QTabBar>
#include <QWindow>
#include <QtTest>

namespace {

template <class Widget>
Widget* findVisible() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible()) {
            continue;
        }
        if (auto* found = qobject_cast<Widget*>(window)) {
            return found;
        }
        for (Widget* found : window->findChildren<Widget*>()) {
            if (found->isVisible()) {
                return found;
            }
        }
    }
    return nullptr;
}

bool exposed(const QWidget* widget) {
    return widget != nullptr && widget->window()->windowHandle() != nullptr &&
           widget->window()->windowHandle()->isExposed();
}

} // namespace

class TestWaylandWindows : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<PlayerProcess> m_player;
    std::unique_ptr<InstanceServer> m_server;
    std::unique_ptr<ScrublineApp> m_app;

private slots:
    void initTestCase() {
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("wayland"));
        QVERIFY(qEnvironmentVariableIsEmpty("DISPLAY"));
        QApplication::setApplicationName(QStringLiteral("Scrubline"));
        QApplication::setOrganizationDomain(QStringLiteral("scrubline.com"));
        QApplication::setQuitOnLastWindowClosed(false);
        QSettings(qEnvironmentVariable("XDG_CONFIG_HOME") +
                      QStringLiteral("/Scrubline/Scrubline.conf"),
                  QSettings::IniFormat)
            .setValue(QStringLiteral("hasCompletedOnboarding"), true);
        m_portal = std::make_unique<FakePortal>();
        QVERIFY(m_portal->appear());
        m_player = PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("spotify"),
                                        QStringLiteral("--spotify"), QStringLiteral("--position"),
                                        QStringLiteral("60")});
        QVERIFY(m_player->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.spotify")));
        // The running copy, as the program makes itself one.
        m_server = std::make_unique<InstanceServer>(ScrublineApp::openSingleInstance());
        QVERIFY(m_server->claim());
        m_app = std::make_unique<ScrublineApp>();
        m_server->serve(m_app.get());
        QTRY_COMPARE_WITH_TIMEOUT(m_portal->boundShortcuts().size(), 2, 20000);
    }

    void cleanupTestCase() {
        m_app.reset();
        m_server.reset();
        m_player.reset();
        m_portal.reset();
    }

    void theOverlayShowsAfterACommandLineSeekWithoutTakingTheFocus() {
        QVERIFY(QDBusConnection::sessionBus()
                    .interface()
                    ->isServiceRegistered(QStringLiteral("com.scrubline.app"))
                    .value());
        QWindow* focusBefore = QGuiApplication::focusWindow();
        LogCapture log;
        // Another process, as from a terminal or a key binding of the desktop's; this thread
        // goes on serving meanwhile.
        QProcess command;
        command.start(QStringLiteral(SCRUBLINE_BINARY),
                      {QStringLiteral("seek"), QStringLiteral("+10")});
        QVERIFY(command.waitForStarted());
        OverlayPanel* overlay = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((overlay = findVisible<OverlayPanel>()) != nullptr, 20000);
        QTRY_COMPARE_WITH_TIMEOUT(command.state(), QProcess::NotRunning, 20000);
        QCOMPARE(command.exitStatus(), QProcess::NormalExit);
        QCOMPARE(command.exitCode(), 0);
        QCOMPARE(command.readAllStandardOutput(), QByteArray("Spotify: +10s\n"));
        QCOMPARE(command.readAllStandardError(), QByteArray());
        QCOMPARE(m_player->calls().filter(QStringLiteral("Seek ")),
                 QStringList{QStringLiteral("Seek 10000000")});
        QTRY_VERIFY_WITH_TIMEOUT(exposed(overlay), 10000);
        QVERIFY(overlay->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
        QTest::qWait(300);
        QCOMPARE(QGuiApplication::focusWindow(), focusBefore);
        QTRY_COMPARE_WITH_TIMEOUT(overlay->fade(), 1.0, 10000);
        // It fades out again by itself, all drawn by the program: nothing asks the compositor
        // for a window opacity it cannot give.
        QTRY_VERIFY_WITH_TIMEOUT(findVisible<OverlayPanel>() == nullptr, 20000);
        for (const LogCapture::Entry& entry : log.entries()) {
            QVERIFY2(!entry.message.contains(QStringLiteral("opacity")), qPrintable(entry.message));
        }
    }

    void theSettingsWindowOpensAndNamesThePortal() {
        m_app->showSettings();
        SettingsView* view = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((view = findVisible<SettingsView>()) != nullptr, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(exposed(view), 10000);
        QTabBar* tabs = view->tabBar();
        for (int i = 0; i < tabs->count(); ++i) {
            if (tabs->tabText(i) == QStringLiteral("Hotkeys")) {
                tabs->setCurrentIndex(i);
            }
        }
        HotkeysSettingsTab* hotkeys = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((hotkeys = findVisible<HotkeysSettingsTab>()) != nullptr, 10000);
        QCOMPARE(hotkeys->rows().size(), 2);
        for (int i = 0; i < tabs->count(); ++i) {
            if (tabs->tabText(i) == QStringLiteral("Permissions")) {
                tabs->setCurrentIndex(i);
            }
        }
        PermissionsSettingsTab* permissions = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((permissions = findVisible<PermissionsSettingsTab>()) != nullptr,
                                 10000);
        auto* status = permissions->findChild<QWidget*>(QStringLiteral("accessibilityRow"))
                           ->findChild<QLabel*>(QStringLiteral("statusText"));
        QTRY_COMPARE_WITH_TIMEOUT(status->text(), QStringLiteral("Desktop portal\n2 of 2 bound"),
                                  10000);
        view->window()->close();
        QTRY_VERIFY_WITH_TIMEOUT(findVisible<SettingsView>() == nullptr, 10000);
    }

    // No tray runs here: asking for the program again opens its settings instead of a panel.
    void withoutATrayAReopenOpensTheSettings() {
        m_app->reopen();
        SettingsView* view = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((view = findVisible<SettingsView>()) != nullptr, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(exposed(view), 10000);
        view->window()->close();
        QTRY_VERIFY_WITH_TIMEOUT(findVisible<SettingsView>() == nullptr, 10000);
    }

    // A panel that starts after the program gets its item. Wayland lets no program place its
    // windows, and a click on the item is no input the program saw, so the panel shows as a
    // window of its own wherever the compositor puts it; Escape closes it.
    void aLatePanelGetsTheItemAndItsClickOpensThePanel() {
        // The toolkit asks the watcher with a call that does not run this thread's event loop:
        // the watcher runs in a process of its own.
        QProcess watcher;
        watcher.start(QStringLiteral(SCRUBLINE_FAKE_WATCHER), {});
        QVERIFY(watcher.waitForReadyRead(10000));
        QCOMPARE(watcher.readLine().trimmed(), QByteArray("ready"));
        FakeStatusNotifierHost host;
        QVERIFY(host.registerWithWatcher());
        QList<FakeStatusNotifierHost::Item> items;
        QTRY_COMPARE_WITH_TIMEOUT((items = host.registeredItems()).size(), 1, 10000);
        const auto properties = host.properties(items.first());
        QCOMPARE(properties.value("Id"), QStringLiteral("Scrubline"));
        QCOMPARE(properties.value("Status"), QStringLiteral("Active"));
        QVERIFY(!properties.icons.isEmpty());

        QVERIFY(host.activate(items.first(), 0, 0));
        TrayPanelWindow* panel = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((panel = findVisible<TrayPanelWindow>()) != nullptr, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(exposed(panel), 10000);
        QVERIFY(panel->width() >= 200 && panel->width() <= 282);
        // Not a pop-up, which would hang from whichever window of the program took input last.
        QCOMPARE(panel->windowType(), Qt::Tool);
        QTest::keyClick(panel, Qt::Key_Escape);
        QTRY_VERIFY_WITH_TIMEOUT(findVisible<TrayPanelWindow>() == nullptr, 10000);

        // Asking for the program again opens the panel now that a tray shows the icon.
        QTest::qWait(TrayIcon::reopenGuardMs + 50);
        m_app->reopen();
        QTRY_VERIFY_WITH_TIMEOUT((panel = findVisible<TrayPanelWindow>()) != nullptr, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(exposed(panel), 10000);
        // A compositor without a keyboard, as here, gives the panel no focus to lose: a second
        // click on the item closes it.
        QVERIFY(host.activate(items.first(), 0, 0));
        QTRY_VERIFY_WITH_TIMEOUT(findVisible<TrayPanelWindow>() == nullptr, 10000);

        watcher.terminate();
        QVERIFY(watcher.waitForFinished(10000));
    }
};

QTEST_MAIN(TestWaylandWindows)
#include "tst_waylandwindows.moc"
