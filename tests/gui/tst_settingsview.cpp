#include "settings/SettingsStore.h"
#include "support/OnDisk.h"
#include "support/TempHome.h"
#include "views/settings/SettingsView.h"

#include <QLabel>
#include <QSettings>
#include <QTabBar>

#include <QVBoxLayout>
#include <QtTest>

#include <memory>

namespace {

// A page of a given height, standing in for a tab's content.
QWidget* pageOfHeight(int height) {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    auto* label = new QLabel(QStringLiteral("content"), page);
    label->setFixedHeight(height);
    layout->addWidget(label);
    return page;
}

} // namespace

class TestSettingsView : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<SettingsStore> m_defaults;

    QString path() const { return m_home->path() + QStringLiteral("/settings.conf"); }

    std::unique_ptr<SettingsView> makeView(bool everyTab = true) {
        auto view = std::make_unique<SettingsView>(*m_defaults);
        if (everyTab) {
            // Given out of order: the window keeps its own order.
            for (const QString& tag :
                 {QStringLiteral("about"), QStringLiteral("general"), QStringLiteral("permissions"),
                  QStringLiteral("apps"), QStringLiteral("hotkeys")}) {
                view->setPage(tag, pageOfHeight(tag == QStringLiteral("apps") ? 400 : 60));
            }
        }
        return view;
    }

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_defaults = settingsStoreAt(path());
    }
    void cleanup() {
        m_defaults.reset();
        m_home.reset();
    }

    void theTabsComeInTheirOrderWithLabelsAndSymbols() {
        const auto view = makeView();
        QTabBar* tabs = view->tabBar();
        QCOMPARE(tabs->count(), 5);
        const QStringList labels{QStringLiteral("General"), QStringLiteral("Hotkeys"),
                                 QStringLiteral("Apps"), QStringLiteral("Permissions"),
                                 QStringLiteral("About")};
        for (int i = 0; i < tabs->count(); ++i) {
            QCOMPARE(tabs->tabText(i), labels[i]);
            QVERIFY(!tabs->tabIcon(i).isNull());
        }
        QCOMPARE(SettingsView::allTabs()[0].symbol, QStringLiteral("gearshape"));
        QCOMPARE(SettingsView::allTabs()[1].symbol, QStringLiteral("keyboard"));
        QCOMPARE(SettingsView::allTabs()[2].symbol, QStringLiteral("music.note.list"));
        QCOMPARE(SettingsView::allTabs()[3].symbol, QStringLiteral("lock.shield"));
        QCOMPARE(SettingsView::allTabs()[4].symbol, QStringLiteral("info.circle"));
        QCOMPARE(view->windowTitle(), QStringLiteral("Scrubline"));
        QCOMPARE(view->objectName(), QStringLiteral("settingsWindow"));
    }

    // Every tab shows whole in its bar, also when the pages came while the window was hidden.
    void everyTabIsShownWhole() {
        const auto view = makeView();
        view->restoreSelectedTab();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QTabBar* bar = view->tabBar();
        for (int i = 0; i < bar->count(); ++i) {
            QVERIFY2(bar->rect().contains(bar->tabRect(i)), qPrintable(bar->tabText(i)));
        }
    }

    void onlyTheTabsWithContentShow() {
        const auto view = makeView(false);
        view->setPage(QStringLiteral("apps"), pageOfHeight(40));
        view->setPage(QStringLiteral("general"), pageOfHeight(40));
        QCOMPARE(view->tabBar()->count(), 2);
        QCOMPARE(view->tabBar()->tabText(0), QStringLiteral("General"));
        QCOMPARE(view->tabBar()->tabText(1), QStringLiteral("Apps"));
    }

    void nothingStoredOpensOnGeneral() {
        const auto view = makeView();
        view->restoreSelectedTab();
        QCOMPARE(view->selectedTab(), QStringLiteral("general"));
        // Opening alone chooses nothing.
        QVERIFY(!m_defaults->stringValue(SettingsView::lastTabKey).has_value());
    }

    void aStoredAboutOpensOnAbout() {
        m_defaults->setString(SettingsView::lastTabKey, QStringLiteral("about"));
        const auto view = makeView();
        view->restoreSelectedTab();
        QCOMPARE(view->selectedTab(), QStringLiteral("about"));
        QCOMPARE(view->tabBar()->currentIndex(), 4);
    }

    void anUnknownOrAbsentTabOpensOnGeneral() {
        m_defaults->setString(SettingsView::lastTabKey, QStringLiteral("nonsense"));
        auto view = makeView();
        view->restoreSelectedTab();
        QCOMPARE(view->selectedTab(), QStringLiteral("general"));
        // A tab that exists but has no page in this window.
        m_defaults->setString(SettingsView::lastTabKey, QStringLiteral("hotkeys"));
        view = makeView(false);
        view->setPage(QStringLiteral("general"), pageOfHeight(40));
        view->restoreSelectedTab();
        QCOMPARE(view->selectedTab(), QStringLiteral("general"));
    }

    void choosingATabStoresIt() {
        const auto view = makeView();
        view->restoreSelectedTab();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QTabBar* bar = view->tabBar();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(3).center());
        QCOMPARE(view->selectedTab(), QStringLiteral("permissions"));
        QCOMPARE(m_defaults->stringValue(SettingsView::lastTabKey),
                 std::optional<QString>(QStringLiteral("permissions")));
        // On disk, as a string a person can read.
        QSettings file(path(), QSettings::IniFormat);
        QCOMPARE(file.value(SettingsView::lastTabKey).toString(), QStringLiteral("permissions"));
    }

    void theWidthIsFixedAndTheHeightFollowsTheTab() {
        const auto view = makeView();
        view->restoreSelectedTab();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QCOMPARE(view->width(), SettingsView::windowWidth);
        const int shortHeight = view->height();
        view->selectTab(QStringLiteral("apps"));
        QTRY_VERIFY(view->height() >= shortHeight + 300);
        QCOMPARE(view->width(), SettingsView::windowWidth);
        view->selectTab(QStringLiteral("about"));
        QTRY_COMPARE(view->height(), shortHeight);
    }

    void everyControlHasAName() {
        const auto view = makeView();
        QVERIFY(!view->accessibleName().isEmpty());
        QVERIFY(!view->tabBar()->accessibleName().isEmpty());
    }
};

QTEST_MAIN(TestSettingsView)
#include "tst_settingsview.moc"
