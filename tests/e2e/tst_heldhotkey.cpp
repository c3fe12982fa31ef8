// A hotkey held down in the test's own X server with the keyboard's repeat on and fast: the
// program's key grabs, its binder and its controller, and a fake Spotify that prints every
// call it takes. xdotool holds the keys as a person does.
#include "app/HotkeyBinder.h"
#include "app/HotkeyHold.h"
#include "core/MediaController.h"
#include "core/MediaStatus.h"
#include "platform/Platform.h"
#include "platform/linux/MprisClient.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "platform/linux/MprisRunningApps.h"
#include "platform/linux/X11HotkeyService.h"
#include "settings/AppSettings.h"
#include "support/PlayerProcess.h"
#include "support/TempHome.h"

#include <QDBusConnection>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>

namespace {

const QString busName = QStringLiteral("org.mpris.MediaPlayer2.spotify");
const QString forward = QStringLiteral("ctrl+alt+super+Right");
const QString playPause = QStringLiteral("ctrl+alt+super+space");
constexpr std::uint32_t hyper =
    CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;

void run(const QString& program, const QStringList& arguments) {
    QProcess tool;
    tool.start(program, arguments);
    QVERIFY2(tool.waitForFinished(10000), qPrintable(program + QStringLiteral(" runs")));
    QCOMPARE(tool.exitCode(), 0);
}

void tap(const QString& keys) {
    run(QStringLiteral("xdotool"), {QStringLiteral("key"), keys});
}

void hold(const QString& keys, int ms) {
    run(QStringLiteral("xdotool"), {QStringLiteral("keydown"), keys});
    QTest::qWait(ms);
    run(QStringLiteral("xdotool"), {QStringLiteral("keyup"), keys});
}

// The program as the shell puts it together, with X11 key grabs and its settings in a
// temporary home: the two preset actions and a play/pause on Control+Option+Command+Space.
class Program {
public:
    Program()
        : m_settings(std::make_unique<SettingsStore>(std::make_unique<QSettings>(
                         m_home.path() + QStringLiteral("/s.conf"), QSettings::IniFormat)),
                     Platform::profile().mediaApps)
        , m_registry(PlayerBus::session())
        , m_control(std::make_shared<MprisPlayerControl>(m_registry))
        , m_status(m_control, m_settings, [] { return QList<MediaApp>(); })
        , m_controller(m_control, std::make_unique<MprisRunningApps>(m_registry), m_settings,
                       m_status, QString(), MediaApp::BrowserNaming::bySite) {
        QList<SeekAction> actions = SeekAction::defaults();
        actions.append(SeekAction(SeekAction::Direction::playPause, 0, 49, hyper));
        m_settings.setSeekActions(actions);
        m_settings.savePendingChanges();
    }

    bool launch() {
        if (!QTest::qWaitFor([this] { return m_registry.runningApps().size() == 1; }, 20000)) {
            return false;
        }
        QSignalSpy bound(&m_hotkeys, &HotkeyService::resultsChanged);
        m_binder.start();
        if (bound.size() != 1) {
            return false;
        }
        const auto results = bound[0][0].value<HotkeyService::Results>();
        return results.size() == 3 &&
               std::all_of(results.cbegin(), results.cend(), [](const HotkeyService::Result& r) {
                   return r.status == HotkeyService::Status::bound;
               });
    }

    AppSettings& settings() { return m_settings; }
    MediaController& controller() { return m_controller; }
    HotkeyHold& hold() { return m_hold; }

private:
    TempHome m_home;
    AppSettings m_settings;
    MprisPlayerRegistry m_registry;
    std::shared_ptr<MprisPlayerControl> m_control;
    MediaStatus m_status;
    MediaController m_controller;
    X11HotkeyService m_hotkeys{KeyTable::ModifierStyle::words};
    HotkeyHold m_hold{m_controller};
    HotkeyBinder m_binder{m_hotkeys, m_settings, m_hold, KeyTable::ModifierStyle::words};
};

} // namespace

