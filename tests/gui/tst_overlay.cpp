#include "support/Barrier.h"
#include "support/ControllerRig.h"
#include "support/Desktop.h"
#include "support/Screenshots.h"
#include "views/overlay/OverlayManager.h"
#include "views/overlay/OverlayPanel.h"
#include "views/overlay/OverlayView.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QWindow>
#include <QtTest>

#include <memory>

namespace {

using Direction = SeekAction::Direction;

// Counts the times a widget is shown.
class ShowCounter : public QObject {
public:
    int shows = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show) {
            ++shows;
        }
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

class TestOverlay : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;
    std::unique_ptr<OverlayManager> m_manager;

    void setSteps(double forward, double backward) {
        m_rig->settings().setSeekActions({SeekAction(Direction::forward, forward, 124, 6400),
                                          SeekAction(Direction::backward, backward, 123, 6400)});
    }

    OverlayPanel* panel() const { return m_manager->panel(); }

    bool cardShowing() const {
        return panel() != nullptr && panel()->isVisible() && panel()->card() != nullptr;
    }

private slots:
    void init() {
        m_rig = std::make_unique<ControllerRig>(referenceApps());
        m_rig->start({});
        m_rig->settings().setFeedbackDuration(30); // cleared by the test where it matters
        m_manager = std::make_unique<OverlayManager>(
            m_rig->status(), m_rig->settings(), MediaApp::BrowserNaming::bySite, &m_rig->desktop());
        m_manager->start();
    }

    void cleanup() {
        m_manager.reset();
        m_rig.reset();
        QApplication::setPalette(QPalette());
    }

    void theIconFollowsTheFirstConfiguredStep_data() {
        QTest::addColumn<double>("forward");
        QTest::addColumn<double>("backward");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("icon");
        const int forward = static_cast<int>(FeedbackKind::forward);
        const int backward = static_cast<int>(FeedbackKind::backward);
        const int playPause = static_cast<int>(FeedbackKind::playPause);
        QTest::newRow("forward 10") << 10.0 << 10.0 << forward << "goforward.10";
        QTest::newRow("forward 20") << 20.0 << 10.0 << forward << "goforward";
        QTest::newRow("forward 7.9 is 7") << 7.9 << 10.0 << forward << "goforward";
        QTest::newRow("backward 60") << 10.0 << 60.0 << backward << "gobackward.60";
        QTest::newRow("play/pause at 10") << 10.0 << 10.0 << playPause << "playpause";
        QTest::newRow("play/pause at 7.9") << 7.9 << 20.0 << playPause << "playpause";
    }

    void theIconFollowsTheFirstConfiguredStep() {
        QFETCH(double, forward);
        QFETCH(double, backward);
        QFETCH(int, kind);
        QFETCH(QString, icon);
        setSteps(forward, backward);
        m_rig->status().showFeedback(MediaApp::appleMusic, static_cast<FeedbackKind>(kind));
        QTRY_VERIFY(cardShowing());
        OverlayView* card = panel()->card();
        QCOMPARE(card->iconName(), icon);
        QCOMPARE(
            card->findChild<QWidget*>(QStringLiteral("icon"))->property("symbolName").toString(),
            icon);
        QCOMPARE(card->findChild<QLabel*>(QStringLiteral("playerName"))->text(),
                 QStringLiteral("Apple Music"));
    }

    // A second forward hotkey with another step still shows the first action's number.
    void theIconIgnoresThePressedStep() {
        m_rig->settings().setSeekActions({SeekAction(Direction::forward, 5, 124, 6400),
                                          SeekAction(Direction::forward, 30, 125, 6400)});
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_VERIFY(cardShowing());
        QCOMPARE(panel()->card()->iconName(), QStringLiteral("goforward.5"));
    }

    void theCardNamesEachPlayer_data() {
        QTest::addColumn<int>("app");
        QTest::addColumn<QString>("name");
        QTest::newRow("spotify") << int(MediaApp::spotify) << "Spotify";
        QTest::newRow("music") << int(MediaApp::appleMusic) << "Apple Music";
        QTest::newRow("chrome") << int(MediaApp::chromiumYouTube) << "YouTube (Chrome)";
        QTest::newRow("safari") << int(MediaApp::safariYouTube) << "YouTube (Safari)";
        QTest::newRow("other players") << int(MediaApp::otherPlayers) << "Other players";
    }

