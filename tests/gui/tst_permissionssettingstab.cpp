#include "core/PermissionChecker.h"
#include "platform/Platform.h"
#include "support/FakePlayers.h"
#include "support/FakeRunningApps.h"
#include "support/RecordingDesktop.h"
#include "support/Screenshots.h"
#include "views/settings/PermissionsSettingsTab.h"
#include "views/widgets/FormSection.h"
#include "views/widgets/Spinner.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolView.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QStyle>
#include <QtTest>

#include <memory>

namespace {

using Status = PermissionStatus;

const MediaApp spotify = MediaApp::spotify;
const MediaApp chrome = MediaApp::chromiumYouTube;

bool isOrange(const QColor& color) {
    return color.hslSaturation() > 150 && color.hslHue() >= 25 && color.hslHue() <= 45;
}

bool isGreen(const QColor& color) {
    return color.hslSaturation() > 100 && color.hslHue() >= 90 && color.hslHue() <= 150;
}

} // namespace

class TestPermissionsSettingsTab : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<FakePlayers> m_players;
    FakeRunningApps* m_running = nullptr;
    std::unique_ptr<RecordingDesktop> m_desktop;
    std::unique_ptr<PermissionsSettingsTab> m_tab;
    bool m_trusted = false;
    double m_now = 1000;

    // The tab with its own checker over the fake players, shown as the window shows a page.
    PermissionsSettingsTab& openTab(const QSet<MediaApp>& running, bool show = true,
                                    std::optional<QList<PermissionItem>> items = std::nullopt) {
        auto apps = std::make_unique<FakeRunningApps>(running);
        m_running = apps.get();
        auto checker = std::make_unique<PermissionChecker>(
            m_players, std::move(apps), [this] { return m_trusted; }, [this] { return m_now; });
        if (items) {
            checker->setItems(*items);
        }
        m_tab = std::make_unique<PermissionsSettingsTab>(std::move(checker), *m_desktop);
        m_tab->resize(456, m_tab->sizeHint().height());
        if (show) {
            m_tab->show();
            if (!QTest::qWaitForWindowExposed(m_tab.get())) {
                qWarning("the tab was not exposed");
            }
        }
        return *m_tab;
    }

    QWidget* row(const QString& id) {
        for (QWidget* each : m_tab->findChildren<QWidget*>(QStringLiteral("permissionRow"))) {
            if (each->property("itemId").toString() == id) {
                return each;
            }
        }
        return nullptr;
    }
    QString statusOf(QWidget* row) {
        return row->findChild<QLabel*>(QStringLiteral("statusText"))->text();
    }
    QColor statusColorOf(QWidget* row) {
        auto* label = row->findChild<QLabel*>(QStringLiteral("statusText"));
        return label->palette().color(label->foregroundRole());
    }
    SymbolView* iconOf(QWidget* row) {
        return row->findChild<SymbolView*>(QStringLiteral("statusIcon"));
    }
    QLabel* hintOf(QWidget* row) { return row->findChild<QLabel*>(QStringLiteral("hint")); }
    QPushButton* button(const char* name) {
        return m_tab->findChild<QPushButton*>(QLatin1StringView(name));
    }
    void waitForCheck() { QTRY_VERIFY(!m_tab->checker().isChecking()); }

