#include "settings/AppSettings.h"
#include "support/OnDisk.h"
#include "support/RecordingLoginItem.h"
#include "support/ReferenceApps.h"
#include "support/Screenshots.h"
#include "support/TempHome.h"
#include "views/settings/AppsSettingsTab.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolButton.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

QList<MediaApp> apps(std::initializer_list<MediaApp> list) {
    return QList<MediaApp>(list);
}

const QList<MediaApp> linuxApps{MediaApp::spotify, MediaApp::chromiumYouTube, MediaApp::firefox,
                                MediaApp::otherPlayers};

const QList<MediaApp> defaultOrder = apps(
    {MediaApp::spotify, MediaApp::appleMusic, MediaApp::chromiumYouTube, MediaApp::safariYouTube});

// One row as a person reads it, and its controls.
struct ShownRow {
    QWidget* row = nullptr;
    SymbolButton* up = nullptr;
    SymbolButton* down = nullptr;
    QCheckBox* enabled = nullptr;
    QString text; // "1. Spotify"
    QString symbol;
};

// The rows of `tab` from top to bottom.
QList<ShownRow> shownRows(AppsSettingsTab& tab) {
    tab.layout()->activate();
    QList<QWidget*> widgets = tab.findChildren<QWidget*>(QStringLiteral("appRow"));
    std::sort(widgets.begin(), widgets.end(), [&tab](const QWidget* a, const QWidget* b) {
        return a->mapTo(&tab, QPoint()).y() < b->mapTo(&tab, QPoint()).y();
    });
    QList<ShownRow> rows;
    for (QWidget* widget : widgets) {
        if (!widget->isVisibleTo(&tab)) {
            continue;
        }
        ShownRow row;
        row.row = widget;
        row.up = widget->findChild<SymbolButton*>(QStringLiteral("moveUpButton"));
        row.down = widget->findChild<SymbolButton*>(QStringLiteral("moveDownButton"));
        row.enabled = widget->findChild<QCheckBox*>(QStringLiteral("enableSwitch"));
        row.text = widget->findChild<QLabel*>(QStringLiteral("positionLabel"))->text() +
                   QLatin1Char(' ') + widget->findChild<QLabel*>(QStringLiteral("appName"))->text();
        row.symbol = widget->findChild<QWidget*>(QStringLiteral("appSymbol"))
                         ->property("symbolName")
                         .toString();
        rows.append(row);
    }
    return rows;
}

QStringList rowTexts(AppsSettingsTab& tab) {
    QStringList texts;
    for (const ShownRow& row : shownRows(tab)) {
        texts.append(row.text);
    }
    return texts;
}

QList<bool> switches(AppsSettingsTab& tab) {
    QList<bool> on;
    for (const ShownRow& row : shownRows(tab)) {
        on.append(row.enabled->isChecked());
    }
    return on;
}

// How far the most strongly drawn pixel of `button` stands out from the window's ground.
int inkContrast(SymbolButton& button) {
    const QImage image = button.grab().toImage();
    const int ground = button.palette().color(QPalette::Window).lightness();
    int contrast = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            contrast = qMax(contrast, qAbs(QColor(image.pixel(x, y)).lightness() - ground));
        }
    }
    return contrast;
}

QColor inkColor(const SymbolButton& button) {
    return button.property("color").value<QColor>();
}

void click(QAbstractButton* button) {
    QVERIFY(button != nullptr);
    QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
}

// Every element under `interface` that can take the keyboard focus.
void collectFocusable(QAccessibleInterface* interface, QList<QAccessibleInterface*>& found) {
    if (interface == nullptr) {
        return;
    }
    if (interface->state().focusable) {
        found.append(interface);
    }
    for (int index = 0; index < interface->childCount(); ++index) {
        collectFocusable(interface->child(index), found);
    }
}

} // namespace

