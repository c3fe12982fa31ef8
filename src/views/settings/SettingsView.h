#pragma once

#include <QList>
#include <QString>
#include <QWidget>

class QTabBar;
class QVBoxLayout;
class SettingsStore;

// The settings window: one tab per part of the settings, in a fixed order, reopening on the tab
// last chosen. Its width is fixed; its height follows the tab shown.
class SettingsView : public QWidget {
    Q_OBJECT

public:
    static constexpr int windowWidth = 480;
    static inline const QString lastTabKey = QStringLiteral("lastSettingsTab");
    // The window's object name, by which tools that look at the program's windows find it.
    static inline const QString identifier = QStringLiteral("settingsWindow");

    struct Tab {
        QString tag;
        QString label;
        QString symbol;
    };
    // Every tab the window can have, in the order shown.
    static const QList<Tab>& allTabs();

    explicit SettingsView(SettingsStore& defaults, QWidget* parent = nullptr);

    // Gives the tab its content; a tab without one is not shown. Pages may come in any order.
    void setPage(const QString& tag, QWidget* page);
    // The page of a tag, or null.
    QWidget* page(const QString& tag) const;

    // The tag of the tab shown.
    QString selectedTab() const;
    // Shows the tab and remembers it; an unknown tag or one without a page changes nothing.
    void selectTab(const QString& tag);
    // Shows the tab last chosen, or "general" when none that is shown was stored.
    void restoreSelectedTab();

    // The row of tabs; its index i is page(i)'s tab.
    QTabBar* tabBar() const { return m_tabBar; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void fitToPage();
    void refreshIcons();
    int indexOf(const QString& tag) const;

    SettingsStore& m_defaults;
    QTabBar* m_tabBar = nullptr;
    // The pages in the order of their tabs; only the current one is shown.
    QList<QWidget*> m_pages;
    QVBoxLayout* m_pageLayout = nullptr;
    bool m_restoring = false;
};
