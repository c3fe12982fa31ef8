// What holding a hotkey costs, against a tap: the seeks the player is sent and the processor
// time the program spends, from the keys going down until everything has settled. The real
// program, grabbing the default hotkeys, against the fake MPRIS player; the keyboard repeats 40
// times a second after 200 ms, faster than most, so that a repeat taken for a press would show.
//
// Run with bench/run.sh, which gives it an X server and a private session bus.
#include "Figures.h"
#include "XTestKeyboard.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <X11/keysym.h>
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>

namespace {

// The processor time the process has used so far, all its threads together, in milliseconds:
// the scheduler's own count, in nanoseconds, rather than the clock ticks of /proc/<pid>/stat.
double cpuMs(qint64 pid) {
    double ns = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile schedstat(tasks.filePath(task + QStringLiteral("/schedstat")));
        if (schedstat.open(QIODevice::ReadOnly)) {
            ns += schedstat.readAll().split(' ').value(0).toDouble();
        }
    }
    return ns / 1e6;
}

void run(const QString& program, const QStringList& arguments) {
    QProcess tool;
    tool.start(program, arguments);
    if (!tool.waitForFinished(10000) || tool.exitCode() != 0) {
        std::fprintf(stderr, "bench: %s failed\n", qPrintable(program));
        std::exit(1);
    }
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const int rounds = 8;
    const int holdMs = 2000;

    run(QStringLiteral("xset"), {QStringLiteral("r"), QStringLiteral("on")});
    run(QStringLiteral("xset"),
        {QStringLiteral("r"), QStringLiteral("rate"), QStringLiteral("200"), QStringLiteral("40")});

    // A long track, so that a round of steps never reaches its end.
    QProcess player;
    player.start(QStringLiteral(SCRUBLINE_FAKE_PLAYER),
                 {QStringLiteral("--name"), QStringLiteral("vlc"), QStringLiteral("--length"),
                  QStringLiteral("100000")});
    QDBusConnectionInterface* names = QDBusConnection::sessionBus().interface();
    if (!QTest::qWaitFor(
            [names] {
                return names->isServiceRegistered(QStringLiteral("org.mpris.MediaPlayer2.vlc"));
            },
            20000)) {
        std::fprintf(stderr, "bench: the fake player did not start\n");
        return 1;
    }

    QTemporaryDir home;
    QProcess app;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    app.setProcessEnvironment(environment);
    app.setProcessChannelMode(QProcess::ForwardedOutputChannel);
    app.start(QStringLiteral(SCRUBLINE_BINARY), {});
    XTestKeyboard keyboard;
    if (!app.waitForStarted() ||
        !QTest::qWaitFor([&keyboard] { return keyboard.isGrabbedElsewhere(XK_Right); }, 20000)) {
        std::fprintf(stderr, "bench: the program did not grab its hotkeys\n");
        return 1;
    }
    QTest::qWait(1000);

    QByteArray calls;
    const auto seeksSoFar = [&] {
        calls += player.readAllStandardOutput();
        return calls.count("Seek ");
    };

    std::printf("bench_hold: Control+Alt+Super+Right, keyboard repeat 40/s after 200 ms, "
                "%d rounds each\n",
                rounds);
    for (const int ms : {0, holdMs}) {
        Figures seeks;
        Figures cpu;
        for (int round = 0; round < rounds; ++round) {
            const qsizetype before = seeksSoFar();
            const double cpuBefore = cpuMs(app.processId());
            keyboard.pressWithControlAltSuper(XK_Right, ms);
            // Long enough for every step to have been served and the overlay to have faded.
            QTest::qWait(3500);
            seeks.ms << static_cast<double>(seeksSoFar() - before);
            cpu.ms << cpuMs(app.processId()) - cpuBefore;
        }
        std::printf("  %-12s seeks median %5.1f  max %5.1f   program CPU median %7.2f ms  "
                    "p90 %7.2f ms\n",
                    ms == 0 ? "tap" : "2 s hold", seeks.median(), seeks.percentile(100),
                    cpu.median(), cpu.percentile(90));
    }

    app.terminate();
    app.waitForFinished(10000);
    player.terminate();
    player.waitForFinished(10000);
    return 0;
}
