#include "platform/Platform.h"
#include "support/Barrier.h"
#include "support/ControllerRig.h"
#include "support/Desktop.h"
#include "support/SettableTray.h"
#include "views/tray/TrayIcon.h"
#include "views/tray/TrayPanelView.h"
#include "views/tray/TrayPanelWindow.h"

#include <QApplication>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QtTest>

#include <memory>

Q_DECLARE_METATYPE(TrayPanelWindow::Kind)

namespace {

// The tray icons of this process that the X server shows: small windows of its class.
QList<Desktop::Window> trayIcons() {
    QList<Desktop::Window> icons;
    for (const auto& window : Desktop::visibleWindows(QCoreApplication::applicationName())) {
        if (window.geometry.width() <= 64 && window.geometry.height() <= 64) {
            icons << window;
        }
    }
    return icons;
}

} // namespace

class TestTrayIcon : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;
    // The desktop's tray as the program follows it: here an XEmbed tray, trayer, when a test
    // starts one.
    std::unique_ptr<TrayAvailability> m_tray;
    std::unique_ptr<TrayIcon> m_extra;

    std::unique_ptr<TrayIcon> makeExtra(TrayAvailability& tray) {
        return std::make_unique<TrayIcon>(m_rig->status(), m_rig->settings(), tray,
                                          m_rig->desktop(), MediaApp::BrowserNaming::bySite);
    }

    bool iconShows() const {
        return m_extra->trayIcon() != nullptr && m_extra->trayIcon()->isVisible();
    }

