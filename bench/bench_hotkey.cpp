// How long a hotkey press takes to become a seek: from the key combination sent to the X server
// until the program logs its verdict (the "Seek ...ms" line of the seek channel), and until the
// player announces that it moved (its Seeked signal). The real program, grabbing the default
// hotkeys, against Chromium playing an audible video.
//
// Run with bench/run.sh, which gives it an X server and a private session bus.
#include "Figures.h"
#include "XTestKeyboard.h"
#include "support/BrowserPage.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <X11/keysym.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

const QString mprisPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");

void print(const char* what, const Figures& figures) {
    std::printf("  %-44s median %8.3f ms   p90 %8.3f ms   (n=%lld)\n", what, figures.percentile(50),
                figures.percentile(90), static_cast<long long>(figures.ms.size()));
}

} // namespace

// Notes when the program's verdicts and the player's announcements arrive.
class Watcher : public QObject {
    Q_OBJECT

public:
    Watcher(QProcess& app, const QString& player)
        : m_app(app) {
        m_clock.start();
        connect(&m_app, &QProcess::readyReadStandardError, this, [this] {
            const QByteArray text = m_app.readAllStandardError();
            const int verdicts = int(text.count("com.scrubline.app.seek: Seek "));
            for (int i = 0; i < verdicts; ++i) {
                m_verdictAt << now();
            }
            emit changed();
        });
        QDBusConnection::sessionBus().connect(player, mprisPath, playerInterface,
                                              QStringLiteral("Seeked"), this, SLOT(onSeeked()));
    }

    double now() const { return static_cast<double>(m_clock.nsecsElapsed()) / 1e6; }
    qsizetype verdicts() const { return m_verdictAt.size(); }
    qsizetype seekeds() const { return m_seekedAt.size(); }
    double verdictAt(qsizetype i) const { return m_verdictAt.value(i); }
    double seekedAt(qsizetype i) const { return m_seekedAt.value(i); }

    // Runs the event loop until both counts reach theirs, or the time is up.
    bool waitFor(qsizetype verdicts, qsizetype seekeds, int timeoutMs) {
        if (m_verdictAt.size() >= verdicts && m_seekedAt.size() >= seekeds) {
            return true;
        }
        QEventLoop loop;
        const auto connection = connect(this, &Watcher::changed, &loop, [&] {
            if (m_verdictAt.size() >= verdicts && m_seekedAt.size() >= seekeds) {
                loop.quit();
            }
        });
        QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
        loop.exec();
        disconnect(connection);
        return m_verdictAt.size() >= verdicts && m_seekedAt.size() >= seekeds;
    }

signals:
    void changed();

public slots:
    void onSeeked() {
        m_seekedAt << now();
        emit changed();
    }

private:
    QProcess& m_app;
    QElapsedTimer m_clock;
    QList<double> m_verdictAt;
    QList<double> m_seekedAt;
};

namespace {

// Back near the start of the video and then 30 s in, past the program, so that steps of 10 s
// either way stay clear of both ends.
void placeMidVideo(const QString& player, Watcher& watcher) {
    for (const qlonglong offset : {-1000LL * 1000 * 1000, 30LL * 1000 * 1000}) {
        const qsizetype before = watcher.seekeds();
        QDBusMessage seek = QDBusMessage::createMethodCall(player, mprisPath, playerInterface,
                                                           QStringLiteral("Seek"));
        seek << offset;
        QDBusConnection::sessionBus().call(seek, QDBus::Block, 5000);
        watcher.waitFor(0, before + 1, 5000);
    }
    QTest::qWait(300);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const int presses = 120;

    BrowserPage page;
    QString problem;
    if (!page.start(&problem) || !page.waitUntilPlaying()) {
        std::fprintf(stderr, "bench: Chromium is not playing: %s\n", qPrintable(problem));
        return 1;
    }
    QTemporaryDir home;
    QProcess app;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    app.setProcessEnvironment(environment);
    Watcher watcher(app, page.busName());
    app.start(QStringLiteral(SCRUBLINE_BINARY), {});
    XTestKeyboard keyboard;
    if (!app.waitForStarted() ||
        !QTest::qWaitFor([&] { return keyboard.isGrabbedElsewhere(XK_Right); }, 20000)) {
        std::fprintf(stderr, "bench: the program did not grab its hotkeys\n");
        return 1;
    }
    QTest::qWait(1000);

    // Taken in turns, so that whatever else the machine does weighs on both alike.
    Figures verdictXtest;
    Figures seekedXtest;
    Figures verdictTool;
    Figures seekedTool;
    int missed = 0;
    for (int i = 0; i < presses * 2 + 4; ++i) {
        if (i % 40 == 0) {
            placeMidVideo(page.busName(), watcher);
        }
        const bool byTool = i % 2 == 1;
        const xcb_keysym_t key = (i / 2) % 2 == 0 ? XK_Right : XK_Left;
        const qsizetype verdicts = watcher.verdicts();
        const qsizetype seekeds = watcher.seekeds();
        const double sent = watcher.now();
        if (byTool) {
            QProcess::execute(QStringLiteral("xdotool"),
                              {QStringLiteral("key"), QStringLiteral("--delay"),
                               QStringLiteral("0"),
                               key == XK_Right ? QStringLiteral("ctrl+alt+super+Right")
                                               : QStringLiteral("ctrl+alt+super+Left")});
        } else {
            keyboard.pressWithControlAltSuper(key);
        }
        if (!watcher.waitFor(verdicts + 1, seekeds + 1, 5000)) {
            ++missed;
            continue;
        }
        if (i >= 4) { // the first presses warm up both sides
            (byTool ? verdictTool : verdictXtest).ms << watcher.verdictAt(verdicts) - sent;
            (byTool ? seekedTool : seekedXtest).ms << watcher.seekedAt(seekeds) - sent;
        }
        // Paced as a person would press, and so that late announcements are not miscounted.
        QTest::qWait(150);
    }
    app.terminate();
    app.waitForFinished(10000);

    std::printf("Key press to seek, the real program against Chromium:\n");
    print("XTEST press -> verdict logged", verdictXtest);
    print("XTEST press -> player's Seeked", seekedXtest);
    print("xdotool started -> verdict logged", verdictTool);
    print("xdotool started -> player's Seeked", seekedTool);
    if (missed > 0) {
        std::printf("  %d presses got no verdict or no Seeked within 5 s\n", missed);
    }
    return 0;
}

#include "bench_hotkey.moc"
