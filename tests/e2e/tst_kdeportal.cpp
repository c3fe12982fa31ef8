// The real program's hotkeys on KDE Plasma under Wayland, with no part of the desktop made by
// the test: KWin (a virtual screen) takes key presses on its keyboard, the kglobalaccel it hosts
// matches them, the desktop portal and its KDE backend tell the program, and mpv moves. Runs
// inside with-kwin, which starts them; each case ends in a press and the player's new position.
#include "platform/IniSettings.h"
#include "platform/Platform.h"
#include "platform/linux/MprisClient.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/PlayerProcess.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyCombination>
#include <QKeySequence>
#include <QProcess>
#include <QtTest>

#include <csignal>

namespace {

const QString binary = QStringLiteral(SCRUBLINE_BINARY);
const QString fakeKey = QStringLiteral(SCRUBLINE_FAKE_KEY);
const QString mpvName = QStringLiteral("org.mpris.MediaPlayer2.mpv");
const QString portalName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString backendName = QStringLiteral("org.freedesktop.impl.portal.desktop.kde");
const QString accelName = QStringLiteral("org.kde.kglobalaccel");

// The preset actions' combinations as KWin's kglobalaccel stores keys: Qt key codes.
const int forwardKeys =
    QKeyCombination(Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier, Qt::Key_Right)
        .toCombined();
const int backwardKeys =
    QKeyCombination(Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier, Qt::Key_Left)
        .toCombined();
const QString forwardPress = QStringLiteral("ctrl+alt+meta+right");
const QString backwardPress = QStringLiteral("ctrl+alt+meta+left");

QDBusConnection bus() {
    return QDBusConnection::sessionBus();
}

QString settingsFile() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
}

QString logsDir() {
    return qEnvironmentVariable("SCRUBLINE_KWIN_LOGS");
}

// The last lines of one of the desktop's logs, for a failure to show what the desktop said.
QByteArray tailOf(const QString& name, int lines = 60) {
    QFile file(logsDir() + QLatin1Char('/') + name);
    if (!file.open(QIODevice::ReadOnly)) {
        return "(no " + name.toUtf8() + ")\n";
    }
    QList<QByteArray> all = file.readAll().split('\n');
    if (all.size() > lines) {
        all = all.mid(all.size() - lines);
    }
    return "--- " + name.toUtf8() + "\n" + all.join('\n') + "\n";
}

void printDesktopLogs() {
    std::fputs(tailOf(QStringLiteral("xdg-desktop-portal-kde.log")).constData(), stderr);
    std::fputs(tailOf(QStringLiteral("portal-bus.log"), 200).constData(), stderr);
}

QDBusMessage accelCall(const QString& path, const QString& interface, const QString& method,
                       const QVariantList& arguments = {}) {
    QDBusMessage call = QDBusMessage::createMethodCall(accelName, path, interface, method);
    call.setArguments(arguments);
    return bus().call(call, QDBus::Block, 5000);
}

// One shortcut as kglobalaccel keeps it: a(ssssssaiai) from a component's allShortcutInfos.
struct DesktopShortcut {
    QString component;
    QString action;
    QString actionName;
    QList<int> keys;
    bool componentActive = false;
};

QList<DesktopShortcut> desktopShortcuts() {
    QList<DesktopShortcut> found;
    const QDBusMessage components =
        accelCall(QStringLiteral("/kglobalaccel"), QStringLiteral("org.kde.KGlobalAccel"),
                  QStringLiteral("allComponents"));
    const auto paths = qdbus_cast<QList<QDBusObjectPath>>(components.arguments().value(0));
    const QString componentInterface = QStringLiteral("org.kde.kglobalaccel.Component");
    for (const QDBusObjectPath& path : paths) {
        const bool active = accelCall(path.path(), componentInterface, QStringLiteral("isActive"))
                                .arguments()
                                .value(0)
                                .toBool();
        const QDBusMessage infos =
            accelCall(path.path(), componentInterface, QStringLiteral("allShortcutInfos"));
        const QDBusArgument argument = infos.arguments().value(0).value<QDBusArgument>();
        argument.beginArray();
        while (!argument.atEnd()) {
            DesktopShortcut shortcut;
            QString actionFriendly;
            QString componentFriendly;
            QString context;
            QString contextFriendly;
            QList<int> defaults;
            argument.beginStructure();
            argument >> shortcut.action >> shortcut.actionName >> shortcut.component >>
                componentFriendly >> context >> contextFriendly >> shortcut.keys >> defaults;
            argument.endStructure();
            shortcut.componentActive = active;
            found << shortcut;
        }
        argument.endArray();
    }
    return found;
}

