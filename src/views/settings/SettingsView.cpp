#include "views/settings/SettingsView.h"

#include "settings/SettingsStore.h"
#include "views/widgets/PaletteFollower.h"
#include "views/widgets/Style.h"
#include "views/widgets/Symbols.h"

#include <QTabBar>
#include <QVBoxLayout>

const QList<SettingsView::Tab>& SettingsView::allTabs() {
    static const QList<Tab> tabs{
        {QStringLiteral("general"), QStringLiteral("General"), QStringLiteral("gearshape")},
        {QStringLiteral("hotkeys"), QStringLiteral("Hotkeys"), QStringLiteral("keyboard")},
        {QStringLiteral("apps"), QStringLiteral("Apps"), QStringLiteral("music.note.list")},
        {QStringLiteral("permissions"), QStringLiteral("Permissions"),
         QStringLiteral("lock.shield")},
        {QStringLiteral("about"), QStringLiteral("About"), QStringLiteral("info.circle")},
    };
    return tabs;
}

SettingsView::SettingsView(SettingsStore& defaults, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_defaults(defaults) {
    setObjectName(identifier);
    setWindowTitle(QStringLiteral("Scrubline"));
    setAccessibleName(QStringLiteral("Scrubline Settings"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 8, 0, 0);
    layout->setSpacing(0);
    m_tabBar = new QTabBar(this);
    m_tabBar->setObjectName(QStringLiteral("settingsTabs"));
    m_tabBar->setAccessibleName(QStringLiteral("Settings sections"));
    m_tabBar->setDocumentMode(true);
    m_tabBar->setExpanding(false);
    // Five short labels always fit the window; scroll arrows would hide all but one.
    m_tabBar->setUsesScrollButtons(false);
    m_tabBar->setDrawBase(true);
    m_tabBar->setIconSize(QSize(16, 16));
    layout->addWidget(m_tabBar, 0, Qt::AlignHCenter);

    // Hidden pages take no room, so the window is as tall as the shown one needs.
    m_pageLayout = new QVBoxLayout;
    m_pageLayout->setContentsMargins(12, 12, 12, 12);
    layout->addLayout(m_pageLayout);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    new PaletteFollower(*this, [this] { refreshIcons(); });

    connect(m_tabBar, &QTabBar::currentChanged, this, [this] {
        fitToPage();
        if (!m_restoring) {
            m_defaults.setString(lastTabKey, selectedTab());
        }
    });
}

void SettingsView::setPage(const QString& tag, QWidget* page) {
    qsizetype order = -1;
    for (qsizetype i = 0; i < allTabs().size(); ++i) {
        if (allTabs()[i].tag == tag) {
            order = i;
        }
    }
    if (order < 0 || page == nullptr || indexOf(tag) >= 0) {
        qFatal("SettingsView: no tab is tagged \"%s\", or it has a page already", qPrintable(tag));
    }
    // In the written order, whichever tab came first.
    int at = 0;
    for (qsizetype i = 0; i < order; ++i) {
        if (indexOf(allTabs()[i].tag) >= 0) {
            ++at;
        }
    }
    const Tab& tab = allTabs()[order];
    page->setParent(this);
    page->setObjectName(tag + QStringLiteral("Tab"));
    page->setProperty("tag", tag);
    page->setFixedWidth(windowWidth - 24);
    page->hide();
    m_pages.insert(at, page);
    m_pageLayout->addWidget(page);
    m_restoring = true; // the first tab becomes current by itself
    m_tabBar->insertTab(
        at, Symbols::icon(tab.symbol, Style::primary(palette()), Symbols::providedFor(this)),
        tab.label);
    m_restoring = false;
    fitToPage();
}

QWidget* SettingsView::page(const QString& tag) const {
    const int index = indexOf(tag);
    return index >= 0 ? m_pages[index] : nullptr;
}

QString SettingsView::selectedTab() const {
    const int index = m_tabBar->currentIndex();
    return index >= 0 && index < m_pages.size() ? m_pages[index]->property("tag").toString()
                                                : QString();
}

void SettingsView::selectTab(const QString& tag) {
    const int index = indexOf(tag);
    if (index >= 0) {
        m_tabBar->setCurrentIndex(index);
    }
}

void SettingsView::restoreSelectedTab() {
    const QString stored = m_defaults.stringValue(lastTabKey).value_or(QString());
    const int index = indexOf(stored);
    m_restoring = true;
    m_tabBar->setCurrentIndex(index >= 0 ? index : std::max(indexOf(QStringLiteral("general")), 0));
    m_restoring = false;
    fitToPage();
}

void SettingsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    fitToPage();
}

void SettingsView::fitToPage() {
    const int current = m_tabBar->currentIndex();
    for (int i = 0; i < m_pages.size(); ++i) {
        m_pages[i]->setVisible(i == current);
    }
    // A hidden tab bar does not tell its layout that it grew.
    m_tabBar->updateGeometry();
    // The fixed-size layout sets the width from the pages and the height from the shown one.
    layout()->activate();
}

void SettingsView::refreshIcons() {
    for (int i = 0; i < m_pages.size(); ++i) {
        const QString tag = m_pages[i]->property("tag").toString();
        for (const Tab& tab : allTabs()) {
            if (tab.tag == tag) {
                m_tabBar->setTabIcon(i, Symbols::icon(tab.symbol, Style::primary(palette()),
                                                      Symbols::providedFor(this)));
            }
        }
    }
}

int SettingsView::indexOf(const QString& tag) const {
    for (int i = 0; i < m_pages.size(); ++i) {
        if (m_pages[i]->property("tag").toString() == tag) {
            return i;
        }
    }
    return -1;
}
