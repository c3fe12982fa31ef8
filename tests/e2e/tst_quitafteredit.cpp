// The session ends right after an edit: the real program, its settings window worked from the
// keyboard through the test's X server by xdotool, gets SIGTERM while the edit still waits out
// the store's save debounce. The edit must be on disk all the same, and the next copy must hold
// the combinations it names and seek by its step.
#include "models/KeyTable.h"
#include "platform/IniSettings.h"
#include "platform/Platform.h"
#include "platform/linux/MprisClient.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/Desktop.h"
#include "support/OnDisk.h"
#include "support/OtherXClient.h"
#include "support/PlayerProcess.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QProcess>
#include <QtTest>

#include <X11/keysym.h>
#include <xcb/xcb.h>

#include <csignal>

namespace {

const QString binary = QStringLiteral(SCRUBLINE_BINARY);
const QString instanceName = QStringLiteral("com.scrubline.app");
const QString spotifyName = QStringLiteral("org.mpris.MediaPlayer2.spotify");
constexpr std::uint32_t hyper =
    CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;
// Where xdotool's ctrl, alt and super land on the test server.
constexpr std::uint16_t hyperBits = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;

// Combinations the first action is given, each as xdotool presses it, the key the server
// grabs and the stored key code.
struct Combination {
    QString keys;
    xcb_keysym_t symbol;
    std::uint16_t keyCode;
};
const Combination combinations[] = {
    {QStringLiteral("ctrl+alt+super+Prior"), XK_Prior, 116},
    {QStringLiteral("ctrl+alt+super+Next"), XK_Next, 121},
    {QStringLiteral("ctrl+alt+super+Home"), XK_Home, 115},
};

QString settingsFile() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
}

// The actions as the file on disk holds them now.
QList<SeekAction> actionsOnDisk() {
    return AppSettings(std::make_unique<SettingsStore>(settingsOnDisk(settingsFile())),
                       Platform::profile().mediaApps)
        .seekActions();
}

bool instanceRuns() {
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(instanceName).value();
}

bool press(const QString& keys) {
    QProcess tool;
    tool.start(QStringLiteral("xdotool"), {QStringLiteral("key"), keys});
    return tool.waitForFinished(10000) && tool.exitStatus() == QProcess::NormalExit &&
           tool.exitCode() == 0;
}

// The settings window of the program, where the X server shows it.
std::optional<Desktop::Window> settingsWindow() {
    for (const auto& window : Desktop::visibleWindows(QStringLiteral("scrubline"))) {
        if (window.geometry.width() == 480) {
            return window;
        }
    }
    return std::nullopt;
}

QString focusedWindow() {
    return Desktop::output(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus")}).trimmed();
}

double spotifyPosition() {
    const auto state = MprisClient::readState(PlayerBus::session(), spotifyName, 3000);
    return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
}

} // namespace

