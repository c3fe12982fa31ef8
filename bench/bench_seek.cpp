// How long a seek takes, against the same real players: our whole trial through the media
// controller, one raw D-Bus call, and playerctl as a process. Prints the figures side by side.
//
// Run with bench/run.sh, which gives it an X server and a private session bus.
#include "Figures.h"
#include "core/MediaController.h"
#include "core/MediaStatus.h"
#include "platform/Platform.h"
#include "platform/linux/DirectBusCalls.h"
#include "platform/linux/MprisClient.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "platform/linux/MprisRunningApps.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/BrowserPage.h"
#include "support/FakePlayers.h"
#include "support/PlayerProcess.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

double since(const QElapsedTimer& clock) {
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

// Presses come at a person's pace, the same for every figure: one every 150 ms, about as
// fast as a key can be tapped. Between presses the event loop runs, so the player's signals
// are heard as they would be in the app.
constexpr int paceMs = 150;

Figures paced(int count, const std::function<void(int)>& press) {
    Figures figures;
    QElapsedTimer sincePress;
    for (int i = 0; i < count; ++i) {
        if (sincePress.isValid()) {
            QTest::qWait(static_cast<int>(std::max<qint64>(0, paceMs - sincePress.elapsed())));
        }
        sincePress.start();
        QElapsedTimer clock;
        clock.start();
        press(i);
        figures.ms << since(clock);
    }
    return figures;
}

qint64 stepUs(int i) {
    return i % 2 == 0 ? 10'000'000 : -10'000'000;
}

// One Seek method call on one libdbus connection, waited for: the floor of any seek.
Figures rawRoundTrips(const QString& service, int count) {
    return paced(count, [&service](int i) {
        if (DirectBusCalls::seek(service, stepUs(i), 3000) != DirectBusCalls::Outcome::replied) {
            std::fprintf(stderr, "raw Seek failed\n");
        }
    });
}

// The same call through QtDBus, which hands it to a thread of its own and back.
Figures qtRoundTrips(const QString& service, int count) {
    return paced(count, [&service](int i) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            service, QStringLiteral("/org/mpris/MediaPlayer2"),
            QStringLiteral("org.mpris.MediaPlayer2.Player"), QStringLiteral("Seek"));
        call << QVariant::fromValue<qlonglong>(stepUs(i));
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 3000);
        if (reply.type() != QDBusMessage::ReplyMessage) {
            std::fprintf(stderr, "raw Seek failed: %s\n", qPrintable(reply.errorMessage()));
        }
    });
}

// A read of the player's whole state (GetAll), as a seek that cannot go by one call reads first:
// straight through libdbus, as MprisClient reads it.
Figures directReads(const QString& service, int count) {
    return paced(count, [&service](int) {
        if (!MprisClient::readState(PlayerBus::session(), service, 3000)) {
            std::fprintf(stderr, "read failed\n");
        }
    });
}

// The same read through QtDBus, as it was read before.
Figures qtReads(const QString& service, int count) {
    return paced(count, [&service](int) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            service, QStringLiteral("/org/mpris/MediaPlayer2"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"));
        call << QStringLiteral("org.mpris.MediaPlayer2.Player");
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 3000);
        if (reply.type() != QDBusMessage::ReplyMessage) {
            std::fprintf(stderr, "read failed: %s\n", qPrintable(reply.errorMessage()));
        }
    });
}

// `playerctl -p <player> position 10+` as a whole process, as a user's key binding runs it:
// the same relative Seek of the same player.
Figures playerctl(const QString& service, int count) {
    const QString player = service.mid(QStringLiteral("org.mpris.MediaPlayer2.").size());
    return paced(count, [&player](int i) {
        QProcess process;
        process.start(QStringLiteral("playerctl"),
                      {QStringLiteral("-p"), player, QStringLiteral("position"),
                       i % 2 == 0 ? QStringLiteral("10+") : QStringLiteral("10-")});
        process.waitForFinished(10000);
        if (process.exitCode() != 0) {
            std::fprintf(stderr, "playerctl failed: %s\n", process.readAllStandardError().data());
        }
    });
}

// The whole trial: a request into the controller's queue until its outcome is handled. Counts
// the presses for which the player's state was known well enough to seek without a read.
Figures trials(MediaController& controller, const MprisPlayerRegistry& registry,
               const QString& player, int count, int* quick) {
    return paced(count, [&](int i) {
        // A browser is moved to a position, a native player by a step: either way, no read.
        if (registry.states().canSeekRelatively(player, stepUs(i)) ||
            registry.states().targetWithoutRead(player, stepUs(i))) {
            ++*quick;
        }
        QEventLoop loop;
        QObject::connect(&controller, &MediaController::seekFinished, &loop, &QEventLoop::quit);
        controller.enqueueSeek(static_cast<double>(stepUs(i)) / 1e6);
        loop.exec();
    });
}

// The controller's own share of a trial: the same request with a player that answers at once,
// so what is left is the hand-off to the seek thread and back.
Figures controllerAlone(MediaController& controller, int count) {
    return paced(count, [&controller](int i) {
        QEventLoop loop;
        QObject::connect(&controller, &MediaController::seekFinished, &loop, &QEventLoop::quit);
        controller.enqueueSeek(static_cast<double>(stepUs(i)) / 1e6);
        loop.exec();
    });
}

