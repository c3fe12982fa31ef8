// The real program on a real Wayland compositor (weston, headless), with no X server in reach:
// it starts, says which way its hotkeys come, and a shortcut the desktop portal activates
// moves a player on the private bus; without a portal it says once that there are no global
// hotkeys and keeps running. A StatusNotifierItem panel, the only tray there is under
// Wayland, that starts after it gets its item, and the item's menu quits it.
#include "support/FakePortal.h"
#include "support/PlayerProcess.h"
#include "support/StatusNotifierPanel.h"

#include <QDBusConnection>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QtTest>

namespace {

const QString binary = QStringLiteral(SCRUBLINE_BINARY);

QString runtimeDir() {
    return qEnvironmentVariable("XDG_RUNTIME_DIR");
}

} // namespace

class TestWaylandApp : public QObject {
    Q_OBJECT

private:
    QProcess m_compositor;
    QString m_socket;
    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<QProcess> m_app;
    QByteArray m_log;

    void startApp() {
        m_log.clear();
        m_app = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DISPLAY"));
        environment.insert(QStringLiteral("WAYLAND_DISPLAY"), m_socket);
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        m_app->setProcessEnvironment(environment);
        connect(m_app.get(), &QProcess::readyReadStandardError, this, [this] {
            const QByteArray text = m_app->readAllStandardError();
            m_log += text;
            std::fputs(text.constData(), stderr);
        });
        m_app->start(binary, {});
        QVERIFY(m_app->waitForStarted());
    }

    int logged(const char* text) const { return int(m_log.count(text)); }

private slots:
    void initTestCase() {
        QVERIFY2(!runtimeDir().isEmpty(), "runs inside with-session");
        m_socket = QStringLiteral("scrubline-wayland-%1").arg(QCoreApplication::applicationPid());
        m_compositor.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_compositor.start(QStringLiteral("weston"),
                           {QStringLiteral("--backend=headless-backend.so"),
                            QStringLiteral("--socket=") + m_socket, QStringLiteral("--idle-time=0"),
                            QStringLiteral("--no-config")});
        QVERIFY2(m_compositor.waitForStarted(), "weston starts");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(runtimeDir() + QLatin1Char('/') + m_socket), 20000);
        const QString file =
            qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
        QSettings(file, QSettings::IniFormat)
            .setValue(QStringLiteral("hasCompletedOnboarding"), true);
    }

    void cleanup() {
        if (m_app && m_app->state() != QProcess::NotRunning) {
            m_app->terminate();
            QVERIFY(m_app->waitForFinished(10000));
        }
        m_app.reset();
        m_portal.reset();
    }

    void cleanupTestCase() {
        m_compositor.terminate();
        m_compositor.waitForFinished(10000);
    }

    void theDesktopPortalsShortcutsSeekThePlayer() {
        m_portal = std::make_unique<FakePortal>();
        QVERIFY(m_portal->appear());
        auto spotify = PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("spotify"),
                                            QStringLiteral("--spotify"),
                                            QStringLiteral("--position"), QStringLiteral("60")});
        QVERIFY(spotify->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.spotify")));
        startApp();
        // The two preset actions, offered with their combinations.
        QTRY_COMPARE_WITH_TIMEOUT(m_portal->boundShortcuts().size(), 2, 20000);
        QCOMPARE(
            m_portal->boundShortcuts()[0].properties.value(QStringLiteral("preferred_trigger")),
            QVariant(QStringLiteral("CTRL+ALT+LOGO+Right")));
        QCOMPARE(m_portal->members().first(), QStringLiteral("Register"));
        QCOMPARE(logged("Global hotkeys through the desktop portal"), 1);
        QCOMPARE(logged("need an X11"), 0);

        m_portal->activate(m_portal->boundSession(), m_portal->boundShortcuts()[1].id);
        QTRY_COMPARE_WITH_TIMEOUT(logged("com.scrubline.app.seek: Seek -10.0s"), 1, 20000);
        const QStringList moves =
            spotify->calls().filter(QRegularExpression(QStringLiteral("^(SetPosition|Seek) ")));
        QCOMPARE(moves.size(), 1);
        QCOMPARE(m_app->state(), QProcess::Running);
    }

    void withoutAPortalItSaysSoOnceAndKeepsRunning() {
        auto spotify = PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("spotify"),
                                            QStringLiteral("--spotify"),
                                            QStringLiteral("--position"), QStringLiteral("60")});
        QVERIFY(spotify->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.spotify")));
        startApp();
        QTRY_COMPARE_WITH_TIMEOUT(logged("Global hotkeys are not available in this session"), 1,
                                  20000);
        QTest::qWait(1000);
        QCOMPARE(logged("Global hotkeys are not available in this session"), 1);
        QCOMPARE(logged("need an X11"), 0);
        QCOMPARE(m_app->state(), QProcess::Running);

        // What the user binds in the desktop's own settings instead still seeks, through the
        // running program.
        QProcess command;
        command.setProcessEnvironment(m_app->processEnvironment());
        command.start(binary, {QStringLiteral("seek"), QStringLiteral("+10")});
        QVERIFY(command.waitForFinished(20000));
        QCOMPARE(command.exitCode(), 0);
        QCOMPARE(command.readAllStandardOutput().trimmed(), QByteArray("Spotify: +10s"));
        QTRY_COMPARE_WITH_TIMEOUT(logged("com.scrubline.app.seek: Seek 10.0s"), 1, 10000);
        QCOMPARE(
            spotify->calls().filter(QRegularExpression(QStringLiteral("^(SetPosition|Seek) "))),
            QStringList{QStringLiteral("Seek 10000000")});
    }

    void aLatePanelGetsTheItemAndItsMenuQuits() {
        startApp();
        QTRY_COMPARE_WITH_TIMEOUT(logged("No system tray is running"), 1, 20000);
        StatusNotifierPanel panel;
        QVERIFY(panel.start());
        QTRY_COMPARE_WITH_TIMEOUT(panel.watcher.items().size(), 1, 20000);
        const FakeStatusNotifierWatcher::Item item = panel.watcher.items().first();
        const auto properties = panel.host.properties(item);
        QCOMPARE(properties.value("Id"), QStringLiteral("Scrubline"));
        QCOMPARE(properties.value("Title"), QStringLiteral("Scrubline"));
        QCOMPARE(properties.value("Status"), QStringLiteral("Active"));
        QVERIFY(!properties.icons.isEmpty());
        QVERIFY(panel.host.activate(item, 0, 0));

        QCOMPARE(panel.host.menuLabels(item), QStringList{QStringLiteral("Quit")});
        QVERIFY(panel.host.clickMenuEntry(item, QStringLiteral("Quit")));
        QVERIFY(m_app->waitForFinished(10000));
        QCOMPARE(m_app->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_app->exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(TestWaylandApp)
#include "tst_waylandapp.moc"
