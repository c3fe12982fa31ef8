// Two real copies of the program in one session: the second hands its launch or its command to
// the first over the session bus, and a command runs alone when no copy runs. Everything is
// started the way a user starts it, through the `scrubline` command.
#include "platform/IniSettings.h"
#include "platform/Platform.h"
#include "platform/linux/MprisClient.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/Desktop.h"
#include "support/LinkerTrace.h"
#include "support/OtherXClient.h"
#include "support/PlayerProcess.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include <X11/keysym.h>
#include <xcb/xcb.h>

#include <csignal>
#include <cstdlib>

namespace {

const QString binary = QStringLiteral(SCRUBLINE_BINARY);
const QString programClass = QStringLiteral("scrubline");
const QString instanceName = QStringLiteral("com.scrubline.app");
const QString spotifyName = QStringLiteral("org.mpris.MediaPlayer2.spotify");

QString settingsFile() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
}

bool instanceRuns() {
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(instanceName).value();
}

std::optional<Desktop::Window> trayIcon() {
    for (const auto& window : Desktop::visibleWindows(programClass)) {
        if (window.geometry.width() <= 64 && window.geometry.height() <= 64) {
            return window;
        }
    }
    return std::nullopt;
}

bool panelShows() {
    for (const auto& window : Desktop::visibleWindows(programClass)) {
        if (window.geometry.width() >= 200 && window.geometry.width() <= 282 &&
            window.geometry.height() > 100) {
            return true;
        }
    }
    return false;
}

bool settingsWindowShows() {
    for (const auto& window : Desktop::visibleWindows(programClass)) {
        if (window.geometry.width() == 480) {
            return true;
        }
    }
    return false;
}

// Whether some client other than this test holds ctrl+alt+super+Right, a preset hotkey, on the
// root window: tried as a grab of our own, which the server refuses while another holds it.
bool forwardIsGrabbedElsewhere() {
    // Any modifiers: whatever the program grabbed for Right, this overlaps it.
    return OtherXClient().heldElsewhere(XK_Right, XCB_MOD_MASK_ANY);
}

struct Run {
    int exitCode = -1;
    QString out;
    QString err;
    // What the dynamic linker loaded, where the run asked it to tell.
    QStringList libraries;
};

// One command of the program, run to its end, in this session or in `environment`.
Run command(const QStringList& arguments, const QProcessEnvironment& environment = {}) {
    QProcess process;
    if (!environment.isEmpty()) {
        process.setProcessEnvironment(environment);
    }
    process.start(binary, arguments);
    Run run;
    if (!process.waitForFinished(40000) || process.exitStatus() != QProcess::NormalExit) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitCode();
    run.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    QByteArray err = process.readAllStandardError();
    run.libraries = LinkerTrace::takeLibraries(err);
    run.err = QString::fromLocal8Bit(err);
    return run;
}

// The same, telling what it loaded.
Run tracedCommand(const QStringList& arguments,
                  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment()) {
    LinkerTrace::enable(environment);
    return command(arguments, environment);
}

// No display and no session bus at all.
QProcessEnvironment noSession() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       QStringLiteral("unix:path=/nonexistent/bus"));
    return environment;
}

bool loadedQt(const Run& run) {
    return !run.libraries.filter(QStringLiteral("libQt")).isEmpty();
}

// The process that serves the running copy's name.
qint64 instancePid() {
    return qint64(QDBusConnection::sessionBus().interface()->servicePid(instanceName).value());
}

double spotifyPosition() {
    const auto state = MprisClient::readState(PlayerBus::session(), spotifyName, 3000);
    return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
}

} // namespace

