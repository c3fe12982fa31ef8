// Firefox ESR, played for real: a page on 127.0.0.1 plays an audible video whose media session
// skips by a fixed step of its own when asked to seek forward or backward. Scrubline finds the
// player as Firefox and moves it to positions, which the page reports back exactly, though
// Firefox itself says where it is only in whole seconds.
#include "platform/linux/MprisClient.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "platform/linux/MprisRunningApps.h"
#include "support/BrowserPage.h"
#include "support/BrowserSteps.h"

#include <QDBusConnection>
#include <QSignalSpy>
#include <QtTest>

#include <cmath>

namespace {} // namespace

class TestFirefox : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<BrowserPage> m_page;
    std::unique_ptr<MprisPlayerRegistry> m_registry;
    std::unique_ptr<MprisPlayerControl> m_control;

    std::optional<MprisClient::State> state() {
        return MprisClient::readState(PlayerBus::session(), m_page->busName(), 3000);
    }

private slots:
    // One browser for all; the tests that end the video or the browser come last.
    void initTestCase() {
        m_page = std::make_unique<BrowserPage>(BrowserPage::Browser::firefox);
        QString problem;
        QVERIFY2(m_page->start(&problem), qPrintable(problem));
        QVERIFY2(m_page->waitUntilPlaying(), "Firefox published no playing player");
        m_registry = std::make_unique<MprisPlayerRegistry>(PlayerBus::session());
        m_control = std::make_unique<MprisPlayerControl>(*m_registry);
        QTRY_COMPARE(m_registry->playersOf(MediaApp::firefox), QStringList{m_page->busName()});
    }

    void cleanupTestCase() {
        m_control.reset();
        m_registry.reset();
        m_page.reset();
    }

    void isFirefoxAndSaysWholeSeconds() {
        MprisRunningApps running(*m_registry);
        QCOMPARE(running.runningApps(), QSet<MediaApp>{MediaApp::firefox});
        QVERIFY(m_registry->playersOf(MediaApp::chromiumYouTube).isEmpty());
        QVERIFY(m_registry->playersOf(MediaApp::otherPlayers).isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(state()->positionUs.value_or(0) > 1'000'000, 20000);
        // What makes the landing hard to get right from Firefox's word alone.
        QCOMPARE(*state()->positionUs % 1'000'000, 0);
    }

    // The page would skip by its own 5 s if handed a relative seek; every step lands where it
    // should instead, to within a quarter of a second, press after press.
    void stepsLandWhereTheyShould() {
        // The first step starts from a whole-second reading; the page's report of it is where
        // the following ones are measured from.
        QCOMPARE(m_control->seekIfPlaying(MediaApp::firefox, 10, 3.0).result, SeekResult::seeked);
        QTRY_COMPARE_WITH_TIMEOUT(m_page->landings().size(), 1, 10000);
        for (const double step : {10.0, -10.0, 30.0, -30.0, -5.0, 10.0}) {
            QTest::qWait(700);
            const std::optional<double> miss =
                missOfStep(*m_control, MediaApp::firefox, *m_page, step);
            QVERIFY2(miss.has_value(), "no landing");
            QVERIFY2(std::abs(*miss) <= 0.25, qPrintable(QStringLiteral("%1 s off").arg(*miss)));
        }
    }

    void aPausedVideoIsNotMoved() {
        QCOMPARE(m_control->playPause(MediaApp::firefox, 3.0), SeekResult::seeked);
        QTRY_COMPARE(state()->playbackStatus, QStringLiteral("Paused"));
        const auto landings = m_page->landings().size();
        QCOMPARE(m_control->seekIfPlaying(MediaApp::firefox, 10, 3.0).result,
                 SeekResult::notPlaying);
        QCOMPARE(m_control->seekIfPlaying(MediaApp::firefox, -10, 3.0).result,
                 SeekResult::notPlaying);
        QTest::qWait(500);
        QCOMPARE(m_page->landings().size(), landings);
        QCOMPARE(m_control->playPause(MediaApp::firefox, 3.0), SeekResult::seeked);
        QTRY_VERIFY(state()->isPlaying());
    }

    void clampsAtTheStart() {
        QTest::qWait(700);
        const auto landings = m_page->landings().size();
        QCOMPARE(m_control->seekIfPlaying(MediaApp::firefox, -1000, 3.0).result,
                 SeekResult::seeked);
        QTRY_VERIFY_WITH_TIMEOUT(m_page->landings().size() > landings, 10000);
        QVERIFY2(m_page->landings().at(landings).seconds <= 0.25,
                 qPrintable(QString::number(m_page->landings().at(landings).seconds)));
    }

    void clampsAtTheEnd() {
        QTest::qWait(700);
        const auto landings = m_page->landings().size();
        QCOMPARE(m_control->seekIfPlaying(MediaApp::firefox, 1000, 3.0).result, SeekResult::seeked);
        QTRY_VERIFY_WITH_TIMEOUT(m_page->landings().size() > landings, 10000);
        const double at = m_page->landings().at(landings).seconds;
        QVERIFY2(at >= BrowserPage::videoSeconds - 0.5 && at <= BrowserPage::videoSeconds + 0.5,
                 qPrintable(QString::number(at)));
    }
};

QTEST_GUILESS_MAIN(TestFirefox)
#include "tst_firefox.moc"
