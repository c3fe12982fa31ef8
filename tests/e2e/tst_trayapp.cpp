#include "platform/IniSettings.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/Desktop.h"

#include <QFile>
#include <QProcess>
#include <QtTest>

namespace {

const QString binary = QStringLiteral(SCRUBLINE_BINARY);
const QString trayClass = QStringLiteral("scrubline");

std::optional<Desktop::Window> waitForWindow(const QString& className, int count,
                                             int timeoutMs = 10000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        const auto windows = Desktop::visibleWindows(className);
        if (windows.size() >= count) {
            return windows.last();
        }
        QTest::qWait(50);
    }
    return std::nullopt;
}

} // namespace

class TestTrayApp : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs inside with-session");
    }

    void waitsForATrayThenQuitsFromItsMenu() {
        QProcess app;
        app.setProcessChannelMode(QProcess::SeparateChannels);
        app.start(binary, {});
        QVERIFY(app.waitForStarted());

        // No tray yet: the program says why nothing shows, and keeps running (its icon docks
        // in the tray started below).
        QByteArray errors;
        QTRY_VERIFY2((errors += app.readAllStandardError()).contains("No system tray is running"),
                     errors.constData());
        QCOMPARE(app.state(), QProcess::Running);

        TrayHost tray;
        QVERIFY(tray.start());
        const auto icon = waitForWindow(trayClass, 1);
        QVERIFY2(icon.has_value(), "the icon docks once a tray appears");
        QVERIFY(icon->geometry.width() > 0 && icon->geometry.width() <= 64);

        Desktop::click(icon->geometry.center(), 3);
        const auto menu = waitForWindow(trayClass, 2);
        QVERIFY2(menu.has_value(), "a right click opens the menu");
        QVERIFY(menu->geometry.height() >= 10);

        Desktop::click(menu->geometry.center(), 1); // its one item, "Quit"
        QVERIFY(app.waitForFinished(10000));
        QCOMPARE(app.exitStatus(), QProcess::NormalExit);
        QCOMPARE(app.exitCode(), 0);

        // Starting and quitting changed no setting, so nothing was written.
        QVERIFY(!QFile::exists(qEnvironmentVariable("XDG_CONFIG_HOME") +
                               QStringLiteral("/Scrubline/Scrubline.conf")));
    }

    // A left click on the icon opens the panel under it, with the welcome content on a first
    // run; Escape closes it again.
    void aClickOpensThePanelUnderTheIcon() {
        TrayHost tray;
        QVERIFY(tray.start());
        QProcess app;
        app.start(binary, {});
        QVERIFY(app.waitForStarted());
        const auto icon = waitForWindow(trayClass, 1);
        QVERIFY2(icon.has_value(), "the icon docks");

        Desktop::click(icon->geometry.center(), 1);
        std::optional<Desktop::Window> panel;
        QTRY_VERIFY2_WITH_TIMEOUT(
            [&panel] {
                for (const auto& window : Desktop::visibleWindows(trayClass)) {
                    if (window.geometry.width() > 64) {
                        panel = window;
                    }
                }
                return panel.has_value();
            }(),
            "a left click opens the panel", 10000);
        QVERIFY2(panel->geometry.width() >= 200 && panel->geometry.width() <= 282,
                 qPrintable(QString::number(panel->geometry.width())));
        QVERIFY(panel->geometry.top() > icon->geometry.bottom());
        QVERIFY(panel->geometry.height() > 100);

        Desktop::output(QStringLiteral("xdotool"),
                        {QStringLiteral("key"), QStringLiteral("Escape")});
        QTRY_COMPARE_WITH_TIMEOUT(Desktop::visibleWindows(trayClass).size(), 1, 10000);

        app.terminate();
        QVERIFY(app.waitForFinished(10000));
    }

    void withoutADisplayItSaysSoInOneLine_data() {
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("named");
        QTest::newRow("unset") << QString() << "DISPLAY is not set";
        QTest::newRow("no server") << ":4242"
                                   << "cannot open display \":4242\"";
    }

    void withoutADisplayItSaysSoInOneLine() {
        QFETCH(QString, display);
        QFETCH(QString, named);
        QProcess app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        if (display.isEmpty()) {
            environment.remove(QStringLiteral("DISPLAY"));
        } else {
            environment.insert(QStringLiteral("DISPLAY"), display);
        }
        app.setProcessEnvironment(environment);
        app.start(binary, {});
        QVERIFY(app.waitForFinished(10000));
        QCOMPARE(app.exitStatus(), QProcess::NormalExit);
        QCOMPARE(app.exitCode(), 1);
        const QString error = QString::fromLocal8Bit(app.readAllStandardError());
        QCOMPARE(error.count(QLatin1Char('\n')), 1);
        QVERIFY2(error.startsWith(QStringLiteral("scrubline: ")), qPrintable(error));
        QVERIFY2(error.contains(named), qPrintable(error));
    }

    // Players cannot be reached, which is said once; the program itself carries on.
    void withoutASessionBusItKeepsRunning() {
        QProcess app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                           QStringLiteral("unix:path=/nonexistent/bus"));
        app.setProcessEnvironment(environment);
        app.start(binary, {});
        QVERIFY(app.waitForStarted());
        QByteArray error;
        QTRY_VERIFY_WITH_TIMEOUT((error += app.readAllStandardError()).contains("No D-Bus"), 20000);
        QCOMPARE(app.state(), QProcess::Running);
        // Said once in all it printed until it was ended.
        app.terminate();
        QVERIFY(app.waitForFinished(10000));
        error += app.readAllStandardError();
        QCOMPARE(error.count("No D-Bus session bus, so no media player can be reached: "), 1);
    }

    // The icon switched off in the settings: the program runs without one.
    void aHiddenIconStaysAwayAtLaunch() {
        const QString file =
            qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
        SettingsStore(openIniSettings(file)).setBool(AppSettings::Keys::showMenuBarIcon, false);
        TrayHost tray;
        QVERIFY(tray.start());
        QProcess app;
        app.start(binary, {});
        QVERIFY(app.waitForStarted());
        // A docked icon would show within this time, as the tests above see.
        QTest::qWait(3000);
        QCOMPARE(app.state(), QProcess::Running);
        QVERIFY(Desktop::visibleWindows(trayClass).isEmpty());
        app.terminate();
        QVERIFY(app.waitForFinished(10000));
        QVERIFY(QFile::remove(file));
    }
};

QTEST_GUILESS_MAIN(TestTrayApp)
#include "tst_trayapp.moc"