// The shortcut of an active component of the portal's on these keys, as the desktop has it.
std::optional<DesktopShortcut> heldByPortal(int keys) {
    for (const DesktopShortcut& shortcut : desktopShortcuts()) {
        if (shortcut.component != QLatin1String("kwin") && shortcut.componentActive &&
            shortcut.keys.contains(keys)) {
            return shortcut;
        }
    }
    return std::nullopt;
}

QString describeDesktopShortcuts() {
    QStringList lines;
    for (const DesktopShortcut& shortcut : desktopShortcuts()) {
        if (shortcut.component == QLatin1String("kwin")) {
            continue;
        }
        QStringList keys;
        for (int key : shortcut.keys) {
            keys << QKeySequence(key).toString(QKeySequence::PortableText);
        }
        lines << QStringLiteral("%1%2 / %3 (%4): %5")
                     .arg(shortcut.component, shortcut.componentActive ? "" : " (inactive)",
                          shortcut.action, shortcut.actionName, keys.join(QLatin1Char(',')));
    }
    return lines.isEmpty() ? QStringLiteral("none besides KWin's own")
                           : lines.join(QLatin1Char('\n'));
}

// How often the portal has called `method` of its KDE backend, as the bus carried the calls.
int backendCalls(const char* method) {
    QFile file(logsDir() + QStringLiteral("/portal-bus.log"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return int(file.readAll().count(
        QByteArray("interface=org.freedesktop.impl.portal.GlobalShortcuts; member=") + method));
}

// The lists and bindings asked of the backend: it has made the program's shortcuts its own by
// the time it is asked either.
int backendRequests() {
    return backendCalls("ListShortcuts") + backendCalls("BindShortcuts");
}

// Where mpv is in its track, in seconds; negative when it does not say.
double position() {
    const auto state = MprisClient::readState(PlayerBus::session(), mpvName, 3000);
    return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
}

uint pidOf(const QString& name) {
    return bus().interface()->servicePid(name).value();
}

bool onBus(const QString& name) {
    return bus().interface()->isServiceRegistered(name).value();
}

void writeActions(const QList<SeekAction>& actions) {
    AppSettings settings(std::make_unique<SettingsStore>(openIniSettings(settingsFile())),
                         Platform::profile().mediaApps);
    settings.defaults().setBool(QStringLiteral("hasCompletedOnboarding"), true);
    settings.setSeekActions(actions);
    settings.savePendingChanges();
}

} // namespace

class TestKdePortal : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<PlayerProcess> m_mpv;
    std::unique_ptr<QProcess> m_app;
    QByteArray m_log;

    int logged(const char* text) const { return int(m_log.count(text)); }

    void startApp() {
        m_log.clear();
        m_app = std::make_unique<QProcess>();
        connect(m_app.get(), &QProcess::readyReadStandardError, this, [this] {
            const QByteArray text = m_app->readAllStandardError();
            m_log += text;
            std::fputs(text.constData(), stderr);
        });
        m_app->start(binary, {});
        QVERIFY2(m_app->waitForStarted(), qPrintable(binary));
    }

    void quitApp() {
        if (!m_app || m_app->state() == QProcess::NotRunning) {
            return;
        }
        m_app->terminate();
        QVERIFY2(m_app->waitForFinished(10000), "Scrubline ends on SIGTERM");
        QCOMPARE(m_app->exitStatus(), QProcess::NormalExit);
        // The portal closes the session of a program that is gone, and Plasma lets go of its
        // keys, keeping them for the next time; the next start comes after that, not during.
        QTRY_VERIFY_WITH_TIMEOUT(!heldByPortal(forwardKeys).has_value(), 10000);
    }

    // The portal has passed the program's actions on to its KDE backend (more requests than
    // `requests`), and KWin's kglobalaccel holds them under their keys.
    void waitUntilBound(int requests, int keys) {
        const bool asked = QTest::qWaitFor([&] { return backendRequests() > requests; }, 30000);
        const bool held =
            asked && QTest::qWaitFor([&] { return heldByPortal(keys).has_value(); }, 10000);
        if (!held) {
            printDesktopLogs();
        }
        QVERIFY2(asked, "the portal asked its KDE backend for Scrubline's shortcuts");
        QVERIFY2(held, qPrintable(QStringLiteral("KWin's kglobalaccel holds %1 for the portal; it "
                                                 "holds:\n%2")
                                      .arg(QKeySequence(keys).toString(QKeySequence::PortableText),
                                           describeDesktopShortcuts())));
    }

    // One press on KWin's keyboard moves mpv by `step` seconds, and Scrubline says it seeked.
    void pressMoves(const QString& combination, double step) {
        const int seeksBefore = logged("com.scrubline.app.seek: Seek ");
        const double before = position();
        QVERIFY2(before >= 0, "mpv says where it is");
        QElapsedTimer clock;
        clock.start();
        QProcess key;
        key.setProcessChannelMode(QProcess::ForwardedChannels);
        key.start(fakeKey, {combination});
        QVERIFY2(key.waitForFinished(10000) && key.exitCode() == 0,
                 "kwin_fake_key pressed the keys on KWin's keyboard");
        const bool seeked = QTest::qWaitFor(
            [&] { return logged("com.scrubline.app.seek: Seek ") > seeksBefore; }, 10000);
        if (!seeked) {
            printDesktopLogs();
        }
        QVERIFY2(seeked, qPrintable(QStringLiteral("a press of %1 reached Scrubline; the desktop "
                                                   "holds:\n%2")
                                        .arg(combination, describeDesktopShortcuts())));
        // mpv plays on meanwhile, at its normal rate.
        QTest::qWait(300);
        const double after = position();
        const double played = static_cast<double>(clock.elapsed()) / 1000;
        const double moved = after - before - played;
        QVERIFY2(std::abs(moved - step) < 1.5,
                 qPrintable(QStringLiteral("mpv went from %1 s to %2 s in %3 s: moved %4 s, not %5")
                                .arg(before)
                                .arg(after)
                                .arg(played)
                                .arg(moved)
                                .arg(step)));
        QCOMPARE(logged("com.scrubline.app.seek: Seek "), seeksBefore + 1);
    }

private slots:
    void initTestCase() {
        QVERIFY2(!logsDir().isEmpty(), "runs inside with-kwin");
        QCOMPARE(qEnvironmentVariable("XDG_CURRENT_DESKTOP"), QStringLiteral("KDE"));
        QVERIFY2(!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"), "KWin's socket is set");
        QVERIFY2(onBus(accelName), "KWin hosts kglobalaccel on the bus");
        QVERIFY2(onBus(portalName), "the desktop portal runs");
        QVERIFY2(onBus(backendName), "the portal's KDE backend runs");
        // The portal and its backend find the program by its desktop entry.
        const QString applications =
            qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications");
        QVERIFY(QDir().mkpath(applications));
        QVERIFY(QFile::copy(QStringLiteral(SCRUBLINE_DESKTOP_ENTRY),
                            applications + QStringLiteral("/com.scrubline.app.desktop")));
        writeActions(SeekAction::defaults());

        m_mpv = PlayerProcess::mpv(PlayerProcess::generatedAudio(600, true));
        QVERIFY2(m_mpv->waitForBusName(mpvName), "mpv is on the bus");
        // Away from the start, so a step back has room; once it plays, as a seek before that
        // is lost.
        QTRY_VERIFY_WITH_TIMEOUT(position() > 0.2, 20000);
        const QDBusMessage seek = QDBusMessage::createMethodCall(
            mpvName, QStringLiteral("/org/mpris/MediaPlayer2"),
            QStringLiteral("org.mpris.MediaPlayer2.Player"), QStringLiteral("Seek"));
        QCOMPARE(
            bus().call(QDBusMessage(seek) << qlonglong(120'000'000), QDBus::Block, 5000).type(),
            QDBusMessage::ReplyMessage);
        QTRY_VERIFY(position() >= 120);
    }

    void cleanup() {
        // Plasma 5.27 takes the actions from CreateSession and lists them as held; asked to
        // bind, it would open its shortcut settings instead, at every start.
        QCOMPARE(backendCalls("BindShortcuts"), 0);
    }

    void cleanupTestCase() {
        quitApp();
        m_app.reset();
        m_mpv.reset();
    }

    void firstStart() {
        const int requests = backendRequests();
        startApp();
        waitUntilBound(requests, forwardKeys);
        QTRY_COMPARE(logged("The desktop bound 2 of 2 global shortcuts"), 1);
        if (!QTest::currentTestFailed()) {
            pressMoves(forwardPress, 10);
        }
    }

    void secondStartWithNothingChanged() {
        quitApp();
        const int requests = backendRequests();
        startApp();
        waitUntilBound(requests, backwardKeys);
        QTRY_COMPARE(logged("The desktop bound 2 of 2 global shortcuts"), 1);
        if (!QTest::currentTestFailed()) {
            pressMoves(backwardPress, -10);
        }
    }

    void editedStep() {
        quitApp();
        QList<SeekAction> actions = SeekAction::defaults();
        actions[0].seconds = 30;
        writeActions(actions);
        const int requests = backendRequests();
        startApp();
        waitUntilBound(requests, forwardKeys);
        QTRY_COMPARE(logged("The desktop bound 2 of 2 global shortcuts"), 1);
        if (!QTest::currentTestFailed()) {
            pressMoves(forwardPress, 30);
        }
    }

    // Ends the portal, and its KDE backend too where `withBackend`, and starts the portal again
    // as any program's first call would; it starts its backend where that is gone.
    void restartPortal(bool withBackend) {
        const uint portal = pidOf(portalName);
        const uint backend = pidOf(backendName);
        QVERIFY(portal != 0 && backend != 0);
        QCOMPARE(::kill(static_cast<pid_t>(portal), SIGTERM), 0);
        if (withBackend) {
            QCOMPARE(::kill(static_cast<pid_t>(backend), SIGTERM), 0);
        }
        QTRY_VERIFY_WITH_TIMEOUT(!onBus(portalName) && onBus(backendName) != withBackend, 10000);
        const QDBusMessage version = QDBusMessage::createMethodCall(
            portalName, QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        QCOMPARE(bus()
                     .call(QDBusMessage(version)
                               << QStringLiteral("org.freedesktop.portal.GlobalShortcuts")
                               << QStringLiteral("version"),
                           QDBus::Block, 30000)
                     .type(),
                 QDBusMessage::ReplyMessage);
        QTRY_VERIFY_WITH_TIMEOUT(onBus(backendName), 10000);
        if (!withBackend) {
            QCOMPARE(pidOf(backendName), backend);
        }
    }

    void portalRestarted() {
        const int requests = backendRequests();
        restartPortal(true);
        waitUntilBound(requests, forwardKeys);
        QTRY_COMPARE(logged("The desktop portal restarted"), 1);
        if (!QTest::currentTestFailed()) {
            pressMoves(forwardPress, 30);
        }
        QCOMPARE(m_app->state(), QProcess::Running);
    }

    // The backend still holds the session the old portal made, under the same handle.
    void portalRestartedAlone() {
        const int requests = backendRequests();
        restartPortal(false);
        waitUntilBound(requests, forwardKeys);
        QTRY_COMPARE(logged("The desktop portal restarted"), 2);
        if (!QTest::currentTestFailed()) {
            pressMoves(forwardPress, 30);
        }
        QCOMPARE(m_app->state(), QProcess::Running);
    }
};

QTEST_GUILESS_MAIN(TestKdePortal)
#include "tst_kdeportal.moc"
