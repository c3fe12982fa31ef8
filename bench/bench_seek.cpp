// How long a seek takes, against the same real players: our whole trial through the media
// controller, one raw D-Bus call, and playerctl as a process. Prints the figures side by side.
//
// Run with bench/run.sh, which gives it an X server and a private session bus.
#include "models/AppSettings.h"
#include "platform/linux/DirectBusCalls.h"
#include "platform/linux/MprisClient.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "platform/linux/MprisRunningApps.h"
#include "services/MediaController.h"
#include "support/ChromiumPage.h"
#include "support/PlayerProcess.h"
#include "utilities/UserDefaults.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

struct Figures {
    QList<double> ms;
    double percentile(double p) const {
        QList<double> sorted = ms;
        std::sort(sorted.begin(), sorted.end());
        const auto at = static_cast<qsizetype>(p / 100.0 * static_cast<double>(sorted.size() - 1));
        return sorted.value(at);
    }
    double median() const { return percentile(50); }
};

double since(const QElapsedTimer& clock) {
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

// One Seek method call on one libdbus connection, waited for: the floor of any seek.
Figures rawRoundTrips(const QString& service, int count) {
    Figures figures;
    for (int i = 0; i < count; ++i) {
        QElapsedTimer clock;
        clock.start();
        const auto outcome =
            DirectBusCalls::seek(service, i % 2 == 0 ? 10'000'000 : -10'000'000, 3000);
        figures.ms << since(clock);
        if (outcome != DirectBusCalls::Outcome::replied) {
            std::fprintf(stderr, "raw Seek failed\n");
        }
    }
    return figures;
}

// The same call through QtDBus, which hands it to a thread of its own and back.
Figures qtRoundTrips(const QString& service, int count) {
    Figures figures;
    for (int i = 0; i < count; ++i) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            service, QStringLiteral("/org/mpris/MediaPlayer2"),
            QStringLiteral("org.mpris.MediaPlayer2.Player"), QStringLiteral("Seek"));
        call << QVariant::fromValue<qlonglong>(i % 2 == 0 ? 10'000'000 : -10'000'000);
        QElapsedTimer clock;
        clock.start();
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 3000);
        figures.ms << since(clock);
        if (reply.type() != QDBusMessage::ReplyMessage) {
            std::fprintf(stderr, "raw Seek failed: %s\n", qPrintable(reply.errorMessage()));
        }
    }
    return figures;
}

// `playerctl -p <player> position 10+` as a whole process, as a user's key binding runs it.
Figures playerctl(const QString& service, int count) {
    const QString player = service.mid(QStringLiteral("org.mpris.MediaPlayer2.").size());
    Figures figures;
    for (int i = 0; i < count; ++i) {
        QProcess process;
        QElapsedTimer clock;
        clock.start();
        process.start(QStringLiteral("playerctl"),
                      {QStringLiteral("-p"), player, QStringLiteral("position"),
                       i % 2 == 0 ? QStringLiteral("10+") : QStringLiteral("10-")});
        process.waitForFinished(10000);
        figures.ms << since(clock);
        if (process.exitCode() != 0) {
            std::fprintf(stderr, "playerctl failed: %s\n", process.readAllStandardError().data());
        }
    }
    return figures;
}

// Times `seek` for steps of +10 s and -10 s in turn. Presses come at a person's pace: the next
// once the player has announced the last (Seeked), which is what lets a seek go without reading
// the player first. Should the player say nothing within a second, the press simply reads first.
Figures pacedSeeks(const MprisPlayerRegistry& registry, const QString& player, int count,
                   const std::function<void(double)>& seek) {
    Figures figures;
    for (int i = 0; i < count; ++i) {
        const double step = i % 2 == 0 ? 10 : -10;
        (void)QTest::qWaitFor(
            [&] { return registry.canSeekRelatively(player, static_cast<qint64>(step * 1e6)); },
            1000);
        QElapsedTimer clock;
        clock.start();
        seek(step);
        figures.ms << since(clock);
    }
    return figures;
}

// The whole trial: a request into the controller's queue until its outcome is handled.
Figures trials(MediaController& controller, const MprisPlayerRegistry& registry,
               const QString& player, int count) {
    return pacedSeeks(registry, player, count, [&controller](double step) {
        QEventLoop loop;
        QObject::connect(&controller, &MediaController::seekFinished, &loop, &QEventLoop::quit);
        controller.enqueueSeek(step);
        loop.exec();
    });
}

// The player control's own call, on this thread: the trial without the queue and the threads.
Figures controlCalls(PlayerControl& control, const MprisPlayerRegistry& registry,
                     const QString& player, int count) {
    return pacedSeeks(registry, player, count, [&control](double step) {
        control.seekIfPlaying(MediaApp::chromeYouTube, step, 3.0);
    });
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

    ChromiumPage page;
    QString problem;
    if (!page.start(&problem) || !page.waitUntilPlaying()) {
        std::fprintf(stderr, "bench: Chromium is not playing: %s\n", qPrintable(problem));
        return 1;
    }
    QTemporaryDir home;
    AppSettings settings(std::make_unique<UserDefaults>(std::make_unique<QSettings>(
        home.filePath(QStringLiteral("settings.conf")), QSettings::IniFormat)));
    MprisPlayerRegistry registry(QDBusConnection::sessionBus());
    auto control = std::make_shared<MprisPlayerControl>(registry);
    MediaController controller(control, std::make_unique<MprisRunningApps>(registry), settings);
    QTest::qWait(500);
    // Well inside the video, where steps of 10 s either way stay clear of both ends, as they
    // do for a user in the middle of something.
    trials(controller, registry, page.busName(), 1).ms.clear();
    for (int i = 0; i < 5; ++i) {
        controller.enqueueSeek(10);
    }
    QTest::qWait(1000);

    // Taken in turns, so that whatever else the machine does weighs on all three alike.
    Figures ours;
    Figures direct;
    Figures raw;
    Figures qt;
    Figures tool;
    constexpr int rounds = 10;
    for (int round = 0; round < rounds; ++round) {
        ours.ms << trials(controller, registry, page.busName(), seeks / rounds).ms;
        direct.ms << controlCalls(*control, registry, page.busName(), seeks / rounds).ms;
        raw.ms << rawRoundTrips(page.busName(), seeks / rounds).ms;
        qt.ms << qtRoundTrips(page.busName(), seeks / rounds).ms;
        tool.ms << playerctl(page.busName(), processes / rounds).ms;
    }
    std::printf("Chromium playing an audible video (the YouTube in Chrome target):\n");
    print("Scrubline trial (request->verdict)", ours);
    print("  of which the player control call", direct);
    print("raw D-Bus Seek round trip", raw);
    print("the same call through QtDBus", qt);
    print("playerctl position 10+ (process)", tool);
    std::printf("  trial / round trip: %.2f    playerctl / trial: %.1f\n",
                ours.median() / raw.median(), tool.median() / ours.median());
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
    return 0;
}