class TestSingleInstance : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TrayHost> m_tray;
    std::unique_ptr<QProcess> m_app;
    QByteArray m_log;

    // The tray program, started and on the bus.
    void startApp(bool withTray, const QStringList& arguments = {}) {
        if (withTray) {
            m_tray = std::make_unique<TrayHost>();
            QVERIFY(m_tray->start());
        }
        m_log.clear();
        m_app = std::make_unique<QProcess>();
        connect(m_app.get(), &QProcess::readyReadStandardError, this,
                [this] { m_log += m_app->readAllStandardError(); });
        m_app->start(binary, arguments);
        QVERIFY(m_app->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(instanceRuns(), 20000);
    }

    int servedSeeks() const { return int(m_log.count("com.scrubline.app.seek: Seek ")); }

    // A playing Spotify at 20 s of 240.
    std::unique_ptr<PlayerProcess> startSpotify(const QStringList& extra = {}) {
        auto player =
            PlayerProcess::fake(QStringList{QStringLiteral("--name"), QStringLiteral("spotify"),
                                            QStringLiteral("--position"), QStringLiteral("20")} +
                                extra);
        if (!player->waitForBusName(spotifyName)) {
            return nullptr;
        }
        return player;
    }

    // `scrubline seek +10` against the player, by whoever serves it; fails the test unless the
    // player moved ten seconds on.
    void seekTenOn(const QString& expectedLine) {
        const auto player = startSpotify();
        QVERIFY(player);
        const double before = spotifyPosition();
        QVERIFY(before >= 20);
        QElapsedTimer clock;
        clock.start();
        const Run run = command({QStringLiteral("seek"), QStringLiteral("+10")});
        const double elapsed = clock.elapsed() / 1000.0;
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, expectedLine + QLatin1Char('\n'));
        const double after = spotifyPosition();
        QVERIFY2(after >= before + 10 && after <= before + 10 + elapsed + 0.5,
                 qPrintable(QStringLiteral("%1 -> %2").arg(before).arg(after)));
        // One move, sent the way a native player takes it: a relative seek.
        QCOMPARE(player->calls().filter(QRegularExpression(QStringLiteral("^(SetPosition|Seek) "))),
                 QStringList{QStringLiteral("Seek 10000000")});
    }

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
        m_tray.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!instanceRuns(), 10000);
        SettingsStore(openIniSettings(settingsFile()))
            .setBool(AppSettings::Keys::showMenuBarIcon, true);
    }

    void aSecondLaunchExitsAndTheFirstOpensItsPanel() {
        startApp(true);
        QTRY_VERIFY_WITH_TIMEOUT(trayIcon().has_value(), 10000);
        QVERIFY(!panelShows());
        const Run second = command({});
        QCOMPARE(second.exitCode, 0);
        QVERIFY2(second.err.isEmpty(), qPrintable(second.err));
        QTRY_VERIFY_WITH_TIMEOUT(panelShows(), 10000);
        // One icon still: the second copy never got as far as its own. It had ended, and its
        // windows with its display connection, before the first opened the panel.
        int icons = 0;
        for (const auto& window : Desktop::visibleWindows(programClass)) {
            icons += window.geometry.width() <= 64 ? 1 : 0;
        }
        QCOMPARE(icons, 1);
        QCOMPARE(m_app->state(), QProcess::Running);
    }

    void aRelaunchBringsAHiddenIconBack() {
        SettingsStore(openIniSettings(settingsFile()))
            .setBool(AppSettings::Keys::showMenuBarIcon, false);
        startApp(true);
        // A docked icon would show within this time, as the test above sees.
        QTest::qWait(2000);
        QVERIFY(!trayIcon().has_value());
        // The hotkeys do not depend on the icon.
        QTRY_VERIFY_WITH_TIMEOUT(forwardIsGrabbedElsewhere(), 20000);

        QCOMPARE(command({}).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(trayIcon().has_value(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(panelShows(), 10000);
        QCOMPARE(SettingsStore(openIniSettings(settingsFile()))
                     .boolValue(AppSettings::Keys::showMenuBarIcon),
                 std::optional<bool>(true));
    }

    // Another session (here: another session bus) has a copy of its own.
    void anotherSessionRunsItsOwnCopy() {
        startApp(false);
        QProcess otherBus;
        otherBus.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"),
                        QStringLiteral("--print-address=1")});
        QVERIFY(otherBus.waitForReadyRead(10000));
        const QString address = QString::fromUtf8(otherBus.readLine()).trimmed();
        QVERIFY2(address.startsWith(QStringLiteral("unix:")), qPrintable(address));

        QProcess other;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
        other.setProcessEnvironment(environment);
        other.start(binary, {});
        QVERIFY(other.waitForStarted());
        QDBusConnection otherConnection =
            QDBusConnection::connectToBus(address, QStringLiteral("other session"));
        QTRY_VERIFY_WITH_TIMEOUT(
            otherConnection.interface()->isServiceRegistered(instanceName).value(), 20000);
        QCOMPARE(other.state(), QProcess::Running);
        QVERIFY(instanceRuns());
        QCOMPARE(m_app->state(), QProcess::Running);
        other.terminate();
        QVERIFY(other.waitForFinished(10000));
        QCOMPARE(other.exitCode(), 0);
        QDBusConnection::disconnectFromBus(QStringLiteral("other session"));
        otherBus.terminate();
        QVERIFY(otherBus.waitForFinished(10000));
    }

    void withoutATrayARelaunchOpensTheSettings() {
        startApp(false);
        QVERIFY(!settingsWindowShows());
        QCOMPARE(command({}).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(settingsWindowShows(), 10000);
    }

    void settingsOpensTheWindowOfTheRunningCopy() {
        startApp(true);
        QCOMPARE(command({QStringLiteral("settings")}).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(settingsWindowShows(), 10000);
    }

    void settingsStartsTheProgramWhenNoneRuns() {
        startApp(true, {QStringLiteral("settings")});
        QTRY_VERIFY_WITH_TIMEOUT(settingsWindowShows(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(trayIcon().has_value(), 10000);
    }

    void aSeekGoesThroughTheRunningCopy() {
        startApp(true);
        seekTenOn(QStringLiteral("Spotify: +10s"));
        // Served by the running copy's queue, which logs each request it serves.
        QTRY_COMPARE_WITH_TIMEOUT(servedSeeks(), 1, 5000);
        QCOMPARE(m_app->state(), QProcess::Running);
    }

    // The command asks and prints, and the running copy does the work: no toolkit is loaded for
    // a command from a key binding.
    void throughTheRunningCopyTheCommandLoadsNoQt() {
        startApp(false);
        const auto player = startSpotify();
        QVERIFY(player);
        Run run = tracedCommand({QStringLiteral("seek"), QStringLiteral("+10")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QStringLiteral("Spotify: +10s\n"));
        QVERIFY2(run.err.isEmpty(), qPrintable(run.err));
        QVERIFY2(!run.libraries.filter(QStringLiteral("libdbus-1.so")).isEmpty(),
                 qPrintable(run.libraries.join(u' ')));
        QVERIFY2(!loadedQt(run), qPrintable(run.libraries.join(u' ')));
        QTRY_COMPARE_WITH_TIMEOUT(servedSeeks(), 1, 5000);

        run = tracedCommand({QStringLiteral("quit")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY(!loadedQt(run));
        QVERIFY(m_app->waitForFinished(10000));
    }

    // Where the command must start the program, the program takes its place: the process that
    // was started is the one that serves, so whoever started it can stop it.
    void withoutACopyTheCommandBecomesTheProgram() {
        startApp(false);
        QCOMPARE(instancePid(), m_app->processId());
        const QString program = QFileInfo(QStringLiteral(SCRUBLINE_PROGRAM)).canonicalFilePath();
        QVERIFY(QFileInfo(binary).canonicalFilePath() != program);
        QCOMPARE(
            QFileInfo(QStringLiteral("/proc/%1/exe").arg(m_app->processId())).canonicalFilePath(),
            program);
        // Under the name it was started by.
        QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(m_app->processId()));
        QVERIFY(cmdline.open(QIODevice::ReadOnly));
        QCOMPARE(cmdline.readAll(), binary.toLocal8Bit() + '\0');
    }

    void aSeekWorksWithoutARunningCopy() {
        QVERIFY(!instanceRuns());
        seekTenOn(QStringLiteral("Spotify: +10s"));
        QVERIFY(!instanceRuns());
    }

    // Any player of this platform, not only those of the reference list: here an "other player".
    void aSeekWithoutARunningCopyReachesEveryKindOfPlayer() {
        QVERIFY(!instanceRuns());
        const auto player =
            PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("vlc"),
                                 QStringLiteral("--position"), QStringLiteral("20")});
        QVERIFY(player->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.vlc")));
        const Run run = command({QStringLiteral("seek"), QStringLiteral("+10")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.out.endsWith(QStringLiteral(": +10s\n")), qPrintable(run.out));
        QCOMPARE(player->calls().filter(QRegularExpression(QStringLiteral("^(SetPosition|Seek) "))),
                 QStringList{QStringLiteral("Seek 10000000")});
        QVERIFY(!instanceRuns());
    }

    // A browser is known by the program that owns its player, which the bus is asked for
    // without waiting: the one request is still tried once the answer is in.
    void aSeekWithoutARunningCopyFindsABrowserByItsProgram() {
        QVERIFY(!instanceRuns());
        const auto player =
            PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("chromium.instance77"),
                                 QStringLiteral("--position"), QStringLiteral("20")},
                                QStringLiteral("chromium"));
        QVERIFY(
            player->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.chromium.instance77")));
        const Run run = command({QStringLiteral("seek"), QStringLiteral("+10")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QStringLiteral("Chrome: +10s\n"));
        // Moved as a browser is: to a position.
        const QStringList moves =
            player->calls().filter(QRegularExpression(QStringLiteral("^(SetPosition|Seek) ")));
        QCOMPARE(moves.size(), 1);
        QVERIFY2(moves[0].startsWith(QStringLiteral("SetPosition ")), qPrintable(moves[0]));
        QVERIFY(!instanceRuns());
    }

    void playPauseTogglesThroughEitherWay() {
        const auto player = startSpotify();
        QVERIFY(player);
        Run run = command({QStringLiteral("play-pause")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QStringLiteral("Spotify: play/pause\n"));
        startApp(false);
        run = command({QStringLiteral("play-pause")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(player->calls().count(QStringLiteral("PlayPause")), 2);
    }

    void theExitStatusSaysWhatHappened_data() {
        QTest::addColumn<bool>("running");
        QTest::newRow("alone") << false;
        QTest::newRow("through the running copy") << true;
    }

    void theExitStatusSaysWhatHappened() {
        QFETCH(bool, running);
        if (running) {
            startApp(false);
        }
        // No player at all.
        Run run = command({QStringLiteral("seek"), QStringLiteral("-5.5")});
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.out, QStringLiteral("No media apps running\n"));

        // A player, but paused.
        {
            const auto player = startSpotify({QStringLiteral("--paused")});
            QVERIFY(player);
            run = command({QStringLiteral("seek"), QStringLiteral("+10")});
            QCOMPARE(run.exitCode, 1);
            QCOMPARE(run.out, QStringLiteral("Nothing is playing\n"));
            QVERIFY(player->calls().filter(QStringLiteral("SetPosition")).isEmpty());
        }
        // A player that takes the call and never answers: an error, said as the panel says it.
        {
            const auto player = startSpotify({QStringLiteral("--silent")});
            QVERIFY(player);
            run = command({QStringLiteral("seek"), QStringLiteral("+10")});
            QCOMPARE(run.exitCode, 1);
            QCOMPARE(run.out, QStringLiteral("Spotify returned an error\n"));
        }
        // A usage error: one line, and nothing asked of anyone.
        run = command({QStringLiteral("seek"), QStringLiteral("ten")});
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.out.isEmpty());
        QCOMPARE(run.err.count(QLatin1Char('\n')), 1);
        QVERIFY2(run.err.startsWith(QStringLiteral("scrubline: ")), qPrintable(run.err));
        QCOMPARE(command({QStringLiteral("fast-forward")}).exitCode, 2);
    }

    void aSwitchedOffAppIsLeftAloneWithoutARunningCopy() {
        {
            AppSettings settings(std::make_unique<SettingsStore>(openIniSettings(settingsFile())),
                                 Platform::profile().mediaApps);
            settings.setDisabledApps({MediaApp::spotify});
        }
        const auto player = startSpotify();
        QVERIFY(player);
        const Run run = command({QStringLiteral("seek"), QStringLiteral("+10")});
        AppSettings(std::make_unique<SettingsStore>(openIniSettings(settingsFile())),
                    Platform::profile().mediaApps)
            .setDisabledApps({});
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.out, QStringLiteral("No media apps running\n"));
        QVERIFY(player->calls().filter(QStringLiteral("SetPosition")).isEmpty());
    }

    void versionAndHelpNeedNoSession() {
        Run run = tracedCommand({QStringLiteral("--version")}, noSession());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QStringLiteral("Scrubline " SCRUBLINE_VERSION "\n"));
        QVERIFY(run.err.isEmpty());
        QVERIFY(!loadedQt(run));
        run = tracedCommand({QStringLiteral("--help")}, noSession());
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains(QStringLiteral("play-pause")));
        QVERIFY(run.err.isEmpty());
        QVERIFY(!loadedQt(run));
        // A usage error: one line, and no program started for it.
        run = tracedCommand({QStringLiteral("seek"), QStringLiteral("+")}, noSession());
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.out.isEmpty());
        QCOMPARE(run.err, QStringLiteral("scrubline: \"+\" is not a number of seconds other than "
                                         "0, such as +10 or -5.5\n"));
        QVERIFY(!loadedQt(run));
    }

    void quitEndsTheRunningCopy() {
        QCOMPARE(command({QStringLiteral("quit")}).exitCode, 1);
        startApp(false);
        QCOMPARE(command({QStringLiteral("quit")}).exitCode, 0);
        QVERIFY(m_app->waitForFinished(10000));
        QCOMPARE(m_app->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_app->exitCode(), 0);
        QVERIFY(!instanceRuns());
    }

    void eachEndingSignalQuitsInOrder_data() {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGINT") << int(SIGINT);
        QTest::newRow("SIGHUP") << int(SIGHUP);
    }

    void eachEndingSignalQuitsInOrder() {
        QFETCH(int, signal);
        startApp(false);
        QTRY_VERIFY_WITH_TIMEOUT(forwardIsGrabbedElsewhere(), 20000);
        QCOMPARE(::kill(pid_t(m_app->processId()), signal), 0);
        QVERIFY(m_app->waitForFinished(10000));
        // Ended by its own hand, not by the signal.
        QCOMPARE(m_app->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_app->exitCode(), 0);
        QVERIFY(!instanceRuns());
        QVERIFY(!forwardIsGrabbedElsewhere());
    }

    // Right after SIGTERM a new copy takes the name and the same combinations.
    void aNewCopyTakesOverRightAfterSigterm() {
        startApp(false);
        QTRY_VERIFY_WITH_TIMEOUT(forwardIsGrabbedElsewhere(), 20000);
        QCOMPARE(::kill(pid_t(m_app->processId()), SIGTERM), 0);
        QVERIFY(m_app->waitForFinished(10000));
        QCOMPARE(m_app->exitStatus(), QProcess::NormalExit);
        startApp(false);
        QTRY_VERIFY_WITH_TIMEOUT(forwardIsGrabbedElsewhere(), 20000);
        m_app->terminate();
        QVERIFY(m_app->waitForFinished(10000));
        QVERIFY(!forwardIsGrabbedElsewhere());
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