class TestQuitAfterEdit : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QProcess> m_app;
    OtherXClient m_other;

    bool heldByProgram(xcb_keysym_t symbol) { return m_other.heldElsewhere(symbol, hyperBits); }

    void startApp(const QStringList& arguments) {
        m_app = std::make_unique<QProcess>();
        m_app->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_app->start(binary, arguments);
        QVERIFY(m_app->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(instanceRuns(), 20000);
    }

private slots:
    void initTestCase() {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs inside with-session");
        // Past the welcome content, the settings window on its Hotkeys tab, and the two preset
        // actions written out as the program writes them.
        AppSettings settings(std::make_unique<SettingsStore>(openIniSettings(settingsFile())),
                             Platform::profile().mediaApps);
        settings.defaults().setBool(QStringLiteral("hasCompletedOnboarding"), true);
        settings.defaults().setString(QStringLiteral("lastSettingsTab"), QStringLiteral("hotkeys"));
        settings.setSeekActions(SeekAction::defaults());
        settings.savePendingChanges();
        QCOMPARE(actionsOnDisk(), SeekAction::defaults());
    }

    void cleanup() {
        if (m_app && m_app->state() != QProcess::NotRunning) {
            m_app->terminate();
            QVERIFY(m_app->waitForFinished(10000));
        }
        m_app.reset();
    }

    void sigtermRightAfterAnEditKeepsIt() {
        auto player = PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("spotify"),
                                           QStringLiteral("--spotify"),
                                           QStringLiteral("--position"), QStringLiteral("20")});
        QVERIFY(player->waitForBusName(spotifyName));

        startApp({QStringLiteral("settings")});
        QTRY_VERIFY_WITH_TIMEOUT(heldByProgram(XK_Right), 20000);
        QVERIFY(heldByProgram(XK_Left));
        QTRY_VERIFY_WITH_TIMEOUT(settingsWindow().has_value(), 10000);
        // The keys go where the server sends them: to the window, once it has the focus.
        QTRY_COMPARE_WITH_TIMEOUT(focusedWindow(), settingsWindow()->id, 10000);

        // From the keyboard, as the window opens with the focus on its tabs: the first action's
        // line, opened; past its delete button and its three directions, its step one preset
        // on (15 s); then its recorder.
        for (const char* keys :
             {"Tab", "space", "Tab", "Tab", "Tab", "Tab", "Tab", "Down", "Tab"}) {
            QVERIFY(press(QString::fromLatin1(keys)));
        }
        // A combination recorded, and the signal at once. Should the store's debounced save
        // come first all the same (a stalled moment of the machine), the next combination is
        // recorded instead, until the signal is the first to come.
        const Combination* recorded = nullptr;
        xcb_keysym_t held = XK_Right;
        for (const Combination& combination : combinations) {
            QVERIFY(press(QStringLiteral("space")));
            // Recording: the program lets go of its combinations, so the keys reach it.
            QTRY_VERIFY_WITH_TIMEOUT(!heldByProgram(held), 10000);
            QVERIFY(press(combination.keys));
            // Recorded: the program holds the new list at once, before the store saves it.
            const QDeadlineTimer deadline(10000);
            while (!heldByProgram(combination.symbol) && !deadline.hasExpired()) {
            }
            QVERIFY(heldByProgram(combination.symbol));
            held = combination.symbol;
            if (actionsOnDisk().first().keyCode != combination.keyCode) {
                QCOMPARE(::kill(pid_t(m_app->processId()), SIGTERM), 0);
                recorded = &combination;
                break;
            }
        }
        QVERIFY2(recorded != nullptr, "every edit was saved before the signal could be sent");
        QVERIFY(m_app->waitForFinished(10000));
        QCOMPARE(m_app->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_app->exitCode(), 0);
        QVERIFY(!heldByProgram(recorded->symbol));

        const QList<SeekAction> saved = actionsOnDisk();
        QCOMPARE(saved.size(), 2);
        QCOMPARE(saved[0].id(), SeekAction::defaults()[0].id());
        QCOMPARE(saved[0].direction, SeekAction::Direction::forward);
        QCOMPARE(saved[0].seconds, 15.0);
        QCOMPARE(saved[0].keyCode, recorded->keyCode);
        QCOMPARE(saved[0].carbonModifiers, hyper);
        QCOMPARE(saved[1], SeekAction::defaults()[1]);

        // The next copy holds the edited combination with the other, and seeks by the step.
        startApp({});
        QTRY_VERIFY_WITH_TIMEOUT(heldByProgram(recorded->symbol), 20000);
        QVERIFY(heldByProgram(XK_Left));
        QVERIFY(!heldByProgram(XK_Right));
        const double before = spotifyPosition();
        QVERIFY(before >= 20);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(press(recorded->keys));
        QTRY_COMPARE_WITH_TIMEOUT(player->calls().filter(QStringLiteral("Seek ")),
                                  QStringList{QStringLiteral("Seek 15000000")}, 20000);
        const double after = spotifyPosition();
        const double drift = static_cast<double>(clock.elapsed()) / 1000.0;
        QVERIFY2(after >= before + 15 && after <= before + 15 + drift + 0.5,
                 qPrintable(QStringLiteral("%1 -> %2").arg(before).arg(after)));
    }
};

QTEST_GUILESS_MAIN(TestQuitAfterEdit)
#include "tst_quitafteredit.moc"