class TestAppsSettingsTab : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    QString m_path;
    std::unique_ptr<AppSettings> m_settings;

    std::unique_ptr<AppSettings> openStore(const QString& path) const {
        // A reset turns launch at login off; let it reach a login item of the test's.
        return appSettingsAt(
            path, referenceApps(),
            std::make_unique<RecordingLoginItem>(std::make_shared<RecordingLoginItem::Record>()));
    }

    void store(const QString& key, const QByteArray& json) const {
        QSettings file(m_path, QSettings::IniFormat);
        file.setValue(key, json);
        file.sync();
    }

    QByteArray onDisk(const QString& key) const {
        return settingsOnDisk(m_path)->value(key).toByteArray();
    }

    std::unique_ptr<AppsSettingsTab>
    openTab(MediaApp::BrowserNaming naming = MediaApp::BrowserNaming::bySite) {
        auto tab = std::make_unique<AppsSettingsTab>(*m_settings, naming);
        tab->show();
        if (!QTest::qWaitForWindowExposed(tab.get())) {
            qWarning("the tab was not exposed");
        }
        return tab;
    }

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_path = m_home->configPath() + QStringLiteral("/Scrubline/Scrubline.conf");
    }

    void cleanup() {
        m_settings.reset();
        m_home.reset();
        QApplication::setPalette(QPalette());
    }

    // Where the platform offers other apps (Linux), those are the rows, with their own names,
    // symbols and tints; apps a Mac's file named stay in the list, unshown and in place.
    void onlyTheOfferedAppsAreShownAndMoved() {
        // Named as Linux names them: the Chrome app is any page in any Chromium-based browser.
        m_settings = appSettingsAt(m_path, linuxApps);
        m_settings->setEnabledApps(
            apps({MediaApp::appleMusic, MediaApp::spotify, MediaApp::safariYouTube,
                  MediaApp::chromiumYouTube, MediaApp::firefox, MediaApp::otherPlayers}));
        const auto tab = openTab(MediaApp::BrowserNaming::byBrowser);
        QCOMPARE(rowTexts(*tab),
                 QStringList({"1. Spotify", "2. Chrome", "3. Firefox", "4. Other players"}));
        QCOMPARE(shownRows(*tab)[1].row->accessibleName(), QStringLiteral("Chrome, priority 2"));
        const QList<ShownRow> rows = shownRows(*tab);
        QCOMPARE(rows[2].symbol, QStringLiteral("globe"));
        QCOMPARE(rows[3].symbol, QStringLiteral("music.note.list"));
        click(rows[0].down);
        QCOMPARE(m_settings->enabledApps(),
                 apps({MediaApp::appleMusic, MediaApp::chromiumYouTube, MediaApp::safariYouTube,
                       MediaApp::spotify, MediaApp::firefox, MediaApp::otherPlayers}));
        click(shownRows(*tab)[3].enabled);
        QCOMPARE(m_settings->disabledApps(), MediaAppSet{MediaApp::otherPlayers});
        QCOMPARE(m_settings->activeApps(),
                 apps({MediaApp::chromiumYouTube, MediaApp::spotify, MediaApp::firefox}));
    }

    void theDefaultOrderStartsWithSpotifyAndItsEndsAreFaint() {
        m_settings = openStore(m_path);
        const auto tab = openTab();
        const QList<ShownRow> rows = shownRows(*tab);
        QCOMPARE(rowTexts(*tab), QStringList({"1. Spotify", "2. Apple Music", "3. YouTube (Chrome)",
                                              "4. YouTube (Safari)"}));
        QStringList symbols;
        for (const ShownRow& row : rows) {
            symbols.append(row.symbol);
        }
        QCOMPARE(symbols,
                 QStringList({"music.note", "music.quarternote.3", "play.rectangle", "safari"}));
        QCOMPARE(switches(*tab), QList<bool>({true, true, true, true}));

        const QColor faint = Style::tertiary(tab->palette());
        const QColor plain = Style::secondary(tab->palette());
        QVERIFY(!rows[0].up->isEnabled());
        QCOMPARE(inkColor(*rows[0].up), faint);
        QVERIFY(rows[0].down->isEnabled());
        QCOMPARE(inkColor(*rows[0].down), plain);
        for (int index = 1; index < 3; ++index) {
            QVERIFY(rows[index].up->isEnabled() && rows[index].down->isEnabled());
            QCOMPARE(inkColor(*rows[index].up), plain);
            QCOMPARE(inkColor(*rows[index].down), plain);
        }
        QVERIFY(rows[3].up->isEnabled());
        QCOMPARE(inkColor(*rows[3].up), plain);
        QVERIFY(!rows[3].down->isEnabled());
        QCOMPARE(inkColor(*rows[3].down), faint);
        // And so it is drawn: the ends stand out less from the ground than the other arrows.
        QVERIFY(inkContrast(*rows[0].up) > 0);
        QVERIFY(inkContrast(*rows[0].up) < inkContrast(*rows[1].up));
        QVERIFY(inkContrast(*rows[3].down) < inkContrast(*rows[2].down));

        // A click on a disabled arrow changes nothing and writes nothing.
        QSignalSpy written(&m_settings->defaults(), &SettingsStore::written);
        click(rows[0].up);
        click(rows[3].down);
        QCOMPARE(m_settings->enabledApps(), defaultOrder);
        QCOMPARE(written.count(), 0);

        const auto* footer = tab->findChild<QLabel*>(QStringLiteral("appsFooter"));
        QVERIFY(footer != nullptr && footer->isVisible());
        QCOMPARE(footer->text(),
                 QStringLiteral("Use arrows to reorder priority. The first playing app wins."));
        QCOMPARE(footer->font().pointSizeF(), Style::captionFont().pointSizeF());
        QCOMPARE(footer->palette().color(QPalette::WindowText), Style::secondary(tab->palette()));
    }

    void movingDownTheFirstRowSavesTheNewOrderAtOnce() {
        m_settings = openStore(m_path);
        const auto tab = openTab();
        QSignalSpy written(&m_settings->defaults(), &SettingsStore::written);
        click(shownRows(*tab)[0].down);

        const auto moved = apps({MediaApp::appleMusic, MediaApp::spotify, MediaApp::chromiumYouTube,
                                 MediaApp::safariYouTube});
        QCOMPARE(m_settings->enabledApps(), moved);
        QCOMPARE(rowTexts(*tab), QStringList({"1. Apple Music", "2. Spotify", "3. YouTube (Chrome)",
                                              "4. YouTube (Safari)"}));
        // One write of the whole order, on disk with the next turn of the event loop.
        QCOMPARE(written.count(), 1);
        QCOMPARE(written.at(0).at(0).toString(), AppSettings::Keys::enabledApps);
        QTRY_COMPARE(onDisk(AppSettings::Keys::enabledApps),
                     QByteArray(R"(["appleMusic","spotify","chromeYouTube","safariYouTube"])"));
        QCOMPARE(openStore(m_path)->enabledApps(), moved);

        // The arrows follow the new order: Apple Music is first now and cannot go up.
        const QList<ShownRow> rows = shownRows(*tab);
        QVERIFY(!rows[0].up->isEnabled());
        QVERIFY(rows[1].up->isEnabled());
        click(rows[1].up);
        QCOMPARE(m_settings->enabledApps(), defaultOrder);
        QCOMPARE(written.count(), 2);
    }

    void switchingOffKeepsThePlaceInTheOrder() {
        m_settings = openStore(m_path);
        const auto tab = openTab();
        QSignalSpy written(&m_settings->defaults(), &SettingsStore::written);
        ShownRow appleMusic = shownRows(*tab)[1];
        QCOMPARE(appleMusic.text, QStringLiteral("2. Apple Music"));
        click(appleMusic.enabled);

        QCOMPARE(m_settings->disabledApps(), MediaAppSet({MediaApp::appleMusic}));
        QCOMPARE(m_settings->enabledApps(), defaultOrder);
        QCOMPARE(m_settings->activeApps(),
                 apps({MediaApp::spotify, MediaApp::chromiumYouTube, MediaApp::safariYouTube}));
        QCOMPARE(switches(*tab), QList<bool>({true, false, true, true}));
        QCOMPARE(rowTexts(*tab)[1], QStringLiteral("2. Apple Music"));
        // Only the switched-off set is written, and it is on disk with the next turn of the
        // event loop.
        QCOMPARE(written.count(), 1);
        QCOMPARE(written.at(0).at(0).toString(), AppSettings::Keys::disabledApps);
        QTRY_COMPARE(onDisk(AppSettings::Keys::disabledApps), QByteArray(R"(["appleMusic"])"));

        // Still movable while off.
        appleMusic = shownRows(*tab)[1];
        QVERIFY(appleMusic.up->isEnabled() && appleMusic.down->isEnabled());
        click(appleMusic.down);
        QCOMPARE(m_settings->enabledApps(), apps({MediaApp::spotify, MediaApp::chromiumYouTube,
                                                  MediaApp::appleMusic, MediaApp::safariYouTube}));
        QCOMPARE(switches(*tab), QList<bool>({true, true, false, true}));

        click(shownRows(*tab)[2].enabled);
        QVERIFY(m_settings->disabledApps().empty());
        QTRY_COMPARE(onDisk(AppSettings::Keys::disabledApps), QByteArray("[]"));
        QCOMPARE(switches(*tab), QList<bool>({true, true, true, true}));
    }

    void aDuplicateIsListedTwiceAndMovedByIndex() {
        store(AppSettings::Keys::enabledApps, R"(["spotify","spotify"])");
        m_settings = openStore(m_path);
        const auto tab = openTab();
        QCOMPARE(rowTexts(*tab), QStringList({"1. Spotify", "2. Spotify", "3. Apple Music",
                                              "4. YouTube (Chrome)", "5. YouTube (Safari)"}));
        QVERIFY(!shownRows(*tab)[4].down->isEnabled());
        QVERIFY(shownRows(*tab)[3].down->isEnabled());

        click(shownRows(*tab)[1].down);
        QCOMPARE(m_settings->enabledApps(),
                 apps({MediaApp::spotify, MediaApp::appleMusic, MediaApp::spotify,
                       MediaApp::chromiumYouTube, MediaApp::safariYouTube}));
        QCOMPARE(rowTexts(*tab), QStringList({"1. Spotify", "2. Apple Music", "3. Spotify",
                                              "4. YouTube (Chrome)", "5. YouTube (Safari)"}));
        click(shownRows(*tab)[2].down);
        QCOMPARE(m_settings->enabledApps(),
                 apps({MediaApp::spotify, MediaApp::appleMusic, MediaApp::chromiumYouTube,
                       MediaApp::spotify, MediaApp::safariYouTube}));
        click(shownRows(*tab)[1].up);
        QCOMPARE(m_settings->enabledApps(),
                 apps({MediaApp::appleMusic, MediaApp::spotify, MediaApp::chromiumYouTube,
                       MediaApp::spotify, MediaApp::safariYouTube}));
        QTRY_COMPARE(
            onDisk(AppSettings::Keys::enabledApps),
            QByteArray(R"(["appleMusic","spotify","chromeYouTube","spotify","safariYouTube"])"));

        // Switching off one copy switches off the app, so both copies show it.
        click(shownRows(*tab)[3].enabled);
        QCOMPARE(m_settings->disabledApps(), MediaAppSet({MediaApp::spotify}));
        QCOMPARE(switches(*tab), QList<bool>({true, false, true, false, true}));
    }

    void aResetWhileOpenRedrawsIt() {
        store(AppSettings::Keys::enabledApps, R"(["safariYouTube","spotify","spotify"])");
        store(AppSettings::Keys::disabledApps, R"(["chromeYouTube"])");
        m_settings = openStore(m_path);
        const auto tab = openTab();
        QCOMPARE(rowTexts(*tab), QStringList({"1. YouTube (Safari)", "2. Spotify", "3. Spotify",
                                              "4. Apple Music", "5. YouTube (Chrome)"}));
        QCOMPARE(switches(*tab), QList<bool>({true, true, true, true, false}));

        m_settings->resetToDefaults();
        QCOMPARE(rowTexts(*tab), QStringList({"1. Spotify", "2. Apple Music", "3. YouTube (Chrome)",
                                              "4. YouTube (Safari)"}));
        QCOMPARE(switches(*tab), QList<bool>({true, true, true, true}));
        QCOMPARE(tab->findChildren<QWidget*>(QStringLiteral("appRow")).size(), 4);
        // The last row of the shorter list is an end now.
        QVERIFY(!shownRows(*tab)[3].down->isEnabled());
        QVERIFY(shownRows(*tab)[2].down->isEnabled());
        QCOMPARE(shownRows(*tab)[3].row->accessibleName(),
                 QStringLiteral("YouTube (Safari), priority 4"));
    }

    void anImportWhileOpenRedrawsIt() {
        m_settings = openStore(m_path);
        const auto tab = openTab();
        const auto other = openStore(m_home->path() + QStringLiteral("/other.conf"));
        other->setEnabledApps(apps({MediaApp::chromiumYouTube, MediaApp::safariYouTube,
                                    MediaApp::appleMusic, MediaApp::spotify, MediaApp::spotify}));
        other->setDisabledApps({MediaApp::safariYouTube});
        const auto file = other->exportSettings();
        QVERIFY(file.has_value());

        QVERIFY(m_settings->importSettings(*file));
        QCOMPARE(rowTexts(*tab), QStringList({"1. YouTube (Chrome)", "2. YouTube (Safari)",
                                              "3. Apple Music", "4. Spotify", "5. Spotify"}));
        QCOMPARE(switches(*tab), QList<bool>({true, false, true, true, true}));
        QCOMPARE(shownRows(*tab)[0].row->accessibleName(),
                 QStringLiteral("YouTube (Chrome), priority 1"));
        QCOMPARE(shownRows(*tab)[4].row->accessibleName(), QStringLiteral("Spotify, priority 5"));
        QVERIFY(!shownRows(*tab)[4].down->isEnabled());
        QVERIFY(shownRows(*tab)[3].down->isEnabled());

        // The new rows work like the first ones.
        click(shownRows(*tab)[4].up);
        click(shownRows(*tab)[3].up);
        QCOMPARE(m_settings->enabledApps(),
                 apps({MediaApp::chromiumYouTube, MediaApp::safariYouTube, MediaApp::spotify,
                       MediaApp::appleMusic, MediaApp::spotify}));
    }

    void everyRowAndControlIsNamed() {
        m_settings = openStore(m_path);
        const auto tab = openTab();
        const QStringList names = {"Spotify", "Apple Music", "YouTube (Chrome)",
                                   "YouTube (Safari)"};
        QList<ShownRow> rows = shownRows(*tab);
        QCOMPARE(rows.size(), names.size());
        for (int index = 0; index < rows.size(); ++index) {
            const QString name = names[index];
            QCOMPARE(rows[index].row->accessibleName(),
                     name + QStringLiteral(", priority ") + QString::number(index + 1));
            QCOMPARE(rows[index].enabled->accessibleName(), QStringLiteral("Enable ") + name);
            QCOMPARE(rows[index].up->accessibleName(), QStringLiteral("Move %1 up").arg(name));
            QCOMPARE(rows[index].down->accessibleName(), QStringLiteral("Move %1 down").arg(name));
        }
        // The names follow the apps when they move.
        click(rows[0].down);
        rows = shownRows(*tab);
        QCOMPARE(rows[0].row->accessibleName(), QStringLiteral("Apple Music, priority 1"));
        QCOMPARE(rows[0].enabled->accessibleName(), QStringLiteral("Enable Apple Music"));
        QCOMPARE(rows[1].row->accessibleName(), QStringLiteral("Spotify, priority 2"));
        QCOMPARE(rows[1].down->accessibleName(), QStringLiteral("Move Spotify down"));
    }

    void everyFocusableControlHasANameForAssistiveTechnologies() {
        m_settings = openStore(m_path);
        const auto tab = openTab();
        QAccessibleInterface* root = QAccessible::queryAccessibleInterface(tab.get());
        QVERIFY(root != nullptr);
        QList<QAccessibleInterface*> focusable;
        collectFocusable(root, focusable);
        // Four switches and eight arrows.
        QCOMPARE(focusable.size(), 12);
        for (QAccessibleInterface* each : focusable) {
            QVERIFY2(!each->text(QAccessible::Name).trimmed().isEmpty(),
                     qPrintable(each->object()->objectName()));
        }
        // The same through the widgets, so that nothing escapes the tree.
        for (const QWidget* widget : tab->findChildren<QWidget*>()) {
            if (widget->focusPolicy() != Qt::NoFocus) {
                QVERIFY2(!widget->accessibleName().isEmpty(), qPrintable(widget->objectName()));
            }
        }
    }

    // Focus goes with a moved app, so that the keyboard can carry it down the list.
    void theKeyboardMovesAnAppStepByStep() {
        m_settings = openStore(m_path);
        const auto tab = openTab();
        tab->activateWindow();
        SymbolButton* down = shownRows(*tab)[0].down;
        down->setFocus();
        QTRY_VERIFY(down->hasFocus());
        for (int step = 0; step < 3; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        }
        QCOMPARE(m_settings->enabledApps(), apps({MediaApp::appleMusic, MediaApp::chromiumYouTube,
                                                  MediaApp::safariYouTube, MediaApp::spotify}));
        // At the end the down arrow is off; the focus is on the up arrow of the same row.
        QCOMPARE(QApplication::focusWidget(), static_cast<QWidget*>(shownRows(*tab)[3].up));
    }

    void screenshots_data() {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<bool>("linuxList");
        QTest::newRow("light") << false << false;
        QTest::newRow("dark") << true << false;
        // Linux's players, named as Linux names them.
        QTest::newRow("linux light") << false << true;
        QTest::newRow("linux dark") << true << true;
    }

    void screenshots() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        QFETCH(bool, linuxList);
        Screenshots::usePalette(dark);
        // The Linux list is named as Linux names it.
        const auto naming =
            linuxList ? MediaApp::BrowserNaming::byBrowser : MediaApp::BrowserNaming::bySite;
        if (linuxList) {
            m_settings = appSettingsAt(m_path, linuxApps);
            m_settings->setDisabledApps({MediaApp::firefox});
        } else {
            m_settings = openStore(m_path);
            m_settings->setDisabledApps({MediaApp::appleMusic});
        }
        // The settings window is 480 wide and as tall as its tab needs.
        QWidget frame;
        frame.setFixedWidth(480);
        auto* layout = new QVBoxLayout(&frame);
        layout->setContentsMargins(0, 0, 0, 0);
        auto* tab = new AppsSettingsTab(*m_settings, naming, &frame);
        layout->addWidget(tab);
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        QVERIFY(frame.height() >= frame.sizeHint().height());
        // Nothing is cut: every text and control has at least the room it asks for.
        for (const QLabel* label : tab->findChildren<QLabel*>()) {
            QVERIFY2(label->width() >= label->minimumSizeHint().width(), qPrintable(label->text()));
            QVERIFY2(label->height() >= (label->wordWrap() ? label->heightForWidth(label->width())
                                                           : label->sizeHint().height()),
                     qPrintable(label->text()));
        }
        for (const QCheckBox* each : tab->findChildren<QCheckBox*>()) {
            QVERIFY(each->width() >= each->sizeHint().width());
            QVERIFY(each->height() >= each->sizeHint().height());
        }
        if (linuxList) {
            QCOMPARE(rowTexts(*tab),
                     QStringList({"1. Spotify", "2. Chrome", "3. Firefox", "4. Other players"}));
            QCOMPARE(switches(*tab), QList<bool>({true, true, false, true}));
        } else {
            QCOMPARE(switches(*tab), QList<bool>({true, false, true, true}));
        }
        const QString path = Screenshots::save(
            frame.grab(), QStringLiteral("settings-apps-%1%2")
                              .arg(linuxList ? "linux-" : "", dark ? "dark" : "light"));
        QVERIFY(!path.isEmpty());
        qInfo("%s", qPrintable(path));
    }
};

QTEST_MAIN(TestAppsSettingsTab)
#include "tst_appssettingstab.moc"
