// YouTube in Chrome, played for real: Chromium under the test's X server plays an audible video
// from a local page, and Scrubline finds, seeks and toggles it over MPRIS.
#include "platform/linux/MprisClient.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "platform/linux/MprisRunningApps.h"
#include "support/BrowserPage.h"
#include "support/BrowserSteps.h"

#include <QDBusConnection>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <cmath>

namespace {

QDBusConnection bus() {
    return QDBusConnection::sessionBus();
}

} // namespace

class TestChromium : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<BrowserPage> m_page;
    std::unique_ptr<MprisPlayerRegistry> m_registry;
    std::unique_ptr<MprisPlayerControl> m_control;
    QList<qint64> m_seekedUs; // every position the browser announced with Seeked, in order
    QStringList m_statuses;   // each change the browser announced: its status, else its names

    double position() {
        const auto state = MprisClient::readState(PlayerBus::session(), m_page->busName(), 3000);
        return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
    }

    // Seeks through the control and waits for the player's own word that it did. Chromium
    // announces Seeked on every update of its media position, a pause, a resume and the
    // settling after a seek included, so one still on its way from an earlier step can come in
    // after our call: only a Seeked that moved the video at least half the way this step can
    // go from where it was is this step's. The ones from before are all close to that place.
    double seekAndSettle(double seconds) {
        const double start = position();
        if (start < 0) {
            return -300;
        }
        const double room = seconds > 0 ? BrowserPage::videoSeconds - start : start;
        const double halfWay = std::min(std::abs(seconds), std::max(room, 0.0)) / 2;
        const qsizetype before = m_seekedUs.size();
        const PlayerControl::SeekAnswer answer =
            m_control->seekIfPlaying(MediaApp::chromiumYouTube, seconds, 3.0);
        if (answer.result != SeekResult::seeked) {
            return -100;
        }
        const auto ours = [&] {
            for (qsizetype i = before; i < m_seekedUs.size(); ++i) {
                const double moved =
                    (static_cast<double>(m_seekedUs[i]) / 1e6 - start) * (seconds > 0 ? 1 : -1);
                if (moved >= halfWay) {
                    return true;
                }
            }
            return false;
        };
        if (!QTest::qWaitFor(ours, 20000)) {
            QStringList heard;
            for (qsizetype i = before; i < m_seekedUs.size(); ++i) {
                heard << QString::number(static_cast<double>(m_seekedUs[i]) / 1e6);
            }
            qWarning("From %.3f by %.1f s, the browser announced only: %s", start, seconds,
                     qPrintable(heard.join(u' ')));
            return -200;
        }
        return position();
    }