    void theCardNamesEachPlayer() {
        QFETCH(int, app);
        QFETCH(QString, name);
        m_rig->status().showFeedback(static_cast<MediaApp::Value>(app), FeedbackKind::forward);
        QTRY_VERIFY(cardShowing());
        QCOMPARE(panel()->card()->playerName(), name);
    }

    // A player of an app of many kinds is named as it names itself, as the panel names it.
    void theCardNamesAnOtherPlayerByItsOwnName() {
        m_rig->status().showFeedback(MediaApp::otherPlayers, FeedbackKind::backward,
                                     QStringLiteral("VLC media player"));
        QTRY_VERIFY(cardShowing());
        QCOMPARE(panel()->card()->playerName(), QStringLiteral("VLC media player"));
        QCOMPARE(panel()->card()->findChild<QLabel*>(QStringLiteral("playerName"))->text(),
                 QStringLiteral("VLC media player"));
    }

    // The written measures: paddings 32 and 24, spacing 12, radius 18, fonts 36 and 14 points
    // medium.
    void theCardIsLaidOutAsWritten() {
        m_rig->status().showFeedback(MediaApp::chromiumYouTube, FeedbackKind::forward);
        QTRY_VERIFY(cardShowing());
        OverlayView* card = panel()->card();
        auto* icon = card->findChild<QWidget*>(QStringLiteral("icon"));
        auto* name = card->findChild<QLabel*>(QStringLiteral("playerName"));
        QCOMPARE(name->font().pointSizeF(), 14.0);
        QCOMPARE(name->font().weight(), QFont::Medium);
        QFont symbolFont = QApplication::font();
        symbolFont.setPointSizeF(36);
        QCOMPARE(icon->width(), QFontInfo(symbolFont).pixelSize());
        QCOMPARE(icon->geometry().top(), 24);
        QCOMPARE(name->geometry().top() - icon->geometry().bottom() - 1, 12);
        QCOMPARE(card->height() - name->geometry().bottom() - 1, 24);
        const int widest = qMax(icon->width(), name->sizeHint().width());
        QCOMPARE(card->width(), widest + 2 * 32);
        QVERIFY(qAbs(icon->geometry().center().x() - card->rect().center().x()) <= 1);
        QCOMPARE(OverlayView::cornerRadius, 18);
        // The window is the card plus the room for its shadow, the same on every side.
        QCOMPARE(panel()->size(), card->size() + QSize(2, 2) * OverlayPanel::shadowMargin);
    }

    void theWindowNeverTakesFocusOrClicks() {
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_VERIFY(cardShowing());
        const Qt::WindowFlags flags = panel()->windowFlags();
        QVERIFY(flags.testFlag(Qt::WindowDoesNotAcceptFocus));
        QVERIFY(flags.testFlag(Qt::WindowTransparentForInput));
        QVERIFY(flags.testFlag(Qt::WindowStaysOnTopHint));
        QVERIFY(flags.testFlag(Qt::FramelessWindowHint));
        QCOMPARE(panel()->windowType(), Qt::Tool);
        QVERIFY(flags.testFlag(Qt::X11BypassWindowManagerHint));
        QVERIFY(panel()->testAttribute(Qt::WA_ShowWithoutActivating));
        QVERIFY(panel()->testAttribute(Qt::WA_TranslucentBackground));
        QVERIFY(panel()->testAttribute(Qt::WA_MacAlwaysShowToolWindow));
        QCOMPARE(panel()->windowHandle()->flags() & Qt::WindowTransparentForInput,
                 Qt::WindowTransparentForInput);
    }