private slots:
    void init() {
        m_rig = std::make_unique<ControllerRig>(referenceApps());
        m_rig->start({});
        m_rig->settings().defaults().setBool(TrayPanelView::onboardingKey, true);
        m_tray = Platform::createTrayAvailability();
        m_extra = makeExtra(*m_tray);
    }

    void cleanup() {
        m_extra.reset();
        m_tray.reset();
        m_rig.reset();
    }

    void theRightClickMenuQuits() {
        const QMenu& menu = m_extra->contextMenu();
        QCOMPARE(menu.actions().size(), 1);
        QCOMPARE(menu.actions().first()->text(), QStringLiteral("Quit"));
    }

    // The icon is made when the tray starts, after the program, and docks in it; from then on
    // it follows the setting.
    void theIconFollowsTheSettingLive() {
        QTRY_COMPARE_WITH_TIMEOUT(m_tray->state(), TrayAvailability::State::absent, 10000);
        QVERIFY(m_extra->trayIcon() == nullptr);
        TrayHost tray;
        QVERIFY(tray.start());
        QTRY_VERIFY_WITH_TIMEOUT(iconShows(), 10000);
        QCOMPARE(m_extra->trayIcon()->contextMenu(), &m_extra->contextMenu());
        QTRY_COMPARE_WITH_TIMEOUT(trayIcons().size(), 1, 10000);

        m_rig->settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        QVERIFY(!iconShows());
        QTRY_COMPARE_WITH_TIMEOUT(trayIcons().size(), 0, 10000);

        m_rig->settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, true);
        QVERIFY(iconShows());
        QTRY_COMPARE_WITH_TIMEOUT(trayIcons().size(), 1, 10000);
    }

    void aHiddenIconStaysHiddenAtStart() {
        TrayHost tray;
        QVERIFY(tray.start());
        m_extra.reset();
        m_rig->settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        m_extra = makeExtra(*m_tray);
        QTRY_VERIFY_WITH_TIMEOUT(m_tray->isAvailable(), 10000);
        // The tray's coming is handled by then, and the icon is made in that turn or not at all.
        QVERIFY(Barrier::postedEventsHandled());
        QVERIFY(m_extra->trayIcon() == nullptr);
        QVERIFY(trayIcons().isEmpty());

        m_rig->settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, true);
        QVERIFY(iconShows());
        QTRY_COMPARE_WITH_TIMEOUT(trayIcons().size(), 1, 10000);
    }

    // Nothing of the toolkit's tray is touched before a tray runs: its first answer would
    // stick. A tray that goes again leaves the icon for the toolkit to dock when one returns.
    void theIconIsMadeOnlyOnceATrayRuns() {
        SettableTray tray(TrayAvailability::State::unknown);
        m_extra = makeExtra(tray);
        QVERIFY(m_extra->trayIcon() == nullptr);
        tray.set(TrayAvailability::State::absent);
        QVERIFY(m_extra->trayIcon() == nullptr);

        tray.set(TrayAvailability::State::present);
        QVERIFY(iconShows());
        QSystemTrayIcon* icon = m_extra->trayIcon();
        QCOMPARE(icon->toolTip(), QStringLiteral("Scrubline"));
        QVERIFY(!icon->icon().isNull());

        tray.set(TrayAvailability::State::absent);
        QCOMPARE(m_extra->trayIcon(), icon);
        tray.set(TrayAvailability::State::present);
        QCOMPARE(m_extra->trayIcon(), icon);
        QVERIFY(iconShows());
        m_extra.reset();
    }

    void aTrayThatAppearsWhileTheIconIsOffMakesNone() {
        SettableTray tray(TrayAvailability::State::absent);
        m_rig->settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        m_extra = makeExtra(tray);
        tray.set(TrayAvailability::State::present);
        QVERIFY(m_extra->trayIcon() == nullptr);
        m_rig->settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, true);
        QVERIFY(iconShows());
        m_extra.reset();
    }

    // A real click on the docked icon opens the panel right under it, on screen; Escape
    // closes it, and the now-playing poll runs only in between.
    void clickingTheIconOpensThePanelAtIt() {
        TrayHost tray;
        QVERIFY(tray.start());
        QTRY_COMPARE_WITH_TIMEOUT(trayIcons().size(), 1, 10000);
        const QRect icon = trayIcons().first().geometry;
        Desktop::click(icon.center(), 1);
        TrayPanelWindow& window = m_extra->window();
        QTRY_VERIFY(window.isVisible());
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(m_rig->status().isPollingNowPlaying());
        const QRect panel = window.frameGeometry();
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        QVERIFY2(screen.contains(panel), "wholly on screen");
        QCOMPARE(panel.top(), icon.bottom() + 1 + TrayPanelWindow::gap);
        QVERIFY(qAbs(panel.center().x() - icon.center().x()) <= 1 ||
                panel.right() == screen.right());
        QVERIFY(window.width() >= 200 && window.width() <= 282);

        QTest::keyClick(&window, Qt::Key_Escape);
        QTRY_VERIFY(!window.isVisible());
        QVERIFY(!m_rig->status().isPollingNowPlaying());
    }

    // Where the tray says nothing of its icon, the panel opens at the pointer.
    void withoutATrayThePanelOpensAtThePointer() {
        // The tray of the tests before is gone once the X server has seen it go.
        QTRY_COMPARE_WITH_TIMEOUT(m_tray->state(), TrayAvailability::State::absent, 10000);
        QCursor::setPos(400, 300);
        QTRY_COMPARE(QCursor::pos(), QPoint(400, 300));
        m_extra->togglePanel();
        TrayPanelWindow& window = m_extra->window();
        QVERIFY(window.isVisible());
        QCOMPARE(window.pos().y(), 300 + 1 + TrayPanelWindow::gap);
        QVERIFY(qAbs(window.geometry().center().x() - 400) <= 1);
        m_extra->togglePanel();
        QVERIFY(!window.isVisible());
    }

    // A click anywhere else takes the focus away from the panel, which closes.
    void clickingElsewhereCloses() {
        QPushButton elsewhere(QStringLiteral("Elsewhere"));
        elsewhere.setGeometry(700, 500, 200, 100);
        elsewhere.show();
        QVERIFY(QTest::qWaitForWindowExposed(&elsewhere));
        QCursor::setPos(300, 200);
        m_extra->togglePanel();
        TrayPanelWindow& window = m_extra->window();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        Desktop::click(elsewhere.geometry().center(), 1);
        QTRY_VERIFY(!window.isVisible());
        QVERIFY(!m_rig->status().isPollingNowPlaying());
    }

    void anotherWindowTakingTheFocusCloses() {
        QCursor::setPos(300, 200);
        m_extra->togglePanel();
        TrayPanelWindow& window = m_extra->window();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QWidget other;
        other.setGeometry(700, 500, 200, 100);
        other.show();
        other.activateWindow();
        QTRY_VERIFY(!window.isVisible());
    }

    // With the icon hidden nothing of the panel stays on screen.
    void hidingTheIconClosesAnOpenPanel() {
        QCursor::setPos(300, 200);
        m_extra->togglePanel();
        TrayPanelWindow& window = m_extra->window();
        QVERIFY(window.isVisible());
        m_rig->settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        QVERIFY(!window.isVisible());
        QVERIFY(!m_rig->status().isPollingNowPlaying());
    }

    // The focus going to another program closes the panel too, whichever kind of window it is:
    // for a window of its own, as under Wayland, that is all the program hears of a click
    // elsewhere.
    void theFocusGoingToAnotherProgramCloses_data() {
        QTest::addColumn<TrayPanelWindow::Kind>("kind");
        QTest::newRow("pop-up") << TrayPanelWindow::Kind::popup;
        QTest::newRow("window") << TrayPanelWindow::Kind::window;
    }

    void theFocusGoingToAnotherProgramCloses() {
        QFETCH(TrayPanelWindow::Kind, kind);
        TrayHost other;
        QVERIFY(other.start());
        const auto otherWindows = Desktop::visibleWindows(QStringLiteral("trayer"));
        QVERIFY(!otherWindows.isEmpty());
        // A window that shows while a pop-up is open closes it: the program's icon docks first.
        QTRY_COMPARE_WITH_TIMEOUT(trayIcons().size(), 1, 10000);
        TrayPanelWindow window(new TrayPanelView(m_rig->status(), m_rig->settings(), QString(),
                                                 MediaApp::BrowserNaming::bySite),
                               kind);
        window.openAt(QRect(300, 200, 1, 1));
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_COMPARE(QGuiApplication::focusWindow(), window.windowHandle());
        Desktop::output(QStringLiteral("xdotool"),
                        {QStringLiteral("windowfocus"), otherWindows.first().id});
        QTRY_VERIFY(!window.isVisible());
    }

    // The click on the icon that takes the focus from the open panel closes it; it must not
    // open it again at once.
    void theClosingClickDoesNotReopen() {
        QCursor::setPos(300, 200);
        m_extra->togglePanel();
        TrayPanelWindow& window = m_extra->window();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTest::keyClick(&window, Qt::Key_Escape);
        QVERIFY(!window.isVisible());
        m_extra->togglePanel();
        QVERIFY(!window.isVisible());
        QVERIFY(Barrier::timerFired(TrayIcon::reopenGuardMs + 1));
        m_extra->togglePanel();
        QVERIFY(window.isVisible());
    }

    void choosingSettingsClosesThePanelAndAsks() {
        QCursor::setPos(300, 200);
        m_extra->togglePanel();
        TrayPanelWindow& window = m_extra->window();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QSignalSpy asked(m_extra.get(), &TrayIcon::settingsRequested);
        QTest::mouseClick(window.findChild<QWidget*>(QStringLiteral("settingsRow")),
                          Qt::LeftButton);
        QCOMPARE(asked.count(), 1);
        QVERIFY(!window.isVisible());
    }

    void placementKeepsThePanelOnScreen_data() {
        QTest::addColumn<QRect>("anchor");
        QTest::addColumn<QPoint>("expected");
        QTest::newRow("under a top icon") << QRect(500, 0, 24, 24) << QPoint(391, 28);
        QTest::newRow("top right corner") << QRect(1260, 0, 20, 24) << QPoint(1040, 28);
        QTest::newRow("top left corner") << QRect(0, 0, 20, 24) << QPoint(0, 28);
        QTest::newRow("above a bottom icon") << QRect(600, 776, 24, 24) << QPoint(491, 472);
        QTest::newRow("pointer at the bottom right") << QRect(1279, 700, 1, 1) << QPoint(1040, 396);
    }

    void placementKeepsThePanelOnScreen() {
        QFETCH(QRect, anchor);
        QFETCH(QPoint, expected);
        const QRect screen(0, 0, 1280, 800);
        QCOMPARE(TrayPanelWindow::placement(QSize(240, 300), anchor, screen), expected);
    }
};

QTEST_MAIN(TestTrayIcon)
#include "tst_trayicon.moc"
