// The real program and a StatusNotifierItem tray on the test's private bus (a watcher and a
// host of the test's own, as a desktop panel runs them) in an X11 session: the panel that
// starts after the program gets its item, whose click opens the panel and whose menu quits.
#include "platform/IniSettings.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/Desktop.h"
#include "support/StatusNotifierPanel.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QtTest>

namespace {

const QString binary = QStringLiteral(SCRUBLINE_BINARY);
const QString programClass = QStringLiteral("scrubline");

QString settingsFile() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
}

bool instanceRuns() {
    return QDBusConnection::sessionBus()
        .interface()
        ->isServiceRegistered(QStringLiteral("com.scrubline.app"))
        .value();
}

QList<Desktop::Window> windowsWiderThan(int width) {
    QList<Desktop::Window> found;
    for (const auto& window : Desktop::visibleWindows(programClass)) {
        if (window.geometry.width() > width) {
            found << window;
        }
    }
    return found;
}

bool panelShows() {
    for (const auto& window : windowsWiderThan(64)) {
        if (window.geometry.width() >= 200 && window.geometry.width() <= 282) {
            return true;
        }
    }
    return false;
}

int dockedIcons() {
    return int(Desktop::visibleWindows(programClass).size() - windowsWiderThan(64).size());
}

} // namespace

class TestStatusNotifierTray : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QProcess> m_app;
    QByteArray m_log;

    void startApp() {
        m_log.clear();
        m_app = std::make_unique<QProcess>();
        connect(m_app.get(), &QProcess::readyReadStandardError, this,
                [this] { m_log += m_app->readAllStandardError(); });
        m_app->start(binary, {});
        QVERIFY(m_app->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(instanceRuns(), 20000);
    }

    // Long enough for an item to reach a watcher, as the tests that expect one see.
    static void waitForNothing() { QTest::qWait(2000); }

private slots:
    void initTestCase() {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs inside with-session");
        // Past the welcome content, so the panel shows its menu.
        SettingsStore(openIniSettings(settingsFile()))
            .setBool(QStringLiteral("hasCompletedOnboarding"), true);
    }

    void cleanup() {
        if (m_app && m_app->state() != QProcess::NotRunning) {
            m_app->terminate();
            QVERIFY(m_app->waitForFinished(10000));
        }
        m_app.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!instanceRuns(), 10000);
        SettingsStore(openIniSettings(settingsFile()))
            .setBool(AppSettings::Keys::showMenuBarIcon, true);
    }

    // Autostart often runs before the panel: the item reaches it all the same, with the
    // program's name, icon and status; its click opens the panel and its menu's "Quit" quits.
    void aPanelThatStartsLaterGetsTheItem() {
        startApp();
        QTRY_VERIFY_WITH_TIMEOUT(m_log.contains("No system tray is running"), 10000);

        StatusNotifierPanel panel;
        QVERIFY(panel.start());
        QTRY_COMPARE_WITH_TIMEOUT(panel.watcher.items().size(), 1, 10000);
        const FakeStatusNotifierWatcher::Item item = panel.watcher.items().first();
        QCOMPARE(item.path, QStringLiteral("/StatusNotifierItem"));

        const auto properties = panel.host.properties(item);
        QCOMPARE(properties.value("Id"), QStringLiteral("Scrubline"));
        QCOMPARE(properties.value("Title"), QStringLiteral("Scrubline"));
        QCOMPARE(properties.value("Status"), QStringLiteral("Active"));
        QCOMPARE(properties.value("Category"), QStringLiteral("ApplicationStatus"));
        QCOMPARE(properties.toolTipTitle, QStringLiteral("Scrubline"));
        // The symbol drawn by the program, at the sizes a panel picks from.
        QVERIFY(!properties.icons.isEmpty());
        const auto& icon = properties.icons.last();
        const int drawn = icon.drawnPixels();
        QVERIFY2(drawn > 0 && drawn < icon.width * icon.height, qPrintable(QString::number(drawn)));

        QVERIFY(!panelShows());
        QVERIFY(panel.host.activate(item, 0, 0));
        QTRY_VERIFY_WITH_TIMEOUT(panelShows(), 10000);
        Desktop::output(QStringLiteral("xdotool"),
                        {QStringLiteral("key"), QStringLiteral("Escape")});
        QTRY_VERIFY_WITH_TIMEOUT(!panelShows(), 10000);
        // No XEmbed icon beside the item.
        QCOMPARE(dockedIcons(), 0);

        QCOMPARE(panel.host.menuLabels(item), QStringList{QStringLiteral("Quit")});
        QVERIFY(panel.host.clickMenuEntry(item, QStringLiteral("Quit")));
        QVERIFY(m_app->waitForFinished(10000));
        QCOMPARE(m_app->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_app->exitCode(), 0);
    }

    // A watcher shows nothing until a host registers with it; the item comes when one does.
    void aWatcherWithoutAHostIsNoTray() {
        StatusNotifierPanel panel;
        QVERIFY(panel.watcher.appear());
        startApp();
        QTRY_VERIFY_WITH_TIMEOUT(m_log.contains("No system tray is running"), 10000);
        waitForNothing();
        QCOMPARE(panel.watcher.registrations(), 0);

        QVERIFY(panel.host.registerWithWatcher());
        QTRY_COMPARE_WITH_TIMEOUT(panel.watcher.items().size(), 1, 10000);
    }

    // With the icon switched off, a panel that starts gets no item; launching the program
    // again turns the icon back on, and the item and the panel come.
    void aHiddenIconReachesALatePanelOnlyWhenBackOn() {
        SettingsStore(openIniSettings(settingsFile()))
            .setBool(AppSettings::Keys::showMenuBarIcon, false);
        startApp();
        StatusNotifierPanel panel;
        QVERIFY(panel.start());
        waitForNothing();
        QCOMPARE(panel.watcher.registrations(), 0);

        QCOMPARE(QProcess::execute(binary, {}), 0);
        QTRY_COMPARE_WITH_TIMEOUT(panel.watcher.items().size(), 1, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(panelShows(), 10000);
    }

    // A panel that restarts hears of the item again.
    void aRestartedWatcherGetsTheItemAgain() {
        StatusNotifierPanel panel;
        QVERIFY(panel.start());
        startApp();
        QTRY_COMPARE_WITH_TIMEOUT(panel.watcher.items().size(), 1, 10000);
        QCOMPARE(panel.watcher.registrations(), 1);

        panel.watcher.disappear();
        QVERIFY(panel.watcher.items().isEmpty());
        QVERIFY(panel.watcher.appear());
        QVERIFY(panel.host.registerWithWatcher());
        QTRY_COMPARE_WITH_TIMEOUT(panel.watcher.items().size(), 1, 10000);
        QCOMPARE(panel.watcher.registrations(), 2);
    }

    // The icon docked in an XEmbed tray stays the one icon when a StatusNotifierItem panel
    // starts later.
    void anXEmbedIconStaysTheOneIcon() {
        TrayHost tray;
        QVERIFY(tray.start());
        startApp();
        QTRY_COMPARE_WITH_TIMEOUT(dockedIcons(), 1, 10000);
        StatusNotifierPanel panel;
        QVERIFY(panel.start());
        waitForNothing();
        QCOMPARE(panel.watcher.registrations(), 0);
        QCOMPARE(dockedIcons(), 1);
    }
};

QTEST_GUILESS_MAIN(TestStatusNotifierTray)
#include "tst_statusnotifiertray.moc"
