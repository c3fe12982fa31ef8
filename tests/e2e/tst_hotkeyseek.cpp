// The whole road of a hotkey press: xdotool presses the default combinations in the test's X
// server, the real program grabs them, and Chromium's video moves, read back over MPRIS.
#include "platform/linux/MprisClient.h"
#include "support/BrowserPage.h"
#include "support/OtherXClient.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QtTest>

#include <X11/keysym.h>
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>

namespace {

const QString binary = QStringLiteral(SCRUBLINE_BINARY);
const QString mprisPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString forward = QStringLiteral("ctrl+alt+super+Right");
const QString backward = QStringLiteral("ctrl+alt+super+Left");

QDBusConnection bus() {
    return QDBusConnection::sessionBus();
}

// Whether some client other than this test holds ctrl+alt+super+Right on the root window:
// tried as a grab of our own, which the server refuses while another holds it.
bool forwardIsGrabbedElsewhere() {
    // Any modifiers: whatever the program grabbed for Right, this overlaps it.
    return OtherXClient().heldElsewhere(XK_Right, XCB_MOD_MASK_ANY);
}

void press(const QString& keys, int times = 1) {
    QStringList arguments{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("0")};
    for (int i = 0; i < times; ++i) {
        arguments << keys;
    }
    QProcess tool;
    tool.start(QStringLiteral("xdotool"), arguments);
    QVERIFY(tool.waitForFinished(10000));
    QCOMPARE(tool.exitCode(), 0);
}

} // namespace

class TestHotkeySeek : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<BrowserPage> m_page;
    QProcess m_app;
    QByteArray m_log;
    int m_seeked = 0;

    double position() {
        const auto state = MprisClient::readState(PlayerBus::session(), m_page->busName(), 3000);
        return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
    }

    bool waitForSeeked(int count) {
        return QTest::qWaitFor([this, count] { return m_seeked >= count; }, 20000);
    }

    // The seeks the program reports having served so far, one log line each.
    int verdicts() const { return int(m_log.count("com.scrubline.app.seek: Seek ")); }

    // Presses the keys, waits for the program to serve as many seeks and for the player's word
    // that it moved; the position then, or a negative number when that did not happen.
    double pressAndSettle(const QString& keys, int times) {
        const int served = verdicts();
        const int seeked = m_seeked;
        press(keys, times);
        if (!QTest::qWaitFor([&] { return verdicts() >= served + times; }, 20000)) {
            return -100;
        }
        if (!waitForSeeked(seeked + 1)) {
            return -200;
        }
        // Long enough for an extra seek to show up, should one come.
        QTest::qWait(500);
        return verdicts() == served + times ? position() : -300;
    }

    // Moves the video back near its start without the program, ready for a run of presses.
    void rewind() {
        const int before = m_seeked;
        QDBusMessage seek = QDBusMessage::createMethodCall(m_page->busName(), mprisPath,
                                                           playerInterface, QStringLiteral("Seek"));
        seek << qlonglong(-1000LL * 1000 * 1000);
        QVERIFY(bus().call(seek, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage);
        QVERIFY(waitForSeeked(before + 1));
        QTRY_VERIFY_WITH_TIMEOUT(position() >= 0 && position() < 5, 10000);
        // The player may announce a seek to the very start more than once.
        QTest::qWait(500);
    }

private slots:
    void initTestCase() {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs inside with-session");
        m_page = std::make_unique<BrowserPage>();
        QString problem;
        QVERIFY2(m_page->start(&problem), qPrintable(problem));
        QVERIFY2(m_page->waitUntilPlaying(), "Chromium published no playing player");
        bus().connect(m_page->busName(), mprisPath, playerInterface, QStringLiteral("Seeked"), this,
                      SLOT(onSeeked()));

        // The settings are the defaults: HOME is a fresh folder.
        QVERIFY(!QFile::exists(qEnvironmentVariable("XDG_CONFIG_HOME") +
                               QStringLiteral("/Scrubline/Scrubline.conf")));
        connect(&m_app, &QProcess::readyReadStandardError, this, [this] {
            const QByteArray text = m_app.readAllStandardError();
            m_log += text;
            std::fputs(text.constData(), stderr);
        });
        m_app.start(binary, {});
        QVERIFY(m_app.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(forwardIsGrabbedElsewhere(), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(position() > 1, 20000);
    }

    void cleanupTestCase() {
        m_app.terminate();
        m_app.waitForFinished(10000);
        m_page.reset();
    }

    void theForwardHotkeyMovesTheVideoTenSecondsOn() {
        rewind();
        const double start = position();
        QElapsedTimer clock;
        clock.start();
        const double ahead = pressAndSettle(forward, 1);
        QVERIFY2(ahead >= start + 9.5 && ahead <= start + 10.5 + clock.elapsed() / 1000.0,
                 qPrintable(QStringLiteral("%1 -> %2").arg(start).arg(ahead)));
    }

    void theBackwardHotkeyMovesItTenSecondsBack() {
        const double start = position();
        QVERIFY(start >= 10);
        QElapsedTimer clock;
        clock.start();
        const double back = pressAndSettle(backward, 1);
        QVERIFY2(back >= start - 10.5 && back <= start - 9.5 + clock.elapsed() / 1000.0,
                 qPrintable(QStringLiteral("%1 -> %2").arg(start).arg(back)));
    }

    void fiveQuickPressesMoveItFiftySeconds() {
        rewind();
        const double start = position();
        QElapsedTimer clock;
        clock.start();
        const double ahead = pressAndSettle(forward, 5);
        QVERIFY2(ahead >= start + 49.5 && ahead <= start + 50.5 + clock.elapsed() / 1000.0,
                 qPrintable(QStringLiteral("%1 -> %2").arg(start).arg(ahead)));
    }

    void theHotkeysAreFreeAgainOnceTheProgramEnds() {
        QVERIFY(forwardIsGrabbedElsewhere());
        m_app.terminate();
        QVERIFY(m_app.waitForFinished(10000));
        QVERIFY(!forwardIsGrabbedElsewhere());
    }

    // Without an X connection (a Wayland session; here the offscreen platform) the program
    // says once that hotkeys need X11, and keeps running.
    void withoutX11ItSaysHotkeysNeedItAndKeepsRunning() {
        QProcess app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        app.setProcessEnvironment(environment);
        app.start(binary, {});
        QVERIFY(app.waitForStarted());
        QByteArray error;
        QTRY_VERIFY_WITH_TIMEOUT((error += app.readAllStandardError()).contains("need an X11"),
                                 20000);
        QTest::qWait(500);
        error += app.readAllStandardError();
        QCOMPARE(error.count("Global hotkeys need an X11 session for now"), 1);
        QCOMPARE(app.state(), QProcess::Running);
        QVERIFY(!forwardIsGrabbedElsewhere());
        app.terminate();
        QVERIFY(app.waitForFinished(10000));
    }

public slots:
    void onSeeked() { ++m_seeked; }
};

QTEST_GUILESS_MAIN(TestHotkeySeek)
#include "tst_hotkeyseek.moc"