// The machine's load: the figures mean little when it is far above its 2 cores.
QByteArray loadAverage() {
    QFile file(QStringLiteral("/proc/loadavg"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray("?");
}

// The player control's own call, on this thread: the trial without the queue and the threads.
Figures controlCalls(PlayerControl& control, int count) {
    return paced(count, [&control](int i) {
        control.seekIfPlaying(MediaApp::chromiumYouTube, static_cast<double>(stepUs(i)) / 1e6, 3.0);
    });
}

// Back to the middle of the video, where steps of 10 s either way stay clear of both ends, as
// they do for a user in the middle of something. Each round starts there, so the video, which
// plays on meanwhile, never reaches its end.
void recentre(const QString& service) {
    const auto state = MprisClient::readState(PlayerBus::session(), service, 3000);
    if (!state || !state->positionUs || !state->lengthUs) {
        std::fprintf(stderr, "bench: cannot read the player\n");
        return;
    }
    const double middle = static_cast<double>(*state->lengthUs) / 2e6 - 10;
    MprisClient::seekFrom(PlayerBus::session(), service, *state,
                          middle - static_cast<double>(*state->positionUs) / 1e6, 3000);
    QTest::qWait(1000);
}

void print(const char* what, const Figures& f) {
    std::printf("  %-34s median %8.3f ms   p90 %8.3f ms   p99 %8.3f ms   (n=%lld)\n", what,
                f.median(), f.percentile(90), f.percentile(99),
                static_cast<long long>(f.ms.size()));
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("com.scrubline.app.*=false"));
    const int seeks = 500;
    const int processes = 50;
    const int comparisons = 100; // the lines that only explain the others

    BrowserPage page;
    QString problem;
    if (!page.start(&problem) || !page.waitUntilPlaying()) {
        std::fprintf(stderr, "bench: Chromium is not playing: %s\n", qPrintable(problem));
        return 1;
    }
    QTemporaryDir home;
    AppSettings settings(std::make_unique<SettingsStore>(std::make_unique<QSettings>(
                             home.filePath(QStringLiteral("settings.conf")), QSettings::IniFormat)),
                         Platform::profile().mediaApps);
    MprisPlayerRegistry registry(PlayerBus::session());
    auto control = std::make_shared<MprisPlayerControl>(registry);
    MediaStatus status(control, settings, [] { return QList<MediaApp>(); });
    MediaController controller(control, std::make_unique<MprisRunningApps>(registry), settings,
                               status, QString(), MediaApp::BrowserNaming::bySite);
    auto instant = std::make_shared<FakePlayers>();
    instant->setSeekAnswer(MediaApp::chromiumYouTube, {SeekResult::seeked});
    MediaStatus instantStatus(instant, settings, [] { return QList<MediaApp>(); });
    MediaController instantController(instant, std::make_unique<MprisRunningApps>(registry),
                                      settings, instantStatus, QString(),
                                      MediaApp::BrowserNaming::bySite);
    std::printf("load average at the start: %s\n", loadAverage().constData());
    QTest::qWait(500);
    int quick = 0;
    trials(controller, registry, page.busName(), 1, &quick);
    quick = 0;

    // Taken in turns, so that whatever else the machine does weighs on all three alike.
    Figures ours;
    Figures alone;
    Figures direct;
    Figures raw;
    Figures qt;
    Figures read;
    Figures qtRead;
    Figures tool;
    constexpr int rounds = 10;
    for (int round = 0; round < rounds; ++round) {
        recentre(page.busName());
        ours.ms << trials(controller, registry, page.busName(), seeks / rounds, &quick).ms;
        direct.ms << controlCalls(*control, comparisons / rounds).ms;
        alone.ms << controllerAlone(instantController, comparisons / rounds).ms;
        raw.ms << rawRoundTrips(page.busName(), seeks / rounds).ms;
        qt.ms << qtRoundTrips(page.busName(), comparisons / rounds).ms;
        read.ms << directReads(page.busName(), comparisons / rounds).ms;
        qtRead.ms << qtReads(page.busName(), comparisons / rounds).ms;
        tool.ms << playerctl(page.busName(), processes / rounds).ms;
    }
    std::printf("Chromium playing an audible video (the YouTube in Chrome target):\n");
    print("Scrubline trial (request->verdict)", ours);
    std::printf("    %d of %lld presses found the player's state known, so one Seek\n", quick,
                static_cast<long long>(ours.ms.size()));
    print("  of which the player control call", direct);
    print("  the controller alone (no player)", alone);
    print("raw D-Bus Seek round trip", raw);
    print("the same call through QtDBus", qt);
    print("a read first (GetAll), direct", read);
    print("the same read through QtDBus", qtRead);
    print("playerctl position 10+ (process)", tool);
    std::printf("  trial / round trip: %.2f    playerctl / trial: %.1f    playerctl / round trip: "
                "%.1f (the most any one-call seek can reach)\n",
                ours.median() / raw.median(), tool.median() / ours.median(),
                tool.median() / raw.median());
    page.quit();

    auto mpv = PlayerProcess::mpv(PlayerProcess::generatedAudio(600));
    if (!mpv->waitForBusName(QStringLiteral("org.mpris.MediaPlayer2.mpv"))) {
        std::fprintf(stderr, "bench: mpv did not start\n");
        return 1;
    }
    QTest::qWait(500);
    Figures mpvRaw;
    Figures mpvTool;
    for (int round = 0; round < rounds; ++round) {
        mpvRaw.ms << rawRoundTrips(QStringLiteral("org.mpris.MediaPlayer2.mpv"), seeks / rounds).ms;
        mpvTool.ms
            << playerctl(QStringLiteral("org.mpris.MediaPlayer2.mpv"), processes / rounds).ms;
    }
    std::printf("mpv with its MPRIS plugin (the floor):\n");
    print("raw D-Bus Seek round trip", mpvRaw);
    print("playerctl position 10+ (process)", mpvTool);
    std::printf("  playerctl / round trip: %.1f\n", mpvTool.median() / mpvRaw.median());
    std::printf("load average at the end: %s\n", loadAverage().constData());
    return 0;
}
