// `scrubline seek +10` as a whole process, against `playerctl position 10+` as a whole process,
// in one run on the same real player (mpv with its MPRIS plugin): through the running copy, with
// no copy running (the command starts the program, which seeks by itself), and playerctl. For
// comparison, the program itself asked the same, through the running copy and alone, as
// `scrubline` was before the command; and for where the time goes, `--version` of the command alone
// and of the program (process start and libraries, nothing asked of anyone).
//
// Run with bench/run.sh command, which gives it an X server and a private session bus.
#include "Figures.h"
#include "PlayerBench.h"
#include "support/PlayerProcess.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <cstdio>
#include <functional>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace {

constexpr int rounds = 10;
constexpr int runsPerRound = 10;
// A person's pace, with the event loop running in between so that the player's signals are
// heard as in the app.
constexpr int paceMs = 150;

const QString command = QStringLiteral(SCRUBLINE_COMMAND);
const QString program = QStringLiteral(SCRUBLINE_PROGRAM);
const QString mpvName = QStringLiteral("org.mpris.MediaPlayer2.mpv");
const QString instanceName = QStringLiteral("com.scrubline.app");

QDBusConnection bus() {
    return QDBusConnection::sessionBus();
}

// One whole process, from spawn to its end, its output thrown away: the same way for every
// command, so that the harness costs each the same. The exit status, or -1.
int runWhole(const QStringList& arguments) {
    std::vector<QByteArray> bytes;
    for (const QString& argument : arguments) {
        bytes.push_back(argument.toLocal8Bit());
    }
    std::vector<char*> argv;
    for (QByteArray& argument : bytes) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        return -1;
    }
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status);
}

struct Measured {
    Figures figures;
    int failed = 0;
};

// `count` runs paced as presses, +10 s and -10 s in turn; `arguments(i)` is the i-th command.
void paced(Measured& measured, int count, const std::function<QStringList(int)>& arguments) {
    QElapsedTimer sincePress;
    for (int i = 0; i < count; ++i) {
        if (sincePress.isValid()) {
            QTest::qWait(static_cast<int>(std::max<qint64>(0, paceMs - sincePress.elapsed())));
        }
        sincePress.start();
        const QStringList run = arguments(i);
        QElapsedTimer clock;
        clock.start();
        const int status = runWhole(run);
        measured.figures.ms << static_cast<double>(clock.nsecsElapsed()) / 1e6;
        if (status != 0) {
            ++measured.failed;
        }
    }
}

QStringList scrublineSeek(int i) {
    return {command, QStringLiteral("seek"),
            i % 2 == 0 ? QStringLiteral("+10") : QStringLiteral("-10")};
}

QStringList programSeek(int i) {
    return {program, QStringLiteral("seek"),
            i % 2 == 0 ? QStringLiteral("+10") : QStringLiteral("-10")};
}

QStringList playerctlSeek(int i) {
    return {QStringLiteral("playerctl"), QStringLiteral("-p"), QStringLiteral("mpv"),
            QStringLiteral("position"), i % 2 == 0 ? QStringLiteral("10+") : QStringLiteral("10-")};
}

bool instanceRuns() {
    return bus().interface()->isServiceRegistered(instanceName).value();
}

void print(const char* what, const Measured& measured) {
    std::printf("  %-44s median %7.3f ms  p10 %7.3f  p90 %7.3f  (%lld runs, %d not 0)\n", what,
                measured.figures.median(), measured.figures.percentile(10),
                measured.figures.percentile(90), static_cast<long long>(measured.figures.ms.size()),
                measured.failed);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::printf("load average at the start: %s\n", PlayerBench::loadAverage().constData());
    auto mpv = PlayerProcess::mpv(PlayerProcess::generatedAudio(600, true));
    if (!mpv->waitForBusName(mpvName)) {
        std::fprintf(stderr, "bench: mpv did not start\n");
        return 1;
    }
    Measured throughCopy;
    Measured programThroughCopy;
    Measured alone;
    Measured programAlone;
    Measured tool;
    Measured commandVersion;
    Measured programVersion;
    for (int round = 0; round < rounds; ++round) {
        // The tray program, started as a user starts it, its log kept out of the figures.
        QProcess app;
        app.setStandardOutputFile(QProcess::nullDevice());
        app.setStandardErrorFile(QProcess::nullDevice());
        app.start(command, {});
        if (!app.waitForStarted() || !QTest::qWaitFor(instanceRuns, 20000)) {
            std::fprintf(stderr, "bench: the program did not take its bus name\n");
            return 1;
        }
        QTest::qWait(1000);
        PlayerBench::recentre(mpvName);
        paced(throughCopy, runsPerRound, scrublineSeek);
        PlayerBench::recentre(mpvName);
        paced(programThroughCopy, runsPerRound, programSeek);
        PlayerBench::recentre(mpvName);
        paced(tool, runsPerRound, playerctlSeek);
        if (runWhole({command, QStringLiteral("quit")}) != 0 || !app.waitForFinished(10000)) {
            std::fprintf(stderr, "bench: the program did not quit\n");
            return 1;
        }
        if (!QTest::qWaitFor([] { return !instanceRuns(); }, 10000)) {
            std::fprintf(stderr, "bench: the program kept its bus name\n");
            return 1;
        }
        PlayerBench::recentre(mpvName);
        paced(alone, runsPerRound, scrublineSeek);
        PlayerBench::recentre(mpvName);
        paced(programAlone, runsPerRound, programSeek);
        paced(commandVersion, runsPerRound, [](int) {
            return QStringList{command, QStringLiteral("--version")};
        });
        paced(programVersion, runsPerRound, [](int) {
            return QStringList{program, QStringLiteral("--version")};
        });
    }
    std::printf("mpv (%s), %d rounds; medians of whole processes, spawn to exit:\n",
                qPrintable(mpvName), rounds);
    print("scrubline seek +10, through the running copy", throughCopy);
    print("scrubline seek +10, no copy running", alone);
    print("the program's seek +10, through the copy", programThroughCopy);
    print("the program's seek +10, no copy running", programAlone);
    print("playerctl -p mpv position 10+", tool);
    print("scrubline --version (the command alone)", commandVersion);
    print("the program's --version (Qt loaded)", programVersion);
    const double copyRatio = tool.figures.median() / throughCopy.figures.median();
    const double aloneRatio = tool.figures.median() / alone.figures.median();
    std::printf("  playerctl / through the copy: %.2f; playerctl / no copy: %.2f\n", copyRatio,
                aloneRatio);
    std::printf("  target: through the running copy faster than playerctl: %s\n",
                copyRatio > 1 ? "met" : "NOT met");
    std::printf("load average at the end: %s\n", PlayerBench::loadAverage().constData());
    return 0;
}