private slots:
    void init() {
        m_players = std::make_shared<FakePlayers>();
        m_desktop =
            std::make_unique<RecordingDesktop>(Platform::createDesktopIntegration()->texts());
        m_trusted = false;
        m_now = 1000;
    }
    void cleanup() {
        m_players->openGate();
        m_tab.reset();
        QApplication::setPalette(QApplication::style()->standardPalette());
    }

    void withNoResultsEveryRowIsNotChecked() {
        // Made but never shown: nothing has asked the checker yet.
        openTab({spotify, chrome}, false);
        for (const PermissionItem& item : PermissionItem::all()) {
            QWidget* shown = row(item.id);
            QVERIFY2(shown != nullptr, qPrintable(item.id));
            QCOMPARE(statusOf(shown), QStringLiteral("Not checked"));
            QCOMPARE(iconOf(shown)->symbolName(), QStringLiteral("questionmark.circle.fill"));
            QCOMPARE(iconOf(shown)->color(), Style::secondary(shown->palette()));
            QVERIFY(!hintOf(shown)->isVisibleTo(m_tab.get()));
        }
        QVERIFY(m_players->subjects(FakePlayers::Call::probe).isEmpty());
    }

    void appearingRefreshesOnce() {
        m_players->setProbeStatus(QStringLiteral("automation-spotify"), Status::granted);
        openTab({spotify});
        waitForCheck();
        QCOMPARE(m_players->subjects(FakePlayers::Call::probe),
                 QStringList{QStringLiteral("automation-spotify")});
        QWidget* granted = row(QStringLiteral("automation-spotify"));
        QCOMPARE(statusOf(granted), QStringLiteral("Granted"));
        QCOMPARE(iconOf(granted)->symbolName(), QStringLiteral("checkmark.circle.fill"));
        QVERIFY(isGreen(statusColorOf(granted)));
        QVERIFY(isGreen(iconOf(granted)->color()));
        QCOMPARE(granted->accessibleName(), QStringLiteral("Automation for Spotify: Granted"));
    }

    void aDeniedBrowserRowShowsTheCrossAndItsHint() {
        m_players->setProbeStatus(QStringLiteral("automation-chrome"), Status::granted);
        m_players->setProbeStatus(QStringLiteral("chrome-js"), Status::denied);
        openTab({chrome});
        waitForCheck();
        QWidget* denied = row(QStringLiteral("chrome-js"));
        QCOMPARE(statusOf(denied), QStringLiteral("Denied"));
        QCOMPARE(iconOf(denied)->symbolName(), QStringLiteral("xmark.circle.fill"));
        QVERIFY(isOrange(iconOf(denied)->color()));
        QVERIFY(isOrange(statusColorOf(denied)));
        QVERIFY(hintOf(denied)->isVisible());
        QCOMPARE(hintOf(denied)->text(), m_desktop->texts().chromeDeniedHint);
        QVERIFY(isOrange(hintOf(denied)->palette().color(hintOf(denied)->foregroundRole())));
        QVERIFY(!hintOf(row(QStringLiteral("automation-chrome")))->isVisible());
    }

    void aTargetThatIsNotRunningShowsTheGreyMinusAndNoHint() {
        openTab({});
        waitForCheck();
        QWidget* absent = row(QStringLiteral("automation-spotify"));
        QCOMPARE(statusOf(absent), QStringLiteral("Not running"));
        QCOMPARE(iconOf(absent)->symbolName(), QStringLiteral("minus.circle.fill"));
        QCOMPARE(iconOf(absent)->color(), Style::secondary(absent->palette()));
        QVERIFY(!hintOf(absent)->isVisible());
        QVERIFY(m_players->subjects(FakePlayers::Call::probe).isEmpty());
    }

    void aProbeUnderWaySpinsAndTheButtonWaits() {
        m_players->closeGate();
        openTab({spotify});
        QWidget* probing = row(QStringLiteral("automation-spotify"));
        QTRY_VERIFY(m_tab->checker().isChecking());
        QCOMPARE(statusOf(probing), QStringLiteral("Checking..."));
        QVERIFY(probing->findChild<Spinner*>(QStringLiteral("statusSpinner"))->isVisible());
        QVERIFY(!iconOf(probing)->isVisible());
        QVERIFY(!button("checkPermissionsButton")->isEnabled());
        QVERIFY(m_tab->findChild<Spinner*>(QStringLiteral("checkingSpinner"))->isVisible());
        // The window stays usable meanwhile: events are served while the probe hangs.
        bool served = false;
        QTimer::singleShot(0, this, [&served] { served = true; });
        QTRY_VERIFY(served);
        m_players->openGate();
        waitForCheck();
        QVERIFY(button("checkPermissionsButton")->isEnabled());
        QVERIFY(!m_tab->findChild<Spinner*>(QStringLiteral("checkingSpinner"))->isVisible());
        QVERIFY(!probing->findChild<Spinner*>(QStringLiteral("statusSpinner"))->isVisible());
    }

    void checkingTwiceWithinTheCacheLifetimeShowsTheCachedResults() {
        m_players->setProbeStatus(QStringLiteral("automation-spotify"), Status::granted);
        openTab({spotify});
        waitForCheck();
        QTest::mouseClick(button("checkPermissionsButton"), Qt::LeftButton);
        waitForCheck();
        QTest::mouseClick(button("checkPermissionsButton"), Qt::LeftButton);
        waitForCheck();
        QCOMPARE(m_players->subjects(FakePlayers::Call::probe).size(), 1);
        QCOMPARE(statusOf(row(QStringLiteral("automation-spotify"))), QStringLiteral("Granted"));
        // Once the results are old, the button probes again.
        m_now += PermissionChecker::cacheTTL + 1;
        QTest::mouseClick(button("checkPermissionsButton"), Qt::LeftButton);
        waitForCheck();
        QCOMPARE(m_players->subjects(FakePlayers::Call::probe).size(), 2);
    }

    void accessibilityIsReadAgainOnEachRefresh() {
        openTab({});
        waitForCheck();
        auto* status = m_tab->findChild<QWidget*>(QStringLiteral("accessibilityRow"))
                           ->findChild<QLabel*>(QStringLiteral("statusText"));
        QCOMPARE(status->text(), m_desktop->texts().accessibilityNotGranted);
        QVERIFY(isOrange(status->palette().color(status->foregroundRole())));
        QVERIFY(button("openAccessibilitySettingsButton")->isVisible());
        m_trusted = true;
        QTest::mouseClick(button("checkPermissionsButton"), Qt::LeftButton);
        QCOMPARE(status->text(), m_desktop->texts().accessibilityGranted);
        QVERIFY(isGreen(status->palette().color(status->foregroundRole())));
        // Trusted: the button to the settings is gone.
        QVERIFY(!button("openAccessibilitySettingsButton")->isVisible());
    }

    // Where hotkeys come by one of several means, the row names the one in use; without any,
    // it says they are not available whatever it was told.
    void theHotkeyRowNamesTheMeansInUse() {
        openTab({});
        waitForCheck();
        QWidget* accessibilityRow = m_tab->findChild<QWidget*>(QStringLiteral("accessibilityRow"));
        auto* status = accessibilityRow->findChild<QLabel*>(QStringLiteral("statusText"));
        m_tab->setAccessibilityGrantedText(QStringLiteral("Desktop portal"));
        QCOMPARE(status->text(), m_desktop->texts().accessibilityNotGranted);
        m_trusted = true;
        QTest::mouseClick(button("checkPermissionsButton"), Qt::LeftButton);
        QCOMPARE(status->text(), QStringLiteral("Desktop portal"));
        QVERIFY(accessibilityRow->findChild<QWidget*>(QStringLiteral("statusIcon"))
                    ->parentWidget()
                    ->accessibleName()
                    .endsWith(QStringLiteral(": Desktop portal")));
    }

    // A platform whose players are all reached one way: a row each, no section for browsers,
    // and the browsers' note under the players.
    void aListOfOneKindHasOneSection() {
        const QList<PermissionItem> items = PermissionItem::forApps(
            {MediaApp::spotify, MediaApp::firefox, MediaApp::otherPlayers},
            QStringLiteral("MPRIS over D-Bus"), MediaApp::BrowserNaming::bySite);
        openTab({MediaApp::firefox}, true, items);
        waitForCheck();
        QStringList ids;
        for (QWidget* each : m_tab->findChildren<QWidget*>(QStringLiteral("permissionRow"))) {
            ids << each->property("itemId").toString();
        }
        QCOMPARE(ids, (QStringList{QStringLiteral("automation-spotify"),
                                   QStringLiteral("automation-firefox"),
                                   QStringLiteral("automation-otherPlayers")}));
        QCOMPARE(statusOf(row(QStringLiteral("automation-firefox"))), QStringLiteral("Granted"));
        QCOMPARE(statusOf(row(QStringLiteral("automation-spotify"))),
                 QStringLiteral("Not running"));
        QCOMPARE(m_players->subjects(FakePlayers::Call::probe),
                 QStringList{QStringLiteral("automation-firefox")});
        QCOMPARE(m_tab->findChildren<FormSection*>().size(), 3); // hotkeys, players, buttons
        const auto notes = m_tab->findChildren<QLabel*>(QStringLiteral("footnote"));
        QCOMPARE(notes.size(), 1);
        QCOMPARE(notes[0]->text(), m_desktop->texts().chromeFootnote);
    }

    void theButtonsLeadToTheSystemsSettingsWhereThereAreSome() {
        openTab({});
        QTest::mouseClick(button("openSystemSettingsButton"), Qt::LeftButton);
        QTest::mouseClick(button("openAccessibilitySettingsButton"), Qt::LeftButton);
        QCOMPARE(m_desktop->calls(), (QStringList{QStringLiteral("openAutomation"),
                                                  QStringLiteral("openAccessibility")}));
        // A desktop without such settings shows neither button.
        m_desktop->setCanOpenSettings(false);
        openTab({});
        QVERIFY(!button("openSystemSettingsButton")->isVisible());
        QVERIFY(!button("openAccessibilitySettingsButton")->isVisible());
    }

    // Made in the light, then switched to dark: every text and symbol takes the colour it has
    // in a tab made in the dark.
    void theColoursFollowASwitchToDark() {
        const auto colors = [](const QWidget& tab) {
            QList<QColor> all;
            for (const QLabel* label : tab.findChildren<QLabel*>()) {
                all << label->palette().color(label->foregroundRole());
            }
            for (const SymbolView* symbol : tab.findChildren<SymbolView*>()) {
                all << symbol->color();
            }
            return all;
        };
        m_players->setProbeStatus(QStringLiteral("automation-spotify"), Status::granted);
        m_players->setProbeStatus(QStringLiteral("chrome-js"), Status::denied);
        QApplication::setPalette(Screenshots::lightPalette());
        openTab({spotify, chrome});
        waitForCheck();
        const std::unique_ptr<PermissionsSettingsTab> switched = std::move(m_tab);
        const QList<QColor> light = colors(*switched);
        QApplication::setPalette(Screenshots::darkPalette());
        openTab({spotify, chrome});
        waitForCheck();
        QVERIFY(colors(*m_tab) != light);
        // The application tells its windows on the next turn of the event loop.
        QTRY_COMPARE(colors(*switched), colors(*m_tab));
    }

    void screenshots_data() { Screenshots::addPaletteRows(); }
    void screenshots() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        const QString theme = Screenshots::usePalette(dark);
        const auto shoot = [&](const QString& what) {
            QApplication::processEvents();
            m_tab->resize(456, m_tab->heightForWidth(456));
            QApplication::processEvents();
            QVERIFY(!Screenshots::save(m_tab->grab(),
                                       QStringLiteral("permissions-tab-%1-%2").arg(what, theme))
                         .isEmpty());
        };
        m_players->setProbeStatus(QStringLiteral("automation-spotify"), Status::granted);
        m_players->setProbeStatus(QStringLiteral("automation-chrome"), Status::granted);
        m_players->setProbeStatus(QStringLiteral("chrome-js"), Status::denied);
        m_players->closeGate();
        openTab({spotify, chrome});
        QTRY_VERIFY(m_tab->checker().isChecking());
        shoot(QStringLiteral("checking"));
        m_players->openGate();
        waitForCheck();
        shoot(QStringLiteral("results"));
        m_trusted = true;
        m_tab->refresh();
        shoot(QStringLiteral("trusted"));
        // As on Linux: every player over MPRIS, one of them playing, named as Linux names them.
        m_players->setProbeStatus(QStringLiteral("automation-firefox"), Status::denied);
        openTab({spotify, MediaApp::firefox}, true,
                PermissionItem::forApps({MediaApp::spotify, MediaApp::chromiumYouTube,
                                         MediaApp::firefox, MediaApp::otherPlayers},
                                        QStringLiteral("MPRIS over D-Bus"),
                                        MediaApp::BrowserNaming::byBrowser));
        waitForCheck();
        QCOMPARE(row(QStringLiteral("automation-chromeYouTube"))
                     ->findChild<QLabel*>(QStringLiteral("rowTitle"))
                     ->text(),
                 QStringLiteral("Chrome"));
        // Under Wayland the hotkey row counts what the desktop bound: the longest it says.
        m_tab->setAccessibilityGrantedText(QStringLiteral("Desktop portal\n2 of 2 bound"));
        QVERIFY(m_tab->findChild<QWidget*>(QStringLiteral("accessibilityRow"))
                    ->findChild<QWidget*>(QStringLiteral("statusIcon"))
                    ->parentWidget()
                    ->accessibleName()
                    .endsWith(QStringLiteral(": Desktop portal, 2 of 2 bound")));
        shoot(QStringLiteral("one-kind"));
    }
};

QTEST_MAIN(TestPermissionsSettingsTab)
#include "tst_permissionssettingstab.moc"