private slots:
    // One browser for all: each start costs seconds. The tests run in this order, the ones
    // that end the video or the browser last.
    void initTestCase() {
        m_page = std::make_unique<BrowserPage>();
        QString problem;
        QVERIFY2(m_page->start(&problem), qPrintable(problem));
        QVERIFY2(m_page->waitUntilPlaying(), "Chromium published no playing player");
        m_registry = std::make_unique<MprisPlayerRegistry>(PlayerBus::session());
        m_control = std::make_unique<MprisPlayerControl>(*m_registry);
        QTRY_COMPARE(m_registry->playersOf(MediaApp::chromiumYouTube),
                     QStringList{m_page->busName()});
        m_seekedUs.clear();
        bus().connect(m_page->busName(), QStringLiteral("/org/mpris/MediaPlayer2"),
                      QStringLiteral("org.mpris.MediaPlayer2.Player"), QStringLiteral("Seeked"),
                      this, SLOT(onSeeked(qlonglong)));
        bus().connect(m_page->busName(), QStringLiteral("/org/mpris/MediaPlayer2"),
                      QStringLiteral("org.freedesktop.DBus.Properties"),
                      QStringLiteral("PropertiesChanged"), this,
                      SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    }

    void cleanupTestCase() {
        m_control.reset();
        m_registry.reset();
        m_page.reset();
    }

    void seeksForwardAndBack() {
        QTRY_VERIFY_WITH_TIMEOUT(position() > 1, 20000);
        const double start = position();
        QElapsedTimer clock;
        clock.start();
        const double ahead = seekAndSettle(10);
        QVERIFY2(ahead >= start + 9.5 && ahead <= start + 10.5 + clock.elapsed() / 1000.0,
                 qPrintable(QStringLiteral("%1 -> %2").arg(start).arg(ahead)));
        clock.restart();
        const double back = seekAndSettle(-5);
        QVERIFY2(back >= ahead - 5.5 && back <= ahead - 4.5 + clock.elapsed() / 1000.0,
                 qPrintable(QStringLiteral("%1 -> %2").arg(ahead).arg(back)));
    }

    // Once the browser has settled after our seek, the next press is one SetPosition to where
    // the registry reckons the video to be plus the step, and it lands where a read would have
    // put it.
    void theQuickWayIsOpenAgainAfterASeek() {
        m_statuses.clear();
        const double before = seekAndSettle(10);
        QVERIFY(before > 0);
        QTest::qWait(1500);
        qInfo("The browser said after our seek: %s", qPrintable(m_statuses.join(u',')));
        QTRY_VERIFY_WITH_TIMEOUT(
            m_registry->states().targetWithoutRead(m_page->busName(), -5'000'000).has_value(),
            5000);
        const double start = position();
        QElapsedTimer clock;
        clock.start();
        const double back = seekAndSettle(-5);
        QVERIFY2(back >= start - 5.5 && back <= start - 4.5 + clock.elapsed() / 1000.0,
                 qPrintable(QStringLiteral("%1 -> %2").arg(start).arg(back)));
    }

    // The page skips by its own 5 s when handed a relative seek; steps of 10 s and 30 s land
    // where they should all the same, press after press, measured by the page's own word.
    void pageStepsAreNotTakenForOurs() {
        QTRY_VERIFY_WITH_TIMEOUT(!m_page->landings().isEmpty(), 10000);
        for (const double step : {10.0, -10.0, 30.0, -30.0, 10.0, -10.0}) {
            QTest::qWait(700);
            const std::optional<double> miss =
                missOfStep(*m_control, MediaApp::chromiumYouTube, *m_page, step);
            QVERIFY2(miss.has_value(), "no landing");
            QVERIFY2(std::abs(*miss) <= 0.5, qPrintable(QStringLiteral("%1 s off").arg(*miss)));
        }
    }

    void clampsAtTheStart() {
        QElapsedTimer clock;
        clock.start();
        const double at = seekAndSettle(-1000);
        QVERIFY2(at >= 0 && at <= 0.5 + clock.elapsed() / 1000.0, qPrintable(QString::number(at)));
    }

    void togglesPlayPause() {
        QCOMPARE(m_control->playPause(MediaApp::chromiumYouTube, 3.0), SeekResult::seeked);
        QTRY_COMPARE(
            MprisClient::readState(PlayerBus::session(), m_page->busName(), 3000)->playbackStatus,
            QStringLiteral("Paused"));
        QCOMPARE(m_control->seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::notPlaying);
        QCOMPARE(m_control->nowPlaying(MediaApp::chromiumYouTube, 2.0), std::nullopt);
        QCOMPARE(m_control->playPause(MediaApp::chromiumYouTube, 3.0), SeekResult::seeked);
        QTRY_VERIFY(
            MprisClient::readState(PlayerBus::session(), m_page->busName(), 3000)->isPlaying());
    }

    void tellsWhatIsPlaying() {
        // Named by the app, whichever browser of the family it is.
        QCOMPARE(m_control->nowPlaying(MediaApp::chromiumYouTube, 2.0),
                 std::optional(NowPlaying{QLatin1String(BrowserPage::title),
                                          {QLatin1String(BrowserPage::artist)},
                                          MediaApp::chromiumYouTube}));
    }

    void probesAnswer() {
        QCOMPARE(m_control->probe(PermissionItem::all()[2], 3.0), PermissionStatus::granted);
        QCOMPARE(m_control->probe(PermissionItem::all()[3], 3.0), PermissionStatus::granted);
    }

    // At its end the video is over, and the browser may say any position: the page tells
    // where it went.
    void clampsAtTheEnd() {
        QTest::qWait(700);
        const auto landings = m_page->landings().size();
        QCOMPARE(m_control->seekIfPlaying(MediaApp::chromiumYouTube, 1000, 3.0).result,
                 SeekResult::seeked);
        QTRY_VERIFY_WITH_TIMEOUT(m_page->landings().size() > landings, 10000);
        const double at = m_page->landings().at(landings).seconds;
        QVERIFY2(at >= BrowserPage::videoSeconds - 0.5 && at <= BrowserPage::videoSeconds + 0.5,
                 qPrintable(QString::number(at)));
    }

    void isRunningUntilTheBrowserQuits() {
        MprisRunningApps running(*m_registry);
        QCOMPARE(running.runningApps(), QSet<MediaApp>{MediaApp::chromiumYouTube});
        QSignalSpy terminated(&running, &RunningApps::terminated);
        m_page->quit();
        QTRY_COMPARE_WITH_TIMEOUT(terminated.size(), 1, 20000);
        QCOMPARE(terminated[0][0], QVariant::fromValue(MediaApp(MediaApp::chromiumYouTube)));
        QVERIFY(running.runningApps().isEmpty());
    }

public slots:
    void onSeeked(qlonglong positionUs) { m_seekedUs << positionUs; }
    void onPropertiesChanged(const QString& /*interface*/, const QVariantMap& changed,
                             const QStringList& /*invalidated*/) {
        const QString status = changed.value(QStringLiteral("PlaybackStatus")).toString();
        m_statuses << (status.isEmpty() ? changed.keys().join(u'+') : status);
    }
};

QTEST_GUILESS_MAIN(TestChromium)
#include "tst_chromium.moc"
