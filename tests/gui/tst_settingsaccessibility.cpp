#include "core/PermissionChecker.h"
#include "core/WebAddresses.h"
#include "platform/Platform.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/OnDisk.h"
#include "support/ReferenceApps.h"
#include "support/Screenshots.h"
#include "support/TempHome.h"
#include "views/settings/AboutSettingsTab.h"
#include "views/settings/ActionRowContainer.h"
#include "views/settings/ActionRowHeader.h"
#include "views/settings/AppsSettingsTab.h"
#include "views/settings/GeneralSettingsTab.h"
#include "views/settings/HotkeysSettingsTab.h"
#include "views/settings/PermissionsSettingsTab.h"
#include "views/settings/SettingsView.h"

#include <QAccessible>
#include <QApplication>
#include <QPushButton>
#include <QSettings>
#include <QTabBar>
#include <QtTest>

#include <memory>

namespace {

// The roles a person operates, which a screen reader must be able to name.
bool isControl(QAccessible::Role role) {
    switch (role) {
    case QAccessible::PushButton:
    case QAccessible::CheckBox:
    case QAccessible::RadioButton:
    case QAccessible::ButtonMenu:
    case QAccessible::ComboBox:
    case QAccessible::EditableText:
    case QAccessible::SpinBox:
    case QAccessible::Slider:
    case QAccessible::PageTab:
    case QAccessible::Link:
        return true;
    default:
        return false;
    }
}

// Walks the tree a screen reader sees and lists every control without a name.
void collectUnnamed(QAccessibleInterface* node, const QString& path, QStringList& unnamed) {
    if (node == nullptr || node->state().invisible) {
        return;
    }
    const QString name = node->text(QAccessible::Name);
    const QString here =
        path + QStringLiteral("/") + QString::number(node->role()) + QStringLiteral(":") + name;
    if (isControl(node->role()) && name.trimmed().isEmpty()) {
        unnamed << here;
    }
    for (int i = 0; i < node->childCount(); ++i) {
        collectUnnamed(node->child(i), here, unnamed);
    }
}

} // namespace

class TestSettingsAccessibility : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<DesktopIntegration> m_desktop;

    std::unique_ptr<SettingsView> makeWindow() {
        // As the application shell makes it.
        auto view = std::make_unique<SettingsView>(m_settings->defaults());
        view->setPage(QStringLiteral("general"),
                      new GeneralSettingsTab(*m_settings, m_desktop->texts()));
        auto* hotkeys = new HotkeysSettingsTab(*m_settings, KeyTable::ModifierStyle::glyphs);
        view->setPage(QStringLiteral("hotkeys"), hotkeys);
        view->setPage(QStringLiteral("apps"),
                      new AppsSettingsTab(*m_settings, MediaApp::BrowserNaming::bySite));
        view->setPage(QStringLiteral("permissions"),
                      new PermissionsSettingsTab(
                          std::make_unique<PermissionChecker>(Platform::createPlayerControl(),
                                                              Platform::createRunningApps(),
                                                              &Platform::accessibilityTrusted),
                          *m_desktop));
        view->setPage(
            QStringLiteral("about"),
            new AboutSettingsTab({QStringLiteral("1.2.3"), QStringLiteral("4"),
                                  m_desktop->systemDescription(),
                                  WebAddresses(QUrl(QStringLiteral("https://scrubline.example"))),
                                  QStringLiteral("The Scrubline developers")}));
        view->restoreSelectedTab();
        // One row open, so that its editor's controls are walked too.
        if (!hotkeys->rows().isEmpty()) {
            hotkeys->rows().first()->header()->click();
        }
        return view;
    }

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_settings =
            appSettingsAt(m_home->path() + QStringLiteral("/settings.conf"), referenceApps());
        m_desktop = Platform::createDesktopIntegration();
    }
    void cleanup() {
        m_settings.reset();
        m_home.reset();
    }

    void everyControlOfEveryTabHasAName() {
        const auto window = makeWindow();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        for (int i = 0; i < window->tabBar()->count(); ++i) {
            window->tabBar()->setCurrentIndex(i);
            QStringList unnamed;
            collectUnnamed(QAccessible::queryAccessibleInterface(window.get()), QString(), unnamed);
            QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join(QLatin1Char('\n'))));
        }
    }

    // The walk finds what it is looking for: a nameless button is caught.
    void aNamelessControlIsFound() {
        const auto window = makeWindow();
        auto* nameless = new QPushButton(window->page(QStringLiteral("general")));
        nameless->show();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        QStringList unnamed;
        collectUnnamed(QAccessible::queryAccessibleInterface(window.get()), QString(), unnamed);
        QCOMPARE(unnamed.size(), 1);
    }

    void screenshots_data() { Screenshots::addPaletteRows(); }

    // The whole window on each tab, as a person sees it.
    void screenshots() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        Screenshots::usePalette(dark);
        const auto window = makeWindow();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        for (int i = 0; i < window->tabBar()->count(); ++i) {
            window->tabBar()->setCurrentIndex(i);
            QTest::qWait(100);
            const QString tag = window->selectedTab();
            QVERIFY(!Screenshots::save(
                         window->grab(),
                         QStringLiteral("settings-window-%1-%2")
                             .arg(tag, dark ? QStringLiteral("dark") : QStringLiteral("light")))
                         .isEmpty());
        }
    }
};

QTEST_MAIN(TestSettingsAccessibility)
#include "tst_settingsaccessibility.moc"