    // A real pointer click on the card lands on the window below it, which keeps the focus.
    void clicksPassThroughToTheWindowBelow() {
        QPushButton below(QStringLiteral("Below"));
        const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
        below.setGeometry(QRect(0, 0, 500, 400));
        below.move(available.center() - QPoint(250, 200));
        below.show();
        below.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&below));
        QSignalSpy clicks(&below, &QPushButton::clicked);

        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::backward);
        QTRY_VERIFY(cardShowing());
        QTRY_COMPARE(panel()->fade(), 1.0);
        QVERIFY(QTest::qWaitForWindowExposed(panel()));
        const QPoint centre = panel()->geometry().center();
        QVERIFY(below.geometry().contains(centre));
        Desktop::click(centre, 1);
        QTRY_COMPARE(clicks.count(), 1);
        QVERIFY(!panel()->isActiveWindow());
        QCOMPARE(QGuiApplication::focusWindow(), below.windowHandle());
    }

    void theCardIsCentredInTheAvailableArea() {
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_VERIFY(cardShowing());
        const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
        const QPoint offset = panel()->geometry().center() - available.center();
        QVERIFY2(qAbs(offset.x()) <= 1 && qAbs(offset.y()) <= 1,
                 qPrintable(QStringLiteral("%1,%2").arg(offset.x()).arg(offset.y())));
    }

    // Fades in from nothing on a feedback, out and off the screen when it clears.
    void fadesInAndOut() {
        m_rig->settings().setFeedbackDuration(0.4);
        QList<qreal> opacities;
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_VERIFY(panel() != nullptr);
        connect(panel(), &OverlayPanel::fadeChanged, this,
                [&opacities](qreal opacity) { opacities << opacity; });
        QTRY_VERIFY(panel()->isVisible());
        QTRY_COMPARE(panel()->fade(), 1.0);
        QTRY_VERIFY(!panel()->isVisible());
        QVERIFY(!opacities.isEmpty());
        QCOMPARE(opacities.last(), 0.0);
        QVERIFY(opacities.contains(1.0));
        // The panel is kept for the next show.
        const OverlayPanel* kept = panel();
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::backward);
        QTRY_VERIFY(cardShowing());
        QCOMPARE(panel(), kept);
        QCOMPARE(panel()->card()->iconName(), QStringLiteral("gobackward.10"));
    }

    void switchedOffItShowsNothing() {
        m_rig->settings().setShowHUDOverlay(false);
        m_rig->settings().setFeedbackDuration(0.2);
        QSignalSpy changes(&m_rig->status(), &MediaStatus::seekFeedbackChanged);
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_COMPARE(changes.count(), 2); // shown, then cleared
        QVERIFY(Barrier::postedEventsHandled());
        QVERIFY(panel() == nullptr);
    }

    // Turned off while the card is up: it stays until its feedback clears, as usual.
    void switchingOffLeavesAVisibleCardToItsFeedback() {
        m_rig->settings().setFeedbackDuration(0.5);
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_VERIFY(cardShowing());
        m_rig->settings().setShowHUDOverlay(false);
        QVERIFY(panel()->isVisible());
        QTRY_VERIFY(!panel()->isVisible());
    }

    void anEmptyFeedbackBeforeAnyCardDoesNothing() {
        // The feedback comes while the overlay is off, and clears once it is on again.
        m_rig->settings().setShowHUDOverlay(false);
        m_rig->settings().setFeedbackDuration(0.3);
        QSignalSpy changes(&m_rig->status(), &MediaStatus::seekFeedbackChanged);
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_COMPARE(changes.count(), 1);
        QVERIFY(Barrier::postedEventsHandled());
        m_rig->settings().setShowHUDOverlay(true);
        QTRY_COMPARE(changes.count(), 2);
        QVERIFY(Barrier::postedEventsHandled());
        QVERIFY(panel() == nullptr);
    }

    // Two feedbacks 50 ms apart: one window, shown once, faded in again from nothing with
    // the second's symbol and player.
    void aSecondFeedbackRestartsTheFade() {
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        QTRY_VERIFY(panel() != nullptr);
        OverlayPanel* first = panel();
        ShowCounter shows;
        QList<qreal> opacities;
        connect(first, &OverlayPanel::fadeChanged, this,
                [&opacities](qreal opacity) { opacities << opacity; });
        QTRY_VERIFY2(first->fade() > 0.0, "the first card is fading in");
        first->installEventFilter(&shows);

        m_rig->status().showFeedback(MediaApp::chromiumYouTube, FeedbackKind::playPause);
        QTRY_COMPARE(panel()->card()->playerName(), QStringLiteral("YouTube (Chrome)"));
        QTRY_COMPARE(panel()->fade(), 1.0);
        QCOMPARE(panel(), first);
        QCOMPARE(shows.shows, 0); // already on screen: not shown a second time
        QCOMPARE(panel()->card()->iconName(), QStringLiteral("playpause"));
        // Some fade-in steps, then a reset to nothing, then the fade in again to full.
        const qsizetype reset = opacities.indexOf(0.0);
        QVERIFY2(reset > 0, "the fade was reset after it had begun");
        QVERIFY(opacities.first() > 0.0);
        QCOMPARE(opacities.count(0.0), 1);
        QVERIFY(opacities.size() > reset + 1);
        QCOMPARE(opacities.last(), 1.0);
        for (qsizetype i = reset + 1; i < opacities.size(); ++i) {
            QVERIFY(opacities[i] >= opacities[i - 1]);
        }
    }

    // The steps of one held hotkey: the card stays, counts up with the plain arrow and the
    // total, and never fades in again; a new hold is a new card.
    void aHeldHotkeyIsOneCardThatCountsUp() {
        setSteps(10, 10);
        const QUuid hold = QUuid::createUuid();
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward, QString(),
                                     HoldProgress{hold, 10, 1});
        QTRY_VERIFY(cardShowing());
        QCOMPARE(panel()->card()->iconName(), QStringLiteral("goforward.10"));
        QVERIFY(panel()->card()->findChild<QLabel*>(QStringLiteral("total")) == nullptr);
        QTRY_COMPARE(panel()->fade(), 1.0);
        QList<qreal> opacities;
        connect(panel(), &OverlayPanel::fadeChanged, this,
                [&opacities](qreal opacity) { opacities << opacity; });
        for (int steps = 2; steps <= 4; ++steps) {
            m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward, QString(),
                                         HoldProgress{hold, 10.0 * steps, steps});
            QTRY_COMPARE(panel()->card()->feedback().hold->steps, steps);
        }
        // A fade begun by any of the steps would have ended by then.
        QVERIFY(Barrier::timerFired(OverlayManager::fadeInMs + 50));
        QVERIFY2(opacities.isEmpty(), "the card did not fade while the hotkey was held");
        QCOMPARE(panel()->card()->iconName(), QStringLiteral("goforward"));
        const auto* total = panel()->card()->findChild<QLabel*>(QStringLiteral("total"));
        QVERIFY(total != nullptr);
        QCOMPARE(total->text(), QStringLiteral("+40s"));
        QVERIFY(!total->accessibleName().isEmpty());
        // Grown with the total, and still in the middle.
        const QPoint offset = panel()->geometry().center() -
                              QGuiApplication::primaryScreen()->availableGeometry().center();
        QVERIFY2(qAbs(offset.x()) <= 1 && qAbs(offset.y()) <= 1,
                 qPrintable(QStringLiteral("%1,%2").arg(offset.x()).arg(offset.y())));

        // Another hold: a card of its own, faded in anew.
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::backward, QString(),
                                     HoldProgress{QUuid::createUuid(), -10, 1});
        QTRY_COMPARE(panel()->card()->feedback().kind, FeedbackKind::backward);
        QTRY_VERIFY(opacities.contains(0.0));
    }

    void screenshots_data() { Screenshots::addPaletteRows(); }

    void screenshots() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        Screenshots::usePalette(dark);
        setSteps(10, 45);
        const struct {
            FeedbackKind kind;
            MediaApp app;
            QString name;
        } cases[] = {
            {FeedbackKind::forward, MediaApp::spotify, QStringLiteral("forward10")},
            {FeedbackKind::backward, MediaApp::chromiumYouTube, QStringLiteral("backward45")},
            {FeedbackKind::playPause, MediaApp::appleMusic, QStringLiteral("playpause")},
        };
        for (const auto& each : cases) {
            m_rig->status().showFeedback(each.app, each.kind);
            QTRY_VERIFY(cardShowing() && panel()->card()->feedback().app == each.app);
            QTRY_COMPARE(panel()->fade(), 1.0);
            const QString path = Screenshots::save(
                Screenshots::onBackdrop(panel()->grab(), dark),
                QStringLiteral("overlay-%1-%2").arg(each.name, dark ? "dark" : "light"));
            QVERIFY(!path.isEmpty());
            qInfo("%s", qPrintable(path));
        }
        // A hotkey held down for a while: the running total on the arrow's card.
        const QUuid hold = QUuid::createUuid();
        for (int steps = 1; steps <= 4; ++steps) {
            m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward, QString(),
                                         HoldProgress{hold, 10.0 * steps, steps});
        }
        QTRY_VERIFY(cardShowing() && panel()->card()->feedback().hold &&
                    panel()->card()->feedback().hold->steps == 4);
        QTRY_COMPARE(panel()->fade(), 1.0);
        const QString path =
            Screenshots::save(Screenshots::onBackdrop(panel()->grab(), dark),
                              QStringLiteral("overlay-held-%1").arg(dark ? "dark" : "light"));
        QVERIFY(!path.isEmpty());
        qInfo("%s", qPrintable(path));
    }
};

QTEST_MAIN(TestOverlay)
#include "tst_overlay.moc"
