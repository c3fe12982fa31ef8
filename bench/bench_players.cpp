// What one seek costs for each kind of player, in one run: a native player (mpv, Audacious), a
// browser (Chromium) and our fake player, each in turn on the private bus. For each: the trial
// through MprisPlayerControl, the method calls the player received for it (its round trips),
// and `playerctl position 10+` on the same player as a whole process.
//
// Run with bench/run.sh players, which gives it an X server and a private session bus.
#include "Figures.h"
#include "PlayerBench.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "support/BrowserPage.h"
#include "support/PlayerProcess.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QMap>
#include <QProcess>
#include <QTest>

#include <cstdio>
#include <functional>

namespace {

constexpr int rounds = 10;
constexpr int trialsPerRound = 30;
constexpr int playerctlPerRound = 5;
// A person's pace, with the event loop running in between so that the player's signals are
// heard as in the app.
constexpr int paceMs = 150;

QDBusConnection bus() {
    return QDBusConnection::sessionBus();
}

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
        figures.ms << static_cast<double>(clock.nsecsElapsed()) / 1e6;
    }
    return figures;
}

double stepSeconds(int i) {
    return i % 2 == 0 ? 10 : -10;
}

// The method calls a player receives, as the bus itself sees them: dbus-monitor, one line a
// message. Counted by phase, so that each phase's calls are told apart by time.
class CallCounter {
public:
    CallCounter(const QString& wellKnown, const QString& unique) {
        m_monitor.start(QStringLiteral("dbus-monitor"),
                        {QStringLiteral("--session"), QStringLiteral("--profile"),
                         QStringLiteral("type='method_call',destination='%1'").arg(wellKnown),
                         QStringLiteral("type='method_call',destination='%1'").arg(unique)});
        m_monitor.waitForStarted();
        QTest::qWait(500); // until it is a monitor
        take();
    }
    ~CallCounter() {
        m_monitor.kill();
        m_monitor.waitForFinished();
    }
    CallCounter(const CallCounter&) = delete;
    CallCounter& operator=(const CallCounter&) = delete;

    // The calls since the last take, once the last of them has had time to come through;
    // `members`, when given, counts them by method name as well.
    int take(QMap<QByteArray, int>* members = nullptr) {
        QTest::qWait(200);
        int calls = 0;
        while (m_monitor.waitForReadyRead(50) || m_monitor.canReadLine()) {
            while (m_monitor.canReadLine()) {
                const QByteArray line = m_monitor.readLine().trimmed();
                if (line.startsWith("mc")) {
                    ++calls;
                    if (members) {
                        ++(*members)[line.split('\t').constLast()];
                    }
                }
            }
        }
        return calls;
    }

private:
    QProcess m_monitor;
};

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

// Measures one player that is playing now, alone of its app on the bus, against the targets:
// at most `roundTrips` calls per trial, and at least ten times faster than playerctl.
void measure(const char* kind, const QString& service, MediaApp app, int roundTrips) {
    MprisPlayerRegistry registry(PlayerBus::session());
    MprisPlayerControl control(registry);
    QTest::qWait(500);
    const QString unique = bus().interface()->serviceOwner(service).value();
    CallCounter counter(service, unique);
    Figures trials;
    Figures tool;
    int trialCalls = 0;
    int toolCalls = 0;
    int seeked = 0;
    QMap<QByteArray, int> members;
    // The first trial finds the registry new, knowing nothing of the player yet: it reads
    // first. Counted apart, as a cold start.
    counter.take();
    control.seekIfPlaying(app, stepSeconds(0), 3.0);
    const int coldCalls = counter.take();
    for (int round = 0; round < rounds; ++round) {
        PlayerBench::recentre(service);
        counter.take();
        trials.ms << paced(trialsPerRound, [&](int i) {
                         if (control.seekIfPlaying(app, stepSeconds(i), 3.0).result ==
                             SeekResult::seeked) {
                             ++seeked;
                         }
                     }).ms;
        trialCalls += counter.take(&members);
        tool.ms << playerctl(service, playerctlPerRound).ms;
        toolCalls += counter.take();
    }
    const auto count = static_cast<double>(trials.ms.size());
    const double perTrial = trialCalls / count;
    std::printf("%s (%s):\n", kind, qPrintable(service));
    std::printf("  the first trial, with nothing known yet: %d method calls received\n", coldCalls);
    std::printf("  trial through MprisPlayerControl  median %7.3f ms  p90 %7.3f ms  "
                "%.3f method calls received per trial  (%d of %lld seeked)\n",
                trials.median(), trials.percentile(90), perTrial, seeked,
                static_cast<long long>(trials.ms.size()));
    std::printf("   ");
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        std::printf(" %s %d", it.key().constData(), it.value());
    }
    std::printf("\n");
    std::printf("  playerctl position 10+ (process)  median %7.3f ms  p90 %7.3f ms  "
                "%.2f method calls received per run\n",
                tool.median(), tool.percentile(90),
                toolCalls / static_cast<double>(tool.ms.size()));
    const double ratio = tool.median() / trials.median();
    std::printf("  playerctl / trial: %.1f\n", ratio);
    std::printf("  targets: at most %d round trip(s) per trial: %s; at least 10x playerctl: %s\n",
                roundTrips, perTrial <= roundTrips ? "met" : "NOT met",
                ratio >= 10 ? "met" : "NOT met");
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // each figure as soon as it is known
    QLoggingCategory::setFilterRules(QStringLiteral("com.scrubline.app.*=false"));
    std::printf("load average at the start: %s\n", PlayerBench::loadAverage().constData());
    {
        auto mpv = PlayerProcess::mpv(PlayerProcess::generatedAudio(600, true));
        const QString name = QStringLiteral("org.mpris.MediaPlayer2.mpv");
        if (!mpv->waitForBusName(name)) {
            std::fprintf(stderr, "bench: mpv did not start\n");
            return 1;
        }
        measure("native: mpv", name, MediaApp::otherPlayers, 1);
    }
    {
        auto audacious = PlayerProcess::audacious(PlayerProcess::generatedAudio(600, true));
        const QString name = QStringLiteral("org.mpris.MediaPlayer2.audacious");
        if (!audacious->waitForBusName(name)) {
            std::fprintf(stderr, "bench: Audacious did not start\n");
            return 1;
        }
        measure("native: Audacious", name, MediaApp::otherPlayers, 1);
    }
    {
        BrowserPage page;
        QString problem;
        if (!page.start(&problem) || !page.waitUntilPlaying()) {
            std::fprintf(stderr, "bench: Chromium is not playing: %s\n", qPrintable(problem));
            return 1;
        }
        measure("browser: Chromium", page.busName(), MediaApp::chromiumYouTube, 2);
        page.quit();
    }
    {
        auto fake = PlayerProcess::fake({QStringLiteral("--name"), QStringLiteral("benchfake"),
                                         QStringLiteral("--length"), QStringLiteral("600"),
                                         QStringLiteral("--position"), QStringLiteral("300")});
        const QString name = QStringLiteral("org.mpris.MediaPlayer2.benchfake");
        if (!fake->waitForBusName(name)) {
            std::fprintf(stderr, "bench: the fake player did not start\n");
            return 1;
        }
        measure("fake player", name, MediaApp::otherPlayers, 1);
    }
    std::printf("load average at the end: %s\n", PlayerBench::loadAverage().constData());
    return 0;
}
