// The Hotkeys tab in the whole program, as a person uses it: the program is built here exactly
// as it starts, its tray icon docks in a real tray, and every click and key goes through the
// test's X server by xdotool. The player is Chromium on the private bus. Once with a US and
// once with a German keyboard layout, so that what is recorded is what the grab then catches.
#include "app/ScrublineApp.h"
#include "platform/linux/MprisClient.h"
#include "support/BrowserPage.h"
#include "support/Desktop.h"
#include "support/OtherXClient.h"
#include "views/settings/ActionEditor.h"
#include "views/settings/ActionRowContainer.h"
#include "views/settings/ActionRowHeader.h"
#include "views/settings/HotkeyRecorder.h"
#include "views/settings/HotkeysSettingsTab.h"
#include "views/settings/SettingsView.h"
#include "views/tray/TrayPanelWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QLabel>
#include <QTabBar>
#include <QToolButton>
#include <QtTest>

#include <X11/keysym.h>
#include <xcb/xcb.h>

namespace {

const QString mprisPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
constexpr std::uint32_t hyper =
    CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;
// Where xdotool's ctrl, alt and super land on the test server.
constexpr std::uint16_t hyperBits = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
// The stored codes of the keys this test records.
constexpr std::uint16_t pageUpCode = 116;
constexpr std::uint16_t zCode = 6;
constexpr double seekTolerance = 0.5;

QDBusConnection bus() {
    return QDBusConnection::sessionBus();
}

QString settingsFile() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
}

bool runTool(const QString& program, const QStringList& arguments) {
    QProcess tool;
    tool.start(program, arguments);
    return tool.waitForFinished(10000) && tool.exitStatus() == QProcess::NormalExit &&
           tool.exitCode() == 0;
}

bool press(const QString& keys) {
    return runTool(QStringLiteral("xdotool"), {QStringLiteral("key"), keys});
}

// Another program on the display, with grabs of its own, for the combinations the program uses.
class OtherClient : public OtherXClient {
public:
    bool grab(xcb_keysym_t symbol) { return OtherXClient::grab(symbol, hyperBits); }
    void release(xcb_keysym_t symbol) { OtherXClient::release(symbol, hyperBits); }
    // Whether the program holds ctrl+alt+super and the key.
    bool heldByProgram(xcb_keysym_t symbol) { return heldElsewhere(symbol, hyperBits); }
};

template <class Widget>
Widget* findVisible(const QString& objectName = QString()) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible()) {
            continue;
        }
        if (auto* found = qobject_cast<Widget*>(window);
            found != nullptr && (objectName.isEmpty() || found->objectName() == objectName)) {
            return found;
        }
        for (Widget* found : window->findChildren<Widget*>(objectName)) {
            if (found->isVisible()) {
                return found;
            }
        }
    }
    return nullptr;
}

// Clicks the middle of a widget on the screen, as a person would.
void clickOn(const QWidget* widget) {
    Desktop::click(widget->mapToGlobal(widget->rect().center()), 1);
}

} // namespace