class TestHeldHotkey : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<PlayerProcess> m_player;
    std::unique_ptr<Program> m_program;

    // The player's seeks so far, in microseconds each.
    QList<qint64> seeks() {
        QList<qint64> moves;
        for (const QString& call :
             m_player->calls().filter(QRegularExpression(QStringLiteral("^Seek ")))) {
            moves.append(call.section(QLatin1Char(' '), 1).toLongLong());
        }
        return moves;
    }

    double position() {
        const auto state = MprisClient::readState(PlayerBus::session(), busName, 3000);
        return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
    }

    // Starts the player with these options and the program after it.
    void start(const QStringList& options = {}) {
        m_player =
            PlayerProcess::fake(QStringList{QStringLiteral("--name"), QStringLiteral("spotify"),
                                            QStringLiteral("--spotify"),
                                            QStringLiteral("--position"), QStringLiteral("60")} +
                                options);
        QVERIFY(m_player->waitForBusName(busName));
        m_program = std::make_unique<Program>();
        QVERIFY(m_program->launch());
    }

    // Waits until the program has served all it was asked, and a little more in case
    // something else comes.
    void settle() {
        QSignalSpy finished(&m_program->controller(), &MediaController::seekFinished);
        // Bounded, so that a hold that never ends fails the test rather than hangs it.
        QElapsedTimer clock;
        clock.start();
        while (finished.wait(1500) && clock.elapsed() < 8000) {
        }
    }

private slots:
    void initTestCase() {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs inside with-session");
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
        // The keyboard repeats, sooner and faster than most people's: 40 times a second after
        // 200 ms. Taken as presses, a two-second hold would be some seventy seeks.
        run(QStringLiteral("xset"), {QStringLiteral("r"), QStringLiteral("on")});
        run(QStringLiteral("xset"), {QStringLiteral("r"), QStringLiteral("rate"),
                                     QStringLiteral("200"), QStringLiteral("40")});
    }

    void cleanup() {
        m_program.reset();
        m_player.reset();
    }

    void aTapIsOneSeek() {
        start();
        QVERIFY(!QTest::currentTestFailed());
        tap(forward);
        QTRY_COMPARE(seeks().size(), 1);
        settle();
        QCOMPARE(seeks(), QList<qint64>{10'000'000});
    }

    void aTwoSecondHoldScrubsAtItsOwnPace() {
        start();
        QVERIFY(!QTest::currentTestFailed());
        const double before = position();
        QElapsedTimer clock;
        clock.start();
        hold(forward, 2000);
        settle();
        const QList<qint64> moves = seeks();
        // The press, then a step every 0.25 s from 0.4 s on: about seven.
        QVERIFY2(moves.size() >= 6 && moves.size() <= 9, qPrintable(QString::number(moves.size())));
        QCOMPARE(moves, QList<qint64>(moves.size(), 10'000'000));
        // The player moved by that many steps, and by the time that passed as it played.
        const double moved = position() - before;
        const double expected = 10.0 * double(moves.size());
        QVERIFY2(moved >= expected - 0.5 && moved <= expected + clock.elapsed() / 1000.0 + 0.5,
                 qPrintable(QStringLiteral("%1 s for %2 steps").arg(moved).arg(moves.size())));
        QCOMPARE(m_program->hold().steps(), moves.size());
        QCOMPARE(m_program->hold().totalSeconds(), expected);
    }

    void withTheSwitchOffAHoldIsOneSeek() {
        start();
        QVERIFY(!QTest::currentTestFailed());
        m_program->settings().setHoldToSeek(false);
        hold(forward, 2000);
        settle();
        QCOMPARE(seeks(), QList<qint64>{10'000'000});
    }

    void holdingPlayPauseTogglesOnce() {
        start();
        QVERIFY(!QTest::currentTestFailed());
        hold(playPause, 2000);
        settle();
        QCOMPARE(m_player->calls().filter(QRegularExpression(QStringLiteral("^PlayPause"))).size(),
                 1);
        QVERIFY(seeks().isEmpty());
    }

    // A player that answers each call a second late: the repeats that come due meanwhile are
    // never queued behind each other, and the release drops the one that waits.
    void aSlowPlayerNeverHasMoreThanOneRepeatWaiting() {
        start({QStringLiteral("--answer-after"), QStringLiteral("1000")});
        QVERIFY(!QTest::currentTestFailed());
        QSignalSpy dropped(&m_program->hold(), &HotkeyHold::repeatDropped);
        QSignalSpy sent(&m_program->hold(), &HotkeyHold::stepSent);
        hold(forward, 2500);
        const qsizetype sentAtRelease = sent.size();
        settle();
        // Due every 0.25 s, but one step a second got through: the rest were dropped.
        QVERIFY2(dropped.size() >= 3, qPrintable(QString::number(dropped.size())));
        QVERIFY2(sentAtRelease >= 2 && sentAtRelease <= 4,
                 qPrintable(QString::number(sentAtRelease)));
        // Nothing was sent after the release: what waited then was dropped.
        QCOMPARE(sent.size(), sentAtRelease);
        QCOMPARE(seeks().size(), sentAtRelease);
    }
};

QTEST_MAIN(TestHeldHotkey)
#include "tst_heldhotkey.moc"
