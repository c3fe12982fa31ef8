#include "platform/IniSettings.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/Desktop.h"

#include <QProcess>
#include <QtTest>

namespace {

const QString binary = QStringLiteral(SCRUBLINE_BINARY);
const QString programClass = QStringLiteral("scrubline");
// The icon switch's row, from the settings window's top left on the General tab: below the tab
// bar, the second row of the first section.
constexpr QPoint iconSwitchRow{100, 127};
// The settings row sits this far above the panel's bottom edge: below it come "Quit", a divider
// and the version line.
constexpr int settingsRowFromBottom = 80;

// The settings window: the program's window as wide as the settings are.
QStringList settingsWindowIds() {
    QStringList ids;
    for (const auto& window : Desktop::visibleWindows(programClass)) {
        if (window.geometry.width() == 480) {
            ids << window.id;
        }
    }
    return ids;
}

std::optional<Desktop::Window> waitFor(const std::function<std::optional<Desktop::Window>()>& find,
                                       int timeoutMs = 10000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        if (auto window = find()) {
            return window;
        }
        QTest::qWait(50);
    }
    return std::nullopt;
}

std::optional<Desktop::Window> trayIcon() {
    for (const auto& window : Desktop::visibleWindows(programClass)) {
        if (window.geometry.width() <= 64 && window.geometry.height() <= 64) {
            return window;
        }
    }
    return std::nullopt;
}

std::optional<Desktop::Window> panel() {
    for (const auto& window : Desktop::visibleWindows(programClass)) {
        if (window.geometry.width() >= 200 && window.geometry.width() <= 282 &&
            window.geometry.height() > 100 && window.geometry.height() < 400) {
            return window;
        }
    }
    return std::nullopt;
}

} // namespace

// The real program with a tray: the settings window as a person reaches it.
class TestSettingsApp : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TrayHost> m_tray;
    std::unique_ptr<QProcess> m_app;

    void start() {
        m_tray = std::make_unique<TrayHost>();
        QVERIFY(m_tray->start());
        m_app = std::make_unique<QProcess>();
        m_app->start(binary, {});
        QVERIFY(m_app->waitForStarted());
        QVERIFY2(waitFor(trayIcon).has_value(), "the icon docks");
    }

    std::optional<Desktop::Window> openPanel() {
        const auto icon = trayIcon();
        if (!icon) {
            return std::nullopt;
        }
        Desktop::click(icon->geometry.center(), 1);
        return waitFor(panel);
    }

private slots:
    void initTestCase() {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs inside with-session");
        // Past the welcome content, so the panel shows its menu.
        const QString file =
            qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
        SettingsStore(openIniSettings(file))
            .setBool(QStringLiteral("hasCompletedOnboarding"), true);
    }

    void cleanup() {
        if (m_app) {
            m_app->terminate();
            QVERIFY(m_app->waitForFinished(10000));
        }
        m_app.reset();
        m_tray.reset();
    }

    void settingsInThePanelOpensOneWindow() {
        start();
        const auto opened = openPanel();
        QVERIFY2(opened.has_value(), "a click opens the panel");
        Desktop::click(
            {opened->geometry.center().x(), opened->geometry.bottom() - settingsRowFromBottom}, 1);
        QTRY_COMPARE_WITH_TIMEOUT(settingsWindowIds().size(), 1, 10000);
        const QString first = settingsWindowIds().first();
        // The panel closed as the window opened.
        QTRY_VERIFY_WITH_TIMEOUT(!panel().has_value(), 10000);

        // Again while it is open: the same window, raised, never a second one. Once the window
        // has settled, as a person's next click would: a click right after the panel closed is
        // taken as the one that closed it, and the window's own activation may still be on its
        // way, which closes a panel that opened before it.
        QTest::qWait(1000);
        const auto again = openPanel();
        QVERIFY2(again.has_value(), "the panel opens again");
        Desktop::click(
            {again->geometry.center().x(), again->geometry.bottom() - settingsRowFromBottom}, 1);
        QTRY_VERIFY_WITH_TIMEOUT(!panel().has_value(), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(
            Desktop::output(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus")})
                .trimmed(),
            first, 10000);
        // Raised and focused, the window the click asked for: and it is the only one.
        QCOMPARE(settingsWindowIds(), QStringList{first});
    }

    void ctrlCommaInThePanelOpensIt() {
        start();
        QVERIFY2(openPanel().has_value(), "a click opens the panel");
        QVERIFY(settingsWindowIds().isEmpty());
        Desktop::output(QStringLiteral("xdotool"),
                        {QStringLiteral("key"), QStringLiteral("ctrl+comma")});
        QTRY_COMPARE_WITH_TIMEOUT(settingsWindowIds().size(), 1, 10000);
    }

    void hidingTheIconInTheGeneralTabRemovesIt() {
        start();
        QVERIFY2(openPanel().has_value(), "a click opens the panel");
        Desktop::output(QStringLiteral("xdotool"),
                        {QStringLiteral("key"), QStringLiteral("ctrl+comma")});
        std::optional<Desktop::Window> settings;
        QTRY_VERIFY_WITH_TIMEOUT(
            [&settings] {
                for (const auto& window : Desktop::visibleWindows(programClass)) {
                    if (window.geometry.width() == 480) {
                        settings = window;
                    }
                }
                return settings.has_value();
            }(),
            10000);
        QTest::qWait(300);
        const int windowsBefore = int(Desktop::visibleWindows(programClass).size());
        Desktop::click(settings->geometry.topLeft() + iconSwitchRow, 1);
        // The confirmation opens, and the icon stays until it is confirmed.
        QTRY_COMPARE_WITH_TIMEOUT(int(Desktop::visibleWindows(programClass).size()),
                                  windowsBefore + 1, 10000);
        QVERIFY(trayIcon().has_value());
        // "Cancel" is the default; the other of the two buttons is "Hide Icon".
        Desktop::output(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Tab")});
        Desktop::output(QStringLiteral("xdotool"),
                        {QStringLiteral("key"), QStringLiteral("space")});
        QTRY_VERIFY_WITH_TIMEOUT(!trayIcon().has_value(), 10000);
        // Stored, so it stays hidden at the next start.
        const QString file =
            qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Scrubline/Scrubline.conf");
        QTRY_COMPARE_WITH_TIMEOUT(
            SettingsStore(openIniSettings(file)).boolValue(AppSettings::Keys::showMenuBarIcon),
            std::optional<bool>(false), 5000);
        QCOMPARE(m_app->state(), QProcess::Running);
    }
};

QTEST_GUILESS_MAIN(TestSettingsApp)
#include "tst_settingsapp.moc"