class TestHotkeysApp : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<BrowserPage> m_page;
    std::unique_ptr<TrayHost> m_tray;
    std::unique_ptr<ScrublineApp> m_app;
    int m_seeked = 0;

    double position() {
        const auto state = MprisClient::readState(PlayerBus::session(), m_page->busName(), 3000);
        return state && state->positionUs ? static_cast<double>(*state->positionUs) / 1e6 : -1;
    }

    // Moves the video back near its start without the program. By position: the page takes a
    // relative seek as its own fixed skip.
    void rewind() {
        const int before = m_seeked;
        QDBusMessage seek = QDBusMessage::createMethodCall(
            m_page->busName(), mprisPath, playerInterface, QStringLiteral("SetPosition"));
        seek << QVariant::fromValue(QDBusObjectPath(QStringLiteral("/"))) << qlonglong(0);
        QVERIFY(bus().call(seek, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage);
        QTRY_VERIFY_WITH_TIMEOUT(m_seeked > before, 20000);
        QTRY_VERIFY_WITH_TIMEOUT(position() >= 0 && position() < 5, 10000);
        // The player may announce a seek to the very start more than once.
        QTest::qWait(500);
    }

    // Presses the keys and answers how far the video moved, measured against the time taken.
    void expectMove(const QString& keys, double seconds) {
        rewind();
        const double start = position();
        const int before = m_seeked;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(press(keys));
        QTRY_VERIFY_WITH_TIMEOUT(m_seeked > before, 20000);
        const double after = position();
        const double drift = static_cast<double>(clock.elapsed()) / 1000.0;
        QVERIFY2(after >= start + seconds - seekTolerance &&
                     after <= start + seconds + seekTolerance + drift,
                 qPrintable(QStringLiteral("%1 -> %2").arg(start).arg(after)));
    }

    HotkeysSettingsTab* openHotkeysTab() {
        HotkeysSettingsTab* tab = nullptr;
        [&] {
            if (findVisible<SettingsView>() == nullptr) {
                QTRY_VERIFY_WITH_TIMEOUT(!trayIconGeometry().isEmpty(), 10000);
                // A click that comes while the tray is still embedding the icon goes nowhere.
                for (int attempt = 0; attempt < 5 && findVisible<TrayPanelWindow>() == nullptr;
                     ++attempt) {
                    Desktop::click(trayIconGeometry().center(), 1);
                    static_cast<void>(QTest::qWaitFor(
                        [] { return findVisible<TrayPanelWindow>() != nullptr; }, 2000));
                }
                // The panel takes the keyboard as it opens; Ctrl+, there opens the settings.
                QVERIFY(findVisible<TrayPanelWindow>() != nullptr);
                QTest::qWait(300);
                QVERIFY(press(QStringLiteral("ctrl+comma")));
                QTRY_VERIFY_WITH_TIMEOUT(findVisible<SettingsView>() != nullptr, 10000);
            }
            auto* view = findVisible<SettingsView>();
            QTabBar* bar = view->tabBar();
            int index = -1;
            for (int i = 0; i < bar->count(); ++i) {
                index = bar->tabText(i) == QStringLiteral("Hotkeys") ? i : index;
            }
            QVERIFY(index >= 0);
            QTest::qWait(300);
            Desktop::click(bar->mapToGlobal(bar->tabRect(index).center()), 1);
            QTRY_VERIFY_WITH_TIMEOUT((tab = findVisible<HotkeysSettingsTab>()) != nullptr, 10000);
        }();
        return tab;
    }

    // Where the tray shows the program's icon, found among the tray's docked windows.
    static QRect trayIconGeometry() {
        for (const auto& window : Desktop::visibleWindows(QStringLiteral("scrubline"))) {
            if (window.geometry.width() <= 64 && window.geometry.height() <= 64) {
                return window.geometry;
            }
        }
        return {};
    }

    static ActionRowContainer* openRow(HotkeysSettingsTab* tab) {
        for (ActionRowContainer* row : tab->rows()) {
            if (row->isExpanded()) {
                return row;
            }
        }
        return nullptr;
    }

    // Clicks the open row's recorder, presses the keys, and checks what it kept.
    void record(HotkeysSettingsTab* tab, const QString& keys, std::uint16_t keyCode,
                OtherClient& other, xcb_keysym_t grabbedBefore) {
        ActionRowContainer* row = openRow(tab);
        QVERIFY(row != nullptr && row->editor() != nullptr);
        HotkeyRecorder* recorder = row->editor()->recorder();
        QSignalSpy changed(tab, &HotkeysSettingsTab::recordingChanged);
        clickOn(recorder);
        QTRY_VERIFY_WITH_TIMEOUT(recorder->isRecording(), 10000);
        // While it records, the program's own grabs are let go, so the keys reach it.
        QTRY_VERIFY_WITH_TIMEOUT(!other.heldByProgram(grabbedBefore), 10000);
        QVERIFY(press(keys));
        QTRY_VERIFY_WITH_TIMEOUT(!recorder->isRecording(), 10000);
        QCOMPARE(recorder->keyCode(), keyCode);
        QCOMPARE(recorder->carbonModifiers(), hyper);
        QCOMPARE(changed.size(), 2);
    }

private slots:
    void initTestCase() {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs inside with-session");
        QApplication::setApplicationName(QStringLiteral("Scrubline"));
        QApplication::setOrganizationDomain(QStringLiteral("scrubline.com"));
        QApplication::setQuitOnLastWindowClosed(false);
        m_page = std::make_unique<BrowserPage>();
        QString problem;
        QVERIFY2(m_page->start(&problem), qPrintable(problem));
        QVERIFY2(m_page->waitUntilPlaying(), "Chromium published no playing player");
        bus().connect(m_page->busName(), mprisPath, playerInterface, QStringLiteral("Seeked"), this,
                      SLOT(onSeeked()));
    }

    void cleanup() {
        if (auto* view = findVisible<SettingsView>()) {
            view->window()->close();
        }
        m_app.reset();
        m_tray.reset();
        QVERIFY(runTool(QStringLiteral("setxkbmap"), {QStringLiteral("us")}));
    }

    void cleanupTestCase() { m_page.reset(); }

    void recordedCombinationsAreCaughtByTheirGrab_data() {
        QTest::addColumn<QString>("layout");
        QTest::newRow("us") << QStringLiteral("us");
        QTest::newRow("de") << QStringLiteral("de");
    }

    void recordedCombinationsAreCaughtByTheirGrab() {
        QFETCH(QString, layout);
        QVERIFY(runTool(QStringLiteral("setxkbmap"), {layout}));
        QFile::remove(settingsFile());
        // Past the welcome content, with the two preset actions.
        {
            QSettings file(settingsFile(), QSettings::IniFormat);
            file.setValue(QStringLiteral("hasCompletedOnboarding"), true);
        }
        m_tray = std::make_unique<TrayHost>();
        QVERIFY(m_tray->start());
        m_app = std::make_unique<ScrublineApp>();
        OtherClient other;
        QTRY_VERIFY_WITH_TIMEOUT(other.heldByProgram(XK_Right), 20000);
        QVERIFY(other.heldByProgram(XK_Left));

        // A new forward 30 s action on Ctrl+Alt+Super+Page Up, all in the settings window.
        HotkeysSettingsTab* tab = openHotkeysTab();
        QVERIFY(tab != nullptr);
        QCOMPARE(tab->rows().size(), 2);
        clickOn(tab->findChild<QToolButton*>(QStringLiteral("addActionButton")));
        QTRY_COMPARE_WITH_TIMEOUT(tab->rows().size(), 3, 10000);
        ActionRowContainer* added = openRow(tab);
        QVERIFY(added == tab->rows().last());
        auto* seconds = added->editor()->findChild<QComboBox*>(QStringLiteral("secondsPicker"));
        clickOn(seconds);
        QTest::qWait(500);
        QVERIFY(runTool(QStringLiteral("xdotool"), {QStringLiteral("type"), QStringLiteral("30")}));
        QVERIFY(press(QStringLiteral("Return")));
        QTRY_COMPARE_WITH_TIMEOUT(added->editor()->pickerSelection(), 30.0, 10000);
        record(tab, QStringLiteral("ctrl+alt+super+Prior"), pageUpCode, other, XK_Right);
        if (QTest::currentTestFailed()) {
            return;
        }
        // The store's debounced save registers it, with the others back as they were.
        QTRY_VERIFY_WITH_TIMEOUT(other.heldByProgram(XK_Prior), 10000);
        QVERIFY(other.heldByProgram(XK_Right));
        QCOMPARE(added->standing(), ActionRowContainer::Standing::active);
        // Written as this desktop writes combinations.
        QCOMPARE(added->header()->hotkeyLabel()->text(), QStringLiteral("Ctrl+Alt+Super+PgUp"));

        // Closed, the window is out of the way; the combination seeks the player 30 s on.
        tab->window()->close();
        expectMove(QStringLiteral("ctrl+alt+super+Prior"), 30);
        if (QTest::currentTestFailed()) {
            return;
        }

        // The first action is re-recorded with the combination the new action holds: it is
        // recorded, and the player does not move. Meanwhile another program takes the second
        // action's combination, which the program let go of while recording.
        tab = openHotkeysTab();
        QVERIFY(tab != nullptr);
        ActionRowContainer* first = tab->rows().first();
        ActionRowContainer* second = tab->rows().at(1);
        clickOn(first->header());
        QTRY_VERIFY_WITH_TIMEOUT(first->isExpanded(), 10000);
        QTest::qWait(300);
        ActionRowContainer* open = openRow(tab);
        QCOMPARE(open, first);
        HotkeyRecorder* recorder = first->editor()->recorder();
        clickOn(recorder);
        QTRY_VERIFY_WITH_TIMEOUT(recorder->isRecording(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(!other.heldByProgram(XK_Left), 10000);
        QVERIFY(other.grab(XK_Left));
        const int seekedBefore = m_seeked;
        QVERIFY(press(QStringLiteral("ctrl+alt+super+Prior")));
        QTRY_VERIFY_WITH_TIMEOUT(!recorder->isRecording(), 10000);
        QCOMPARE(recorder->keyCode(), pageUpCode);
        QCOMPARE(recorder->carbonModifiers(), hyper);
        // Two actions on one combination are marked.
        QTRY_VERIFY_WITH_TIMEOUT(first->hasConflict(), 10000);
        // The other program's combination is marked in its row, and said to screen readers.
        QTRY_COMPARE_WITH_TIMEOUT(second->standing(), ActionRowContainer::Standing::unavailable,
                                  10000);
        QVERIFY2(second->header()->accessibleName().contains(
                     QStringLiteral("In use by another program")),
                 qPrintable(second->header()->accessibleName()));
        QCOMPARE(first->standing(), ActionRowContainer::Standing::active);
        QTest::qWait(1000);
        QCOMPARE(m_seeked, seekedBefore);

        // A letter, which the two layouts put on different keys: recorded as the letter, and
        // caught on the key that types it.
        record(tab, QStringLiteral("ctrl+alt+super+z"), zCode, other, XK_Prior);
        if (QTest::currentTestFailed()) {
            return;
        }
        QTRY_VERIFY_WITH_TIMEOUT(other.heldByProgram(XK_z), 10000);
        QVERIFY(!first->hasConflict());
        tab->window()->close();
        expectMove(QStringLiteral("ctrl+alt+super+z"), 10);
        other.release(XK_Left);
    }

public slots:
    void onSeeked() { ++m_seeked; }
};

QTEST_MAIN(TestHotkeysApp)
#include "tst_hotkeysapp.moc"
