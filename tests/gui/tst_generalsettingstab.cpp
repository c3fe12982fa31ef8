#include "platform/Platform.h"
#include "support/Barrier.h"
#include "support/ControllerRig.h"
#include "support/OnDisk.h"
#include "support/RecordingLoginItem.h"
#include "support/Screenshots.h"
#include "support/SettableTray.h"
#include "support/SettingsFiles.h"
#include "views/settings/GeneralSettingsTab.h"
#include "views/tray/TrayIcon.h"
#include "views/tray/TrayPanelView.h"
#include "views/widgets/FormSwitch.h"
#include "views/widgets/SegmentedControl.h"
#include "views/widgets/Style.h"

#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QToolButton>
#include <QVBoxLayout>
#include <QtTest>

#include <memory>

using SettingsFiles::bytesOf;
using SettingsFiles::validFile;

namespace {

using Direction = SeekAction::Direction;

const QString invalidMessage = QStringLiteral("Error: Invalid settings file.");
const QString unreadableMessage = QStringLiteral("Error: Could not read file.");
const QString importedMessage = QStringLiteral("Settings imported successfully.");

template <typename T = QWidget>
T* child(const QObject& parent, const QString& name) {
    return parent.findChild<T*>(name);
}

bool isRed(const QColor& color) {
    const int hue = color.hslHue();
    return color.hslSaturation() > 150 && (hue <= 12 || hue >= 345);
}

bool isGreen(const QColor& color) {
    return color.hslSaturation() > 100 && color.hslHue() >= 90 && color.hslHue() <= 150;
}

bool isOrange(const QColor& color) {
    return color.hslSaturation() > 150 && color.hslHue() >= 25 && color.hslHue() <= 45;
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path));
    }
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

SeekAction fixedAction(const char* uuid, Direction direction, double seconds, std::uint16_t keyCode,
                       std::uint32_t modifiers) {
    return SeekAction(QUuid::fromString(QLatin1StringView(uuid)), direction, seconds, keyCode,
                      modifiers);
}

// Records when a widget is shown and hidden, with the text it shows then, in order.
class VisibilityLog : public QObject {
public:
    explicit VisibilityLog(QLabel& label)
        : m_label(label) {
        label.installEventFilter(this);
    }

    void note(const QString& entry) { m_entries << entry; }
    const QStringList& entries() const { return m_entries; }
    qint64 msSinceStartAtLastHide() const { return m_lastHide; }
    void startClock() { m_clock.start(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == &m_label && event->type() == QEvent::Show) {
            m_entries << QStringLiteral("show: ") + m_label.text();
        } else if (watched == &m_label && event->type() == QEvent::Hide) {
            m_entries << QStringLiteral("hide: ") + m_label.text();
            m_lastHide = m_clock.elapsed();
        }
        return false;
    }

private:
    QLabel& m_label;
    QStringList m_entries;
    QElapsedTimer m_clock;
    qint64 m_lastHide = -1;
};

} // namespace

class TestGeneralSettingsTab : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;
    SettableTray m_tray;
    std::unique_ptr<TrayIcon> m_extra;
    std::unique_ptr<QTemporaryDir> m_files;
    std::unique_ptr<GeneralSettingsTab> m_tab;
    std::shared_ptr<RecordingLoginItem::Record> m_loginCalls;

    AppSettings& settings() { return m_rig->settings(); }
    const PlatformTexts& texts() { return m_rig->desktop().texts(); }
    QString confPath() { return settings().defaults().fileName(); }
    bool iconShows() const {
        return m_extra->trayIcon() != nullptr && m_extra->trayIcon()->isVisible();
    }
    QString filePath(const QString& name) const { return m_files->filePath(name); }

    GeneralSettingsTab& openTab() {
        m_tab = std::make_unique<GeneralSettingsTab>(settings(), texts());
        m_tab->resize(480, m_tab->sizeHint().height());
        m_tab->show();
        if (!QTest::qWaitForWindowExposed(m_tab.get())) {
            qWarning("the tab was not exposed");
        }
        return *m_tab;
    }

    FormSwitch* toggle(const char* name) { return child<FormSwitch>(*m_tab, name); }
    QLabel* message() { return child<QLabel>(*m_tab, QStringLiteral("importMessage")); }
    QLabel* note() { return child<QLabel>(*m_tab, QStringLiteral("iconHiddenNote")); }

    QToolButton* segment(const QString& text) {
        for (QToolButton* each : m_tab->findChildren<QToolButton*>()) {
            if (each->text() == text) {
                return each;
            }
        }
        return nullptr;
    }

    QStringList selectedSegments() {
        QStringList selected;
        const auto* picker = child<SegmentedControl>(*m_tab, "feedbackDurationPicker");
        for (const QToolButton* each : picker->segments()) {
            if (each->isChecked()) {
                selected << each->text();
            }
        }
        return selected;
    }

    void click(QWidget* widget) {
        QVERIFY(widget != nullptr);
        QVERIFY(widget->isVisible());
        QTest::mouseClick(widget, Qt::LeftButton, {}, widget->rect().center());
    }

    // The dialog of the tab with this name once it shows, or null.
    template <typename T>
    T* shownDialog(const QString& name) {
        T* found = nullptr;
        const bool shown = QTest::qWaitFor(
            [&] {
                found = m_tab->findChild<T*>(name);
                return found != nullptr && found->isVisible();
            },
            5000);
        return shown ? found : nullptr;
    }

    int shownMessageBoxes() {
        int shown = 0;
        for (const QWidget* each : QApplication::topLevelWidgets()) {
            shown += qobject_cast<const QMessageBox*>(each) != nullptr && each->isVisible();
        }
        return shown;
    }

    QPushButton* dialogButton(QMessageBox& box, const QString& text) {
        for (QAbstractButton* each : box.buttons()) {
            if (each->text() == text) {
                return qobject_cast<QPushButton*>(each);
            }
        }
        return nullptr;
    }

    // Puts `path` into the file dialog's name line and presses Return, as a person would;
    // answers whether the dialog took it and closed.
    bool choose(QFileDialog* dialog, const QString& path) {
        if (dialog == nullptr) {
            return false;
        }
        const QPointer<QFileDialog> open(dialog);
        auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        if (edit == nullptr) {
            return false;
        }
        // Set rather than typed key by key, which would open the completion list over it.
        edit->setFocus();
        edit->setText(path);
        QTest::keyClick(edit, Qt::Key_Return);
        return QTest::qWaitFor([&open] { return open.isNull() || !open->isVisible(); }, 5000);
    }

    bool importThroughTheDialog(const QString& path) {
        click(child<QPushButton>(*m_tab, QStringLiteral("importButton")));
        return choose(shownDialog<QFileDialog>(QStringLiteral("importDialog")), path);
    }

    bool exportThroughTheDialog(const QString& path) {
        click(child<QPushButton>(*m_tab, QStringLiteral("exportButton")));
        return choose(shownDialog<QFileDialog>(QStringLiteral("exportDialog")), path);
    }

    // Every setting the file holds away from its default.
    void setKnownState() {
        settings().setEnabledApps({MediaApp::chromiumYouTube, MediaApp::spotify,
                                   MediaApp::appleMusic, MediaApp::safariYouTube});
        settings().setDisabledApps({MediaApp::safariYouTube, MediaApp::appleMusic});
        settings().setSeekActions({
            fixedAction("a3bb189e-8bf9-3888-9912-ace4e6543002", Direction::forward, 10.0, 124,
                        6400),
            fixedAction("6BA7B810-9DAD-11D1-80B4-00C04FD430C8", Direction::backward, 2.5, 123,
                        6912),
            fixedAction("00000000-0000-0000-0000-000000000001", Direction::playPause, 1.0, 49,
                        4096),
        });
        settings().setLaunchAtLogin(true);
        settings().setShowHUDOverlay(false);
        settings().setHoldToSeek(false);
    }

    // The settings and the icon anew, with this login item.
    void makeRig(std::unique_ptr<LoginItem> loginItem) {
        m_extra.reset();
        m_rig = std::make_unique<ControllerRig>(referenceApps(), std::move(loginItem));
        m_rig->start({});
        settings().defaults().setBool(TrayPanelView::onboardingKey, true);
        m_extra = std::make_unique<TrayIcon>(m_rig->status(), settings(), m_tray, m_rig->desktop(),
                                             MediaApp::BrowserNaming::bySite);
    }

private slots:
    void init() {
        m_loginCalls = std::make_shared<RecordingLoginItem::Record>();
        makeRig(std::make_unique<RecordingLoginItem>(m_loginCalls));
        m_files = std::make_unique<QTemporaryDir>();
    }

    void cleanup() {
        m_tab.reset();
        // A dialog a failed test left open.
        for (QWidget* each : QApplication::topLevelWidgets()) {
            if (qobject_cast<QDialog*>(each) != nullptr) {
                delete each;
            }
        }
        m_extra.reset();
        m_files.reset();
        m_rig.reset();
        QApplication::setPalette(QPalette());
    }

    void showsTheStoreWithTheWrittenTexts() {
        GeneralSettingsTab& tab = openTab();
        QCOMPARE(toggle("launchAtLoginToggle")->text(), QStringLiteral("Launch at login"));
        QCOMPARE(toggle("showIconToggle")->text(), texts().showIconToggle);
        QCOMPARE(toggle("showOverlayToggle")->text(), QStringLiteral("Show on-screen overlay"));
        QCOMPARE(toggle("holdToSeekToggle")->text(),
                 QStringLiteral("Keep seeking while a hotkey is held"));
        QVERIFY(toggle("holdToSeekToggle")->isChecked());
        QVERIFY(!toggle("launchAtLoginToggle")->isChecked());
        QVERIFY(toggle("showIconToggle")->isChecked());
        QVERIFY(toggle("showOverlayToggle")->isChecked());
        QStringList segments;
        for (const QToolButton* each :
             child<SegmentedControl>(tab, "feedbackDurationPicker")->segments()) {
            segments << each->text();
        }
        QCOMPARE(segments, (QStringList{"1s", "2s", "2.5s", "3s", "5s"}));
        QCOMPARE(selectedSegments(), QStringList{"2.5s"});
        QStringList headers;
        for (const QLabel* each : tab.findChildren<QLabel*>(QStringLiteral("sectionHeader"))) {
            headers << each->text();
        }
        QCOMPARE(headers, (QStringList{"Feedback", "Settings Backup"}));
        QCOMPARE(child<QPushButton>(tab, "exportButton")->text(),
                 QStringLiteral("Export Settings"));
        QCOMPARE(child<QPushButton>(tab, "importButton")->text(),
                 QStringLiteral("Import Settings"));
        QCOMPARE(child<QPushButton>(tab, "resetButton")->text(),
                 QStringLiteral("Reset to Defaults"));
        QVERIFY(
            isRed(child<QPushButton>(tab, "resetButton")->palette().color(QPalette::ButtonText)));
        QVERIFY(!note()->isVisible());
        QVERIFY(!message()->isVisible());

        // In the written order, top to bottom.
        const QList<QWidget*> order{toggle("launchAtLoginToggle"),
                                    toggle("showIconToggle"),
                                    toggle("holdToSeekToggle"),
                                    toggle("showOverlayToggle"),
                                    child(tab, "feedbackDurationPicker"),
                                    child(tab, "exportButton"),
                                    child(tab, "resetButton")};
        for (qsizetype i = 1; i < order.size(); ++i) {
            QVERIFY2(order[i - 1]->mapTo(&tab, QPoint()).y() < order[i]->mapTo(&tab, QPoint()).y(),
                     qPrintable(order[i]->objectName()));
        }
    }

    void cancellingTheHideKeepsTheIcon() {
        openTab();
        QSignalSpy written(&settings().defaults(), &SettingsStore::written);
        click(toggle("showIconToggle"));
        QMessageBox* box = shownDialog<QMessageBox>(QStringLiteral("hideIconConfirmation"));
        QVERIFY(box != nullptr);
        QCOMPARE(box->windowTitle(), texts().hideIconTitle);
        QCOMPARE(box->text(), texts().hideIconTitle);
        QCOMPARE(box->informativeText(), texts().hideIconMessage);
        QCOMPARE(box->buttons().size(), 2);
        QVERIFY(dialogButton(*box, QStringLiteral("Hide Icon")) != nullptr);
        QCOMPARE(box->buttonRole(dialogButton(*box, QStringLiteral("Hide Icon"))),
                 QMessageBox::DestructiveRole);
        QCOMPARE(box->buttonRole(dialogButton(*box, QStringLiteral("Cancel"))),
                 QMessageBox::RejectRole);
        // Nothing changes until the user confirms.
        QVERIFY(toggle("showIconToggle")->isChecked());
        QCOMPARE(written.count(), 0);

        click(dialogButton(*box, QStringLiteral("Cancel")));
        QTRY_COMPARE(shownMessageBoxes(), 0);
        QVERIFY(Barrier::postedEventsHandled());
        QVERIFY(toggle("showIconToggle")->isChecked());
        QVERIFY(!note()->isVisible());
        QCOMPARE(written.count(), 0);
        QVERIFY(!settings().defaults().boolValue(AppSettings::Keys::showMenuBarIcon));
        QVERIFY(!settingsOnDisk(confPath())->contains(AppSettings::Keys::showMenuBarIcon));
        QVERIFY(iconShows());
    }

    void confirmingTheHideStoresItAndShowsTheNote() {
        openTab();
        QVERIFY(iconShows());
        click(toggle("showIconToggle"));
        QMessageBox* box = shownDialog<QMessageBox>(QStringLiteral("hideIconConfirmation"));
        QVERIFY(box != nullptr);
        QPushButton* hide = dialogButton(*box, QStringLiteral("Hide Icon"));
        QVERIFY(hide != nullptr);
        // What the view shows and what is stored right after the tab has handled the click.
        QStringList atClick;
        connect(hide, &QPushButton::clicked, this, [this, &atClick] {
            atClick << QStringLiteral("toggle %1").arg(toggle("showIconToggle")->isChecked());
            atClick << QStringLiteral("stored %1")
                           .arg(settings()
                                    .defaults()
                                    .boolValue(AppSettings::Keys::showMenuBarIcon)
                                    .has_value());
        });
        QSignalSpy written(&settings().defaults(), &SettingsStore::written);
        click(hide);
        QCOMPARE(atClick, (QStringList{"toggle 0", "stored 0"}));
        QTRY_COMPARE(settings().defaults().boolValue(AppSettings::Keys::showMenuBarIcon),
                     std::optional(false));
        QCOMPARE(written.count(), 1);
        QCOMPARE(settingsOnDisk(confPath())->value(AppSettings::Keys::showMenuBarIcon).toBool(),
                 false);
        QVERIFY(!toggle("showIconToggle")->isChecked());
        QVERIFY(note()->isVisible());
        QCOMPARE(note()->text(), texts().iconHiddenNote);
        QVERIFY(isOrange(note()->palette().color(QPalette::WindowText)));
        QCOMPARE(note()->font(), Style::captionFont());
        // The tray icon follows the stored flag.
        QVERIFY(!iconShows());

        // Back on: no question asked.
        click(toggle("showIconToggle"));
        QVERIFY(toggle("showIconToggle")->isChecked());
        QVERIFY(!note()->isVisible());
        QTRY_COMPARE(settings().defaults().boolValue(AppSettings::Keys::showMenuBarIcon),
                     std::optional(true));
        QCOMPARE(written.count(), 2);
        QCOMPARE(shownMessageBoxes(), 0);
        QVERIFY(m_tab->findChild<QMessageBox*>() == nullptr);
        QVERIFY(iconShows());
    }

    void aHiddenIconIsReadWhenTheTabOpens() {
        settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        openTab();
        QVERIFY(!toggle("showIconToggle")->isChecked());
        QVERIFY(note()->isVisible());
    }

    void anUnlistedDurationSelectsNoSegment() {
        settings().defaults().setDouble(AppSettings::Keys::feedbackDuration, 4.0);
        openTab();
        QCOMPARE(selectedSegments(), QStringList());
        click(segment(QStringLiteral("2.5s")));
        QCOMPARE(settings().feedbackDuration(), 2.5);
        QTRY_COMPARE(
            settingsOnDisk(confPath())->value(AppSettings::Keys::feedbackDuration).toDouble(), 2.5);
        QCOMPARE(selectedSegments(), QStringList{"2.5s"});
        // The selected segment stays selected when clicked again.
        click(segment(QStringLiteral("2.5s")));
        QCOMPARE(selectedSegments(), QStringList{"2.5s"});
        click(segment(QStringLiteral("1s")));
        QCOMPARE(settings().feedbackDuration(), 1.0);
        QCOMPARE(selectedSegments(), QStringList{"1s"});
        // A change made elsewhere shows at once.
        settings().setFeedbackDuration(5.0);
        QCOMPARE(selectedSegments(), QStringList{"5s"});
        settings().setFeedbackDuration(2.4);
        QCOMPARE(selectedSegments(), QStringList());
    }

    void theOverlayToggleIsBoundToTheStore() {
        openTab();
        click(toggle("showOverlayToggle"));
        QCOMPARE(settings().showHUDOverlay(), false);
        QVERIFY(!toggle("showOverlayToggle")->isChecked());
        settings().setShowHUDOverlay(true);
        QVERIFY(toggle("showOverlayToggle")->isChecked());
    }

    void theHoldToggleIsBoundToTheStore() {
        openTab();
        click(toggle("holdToSeekToggle"));
        QCOMPARE(settings().holdToSeek(), false);
        QVERIFY(!toggle("holdToSeekToggle")->isChecked());
        settings().setHoldToSeek(true);
        QVERIFY(toggle("holdToSeekToggle")->isChecked());
    }

    void launchAtLoginWritesTheAutostartEntry() {
        if (QSysInfo::kernelType() != QStringLiteral("linux")) {
            QSKIP("the XDG autostart entry is the Linux login item");
        }
        makeRig(Platform::createLoginItem());
        const QString entry = qEnvironmentVariable("XDG_CONFIG_HOME") +
                              QStringLiteral("/autostart/scrubline.desktop");
        openTab();
        QVERIFY(!QFile::exists(entry));
        click(toggle("launchAtLoginToggle"));
        QVERIFY(toggle("launchAtLoginToggle")->isChecked());
        QCOMPARE(settings().launchAtLogin(), true);
        QVERIFY(QFile::exists(entry));
        QVERIFY(readFile(entry).contains("Exec="));
        // From the keyboard as well.
        toggle("launchAtLoginToggle")->setFocus();
        QTest::keyClick(toggle("launchAtLoginToggle"), Qt::Key_Space);
        QVERIFY(!toggle("launchAtLoginToggle")->isChecked());
        QCOMPARE(settings().launchAtLogin(), false);
        QCOMPARE(settingsOnDisk(confPath())->value(AppSettings::Keys::launchAtLogin).toBool(),
                 false);
        QVERIFY(!QFile::exists(entry));
    }

    // What the desktop will do, whatever the stored preference says.
    void theSwitchShowsTheDesktopsState() {
        if (QSysInfo::kernelType() != QStringLiteral("linux")) {
            QSKIP("the XDG autostart entry is the Linux login item");
        }
        makeRig(Platform::createLoginItem());
        const QString entry = qEnvironmentVariable("XDG_CONFIG_HOME") +
                              QStringLiteral("/autostart/scrubline.desktop");
        settings().setLaunchAtLogin(true);
        QVERIFY(QFile::exists(entry));
        openTab();
        QVERIFY(toggle("launchAtLoginToggle")->isChecked());
        m_tab.reset();

        // Removed behind the program's back: off when the window opens again.
        QVERIFY(QFile::remove(entry));
        openTab();
        QVERIFY(!toggle("launchAtLoginToggle")->isChecked());
        QCOMPARE(settings().launchAtLogin(), true);

        // A switch that fails shows the state the desktop kept.
        m_tab.reset();
        const QString folder = QFileInfo(entry).absolutePath();
        QVERIFY(QDir().rmdir(folder));
        QFile blocker(folder);
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        openTab();
        click(toggle("launchAtLoginToggle"));
        QVERIFY(!toggle("launchAtLoginToggle")->isChecked());
        QVERIFY(!QFileInfo(entry).exists());
    }

    void eachSwitchOfLaunchAtLoginReachesTheLoginItem() {
        openTab();
        click(toggle("launchAtLoginToggle"));
        click(toggle("launchAtLoginToggle"));
        QCOMPARE(m_loginCalls->calls, (QList<bool>{true, false}));
    }

    void anInvalidFileShowsItsErrorInRedForItsTime() {
        openTab();
        QCOMPARE(m_tab->importMessageDuration(), 3000);
        m_tab->setImportMessageDuration(300);
        VisibilityLog log(*message());
        writeFile(filePath("notes.json"), "version=1");
        log.startClock();
        QVERIFY(importThroughTheDialog(filePath("notes.json")));
        QVERIFY(message()->isVisible());
        QCOMPARE(message()->text(), invalidMessage);
        QVERIFY(isRed(message()->palette().color(QPalette::WindowText)));
        QCOMPARE(message()->font(), Style::captionFont());
        QTRY_VERIFY(!message()->isVisible());
        QVERIFY2(log.msSinceStartAtLastHide() >= 300,
                 qPrintable(QString::number(log.msSinceStartAtLastHide())));
        QCOMPARE(log.entries(),
                 (QStringList{"show: " + invalidMessage, "hide: " + invalidMessage}));
        QCOMPARE(message()->text(), QString());
    }

    void exportThenImportRoundTripsEverySetting() {
        if (QSysInfo::kernelType() == QStringLiteral("linux")) {
            makeRig(Platform::createLoginItem());
        }
        openTab();
        setKnownState();
        click(segment(QStringLiteral("1s")));
        const QList<MediaApp> enabled = settings().enabledApps();
        const MediaAppSet disabled = settings().disabledApps();
        const QList<SeekAction> actions = settings().seekActions();
        const QByteArray expected = *settings().exportSettings();

        click(child<QPushButton>(*m_tab, QStringLiteral("exportButton")));
        auto* save = shownDialog<QFileDialog>(QStringLiteral("exportDialog"));
        QVERIFY(save != nullptr);
        QCOMPARE(save->acceptMode(), QFileDialog::AcceptSave);
        QCOMPARE(save->nameFilters(), QStringList{"JSON (*.json)"});
        QCOMPARE(save->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->text(),
                 QStringLiteral("Scrubline-Settings.json"));
        QVERIFY(save->windowModality() == Qt::NonModal);
        const QString path = filePath("Scrubline-Settings.json");
        QVERIFY(choose(save, path));
        QCOMPARE(readFile(path), expected);
        QVERIFY(!message()->isVisible());

        click(child<QPushButton>(*m_tab, QStringLiteral("resetButton")));
        QMessageBox* box = shownDialog<QMessageBox>(QStringLiteral("resetConfirmation"));
        QVERIFY(box != nullptr);
        click(dialogButton(*box, QStringLiteral("Reset")));
        QVERIFY(settings().enabledApps() != enabled);
        QVERIFY(settings().seekActions() != actions);
        QVERIFY(!toggle("launchAtLoginToggle")->isChecked());
        QVERIFY(toggle("showOverlayToggle")->isChecked());
        QVERIFY(toggle("holdToSeekToggle")->isChecked());

        QVERIFY(importThroughTheDialog(path));
        QCOMPARE(message()->text(), importedMessage);
        QVERIFY(isGreen(message()->palette().color(QPalette::WindowText)));
        QCOMPARE(settings().enabledApps(), enabled);
        QCOMPARE(settings().disabledApps(), disabled);
        QCOMPARE(settings().seekActions(), actions);
        QCOMPARE(settings().launchAtLogin(), true);
        QCOMPARE(settings().showHUDOverlay(), false);
        QCOMPARE(*settings().exportSettings(), expected);
        // The file does not hold the duration: it stays as the reset left it.
        QCOMPARE(settings().feedbackDuration(), 2.5);
        // The tab shows what came in.
        QVERIFY(toggle("launchAtLoginToggle")->isChecked());
        QVERIFY(!toggle("showOverlayToggle")->isChecked());
        QVERIFY(!toggle("holdToSeekToggle")->isChecked());
        QCOMPARE(selectedSegments(), QStringList{"2.5s"});
        if (QSysInfo::kernelType() == QStringLiteral("linux")) {
            QVERIFY(QFile::exists(qEnvironmentVariable("XDG_CONFIG_HOME") +
                                  QStringLiteral("/autostart/scrubline.desktop")));
        }
    }

    void invalidFilesChangeNothing_data() { SettingsFiles::addInvalidFileRows(); }

    void invalidFilesChangeNothing() {
        QFETCH(QByteArray, bytes);
        setKnownState();
        settings().setFeedbackDuration(5.0);
        settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        settings().savePendingChanges();
        m_loginCalls->calls.clear();
        const QByteArray before = *settings().exportSettings();
        const QByteArray onDiskBefore = readFile(confPath());
        openTab();
        QSignalSpy written(&settings().defaults(), &SettingsStore::written);

        writeFile(filePath("settings.json"), bytes);
        QVERIFY(importThroughTheDialog(filePath("settings.json")));
        QCOMPARE(message()->text(), invalidMessage);
        QVERIFY(message()->isVisible());
        QVERIFY(isRed(message()->palette().color(QPalette::WindowText)));
        // Whatever it left waiting, written now, would show on disk below.
        QVERIFY(Barrier::postedEventsHandled());
        settings().savePendingChanges();
        QCOMPARE(*settings().exportSettings(), before);
        QCOMPARE(settings().feedbackDuration(), 5.0);
        QCOMPARE(readFile(confPath()), onDiskBefore);
        QCOMPARE(written.count(), 0);
        QCOMPARE(m_loginCalls->calls, QList<bool>{});
        QVERIFY(toggle("launchAtLoginToggle")->isChecked());
        QVERIFY(!toggle("showOverlayToggle")->isChecked());
        QVERIFY(!toggle("showIconToggle")->isChecked());
    }

    void anUnreadableFileSaysSo_data() {
        QTest::addColumn<QString>("kind");
        QTest::newRow("no read permission") << QStringLiteral("permission");
        QTest::newRow("read error") << QStringLiteral("read error");
    }

    void anUnreadableFileSaysSo() {
        QFETCH(QString, kind);
        QString path;
        if (kind == QStringLiteral("permission")) {
            path = filePath("locked.json");
            writeFile(path, bytesOf(validFile()));
            QVERIFY(QFile::setPermissions(path, QFileDevice::WriteOwner));
            if (QFile file(path); file.open(QIODevice::ReadOnly)) {
                QSKIP("this user reads files without read permission (a superuser)");
            }
        } else {
            // Opens, but reading from its start fails: nothing is mapped at address zero.
            path = QStringLiteral("/proc/self/mem");
            if (!QFile::exists(path)) {
                QSKIP("no /proc on this system");
            }
        }
        setKnownState();
        settings().savePendingChanges();
        const QByteArray before = *settings().exportSettings();
        const QByteArray onDiskBefore = readFile(confPath());
        openTab();
        m_tab->setImportMessageDuration(300);
        QVERIFY(importThroughTheDialog(path));
        QCOMPARE(message()->text(), unreadableMessage);
        QVERIFY(isRed(message()->palette().color(QPalette::WindowText)));
        QCOMPARE(*settings().exportSettings(), before);
        QCOMPARE(readFile(confPath()), onDiskBefore);
        QTRY_VERIFY(!message()->isVisible());
    }

    // The clearing that the first message started takes the second one away too.
    void theFirstScheduleClearsTheSecondMessage() {
        openTab();
        const int shown = 1000;
        m_tab->setImportMessageDuration(shown);
        VisibilityLog log(*message());
        writeFile(filePath("bad.json"), "{}");
        writeFile(filePath("good.json"), bytesOf(validFile()));
        log.startClock();
        QVERIFY(importThroughTheDialog(filePath("bad.json")));
        QCOMPARE(message()->text(), invalidMessage);
        QTest::qWait(shown / 2);
        if (!message()->isVisible()) {
            QVERIFY2(log.msSinceStartAtLastHide() >= shown,
                     "the first message went before its time");
            QSKIP("the machine was too slow to import twice within the message's time");
        }
        QVERIFY(importThroughTheDialog(filePath("good.json")));
        QCOMPARE(message()->text(), importedMessage);
        // Between the first schedule, about half the time from now, and the second one, the
        // whole time from now.
        bool markerDone = false;
        QTimer::singleShot(shown * 7 / 10, Qt::PreciseTimer, &log, [&] {
            log.note(QStringLiteral("between the two schedules"));
            markerDone = true;
        });
        QTimer::singleShot(shown * 13 / 10, Qt::PreciseTimer, &log,
                           [&] { log.note(QStringLiteral("after the second schedule")); });
        QTRY_VERIFY(log.entries().size() == 4);
        QVERIFY(markerDone);
        QCOMPARE(log.entries(),
                 (QStringList{"show: " + invalidMessage, "hide: " + importedMessage,
                              "between the two schedules", "after the second schedule"}));
        QVERIFY(log.msSinceStartAtLastHide() >= shown);
        QVERIFY(!message()->isVisible());
    }

    void resetAsksAndCancelChangesNothing() {
        setKnownState();
        settings().setFeedbackDuration(5.0);
        settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        settings().savePendingChanges();
        const QByteArray before = *settings().exportSettings();
        const QByteArray onDiskBefore = readFile(confPath());
        openTab();
        QVERIFY(note()->isVisible());
        m_loginCalls->calls.clear();

        click(child<QPushButton>(*m_tab, QStringLiteral("resetButton")));
        QMessageBox* box = shownDialog<QMessageBox>(QStringLiteral("resetConfirmation"));
        QVERIFY(box != nullptr);
        QCOMPARE(box->windowTitle(), QStringLiteral("Reset all settings to defaults?"));
        QCOMPARE(box->text(), QStringLiteral("Reset all settings to defaults?"));
        QCOMPARE(box->informativeText(),
                 QStringLiteral("This will reset all hotkeys, app order, and preferences to their "
                                "default values."));
        QCOMPARE(box->buttons().size(), 2);
        QCOMPARE(box->buttonRole(dialogButton(*box, QStringLiteral("Reset"))),
                 QMessageBox::DestructiveRole);
        click(dialogButton(*box, QStringLiteral("Cancel")));
        QTRY_COMPARE(shownMessageBoxes(), 0);
        // Whatever it left waiting, written now, would show on disk below.
        QVERIFY(Barrier::postedEventsHandled());
        settings().savePendingChanges();
        QCOMPARE(*settings().exportSettings(), before);
        QCOMPARE(readFile(confPath()), onDiskBefore);
        QCOMPARE(m_loginCalls->calls, QList<bool>{});
        QVERIFY(note()->isVisible());
        QVERIFY(!toggle("showIconToggle")->isChecked());

        click(child<QPushButton>(*m_tab, QStringLiteral("resetButton")));
        box = shownDialog<QMessageBox>(QStringLiteral("resetConfirmation"));
        QVERIFY(box != nullptr);
        click(dialogButton(*box, QStringLiteral("Reset")));
        const auto allApps = MediaApp::allCases();
        QCOMPARE(settings().enabledApps(), QList<MediaApp>(allApps.begin(), allApps.end()));
        QCOMPARE(settings().disabledApps(), MediaAppSet());
        QCOMPARE(settings().seekActions(), SeekAction::defaults());
        QCOMPARE(settings().launchAtLogin(), false);
        QCOMPARE(settings().showHUDOverlay(), true);
        QCOMPARE(settings().feedbackDuration(), 2.5);
        QCOMPARE(settings().defaults().boolValue(AppSettings::Keys::showMenuBarIcon),
                 std::optional(true));
        QVERIFY(m_loginCalls->calls.contains(false));
        QVERIFY(!m_loginCalls->calls.contains(true));
        // The tab shows the defaults at once.
        QVERIFY(!toggle("launchAtLoginToggle")->isChecked());
        QVERIFY(toggle("showOverlayToggle")->isChecked());
        QVERIFY(toggle("showIconToggle")->isChecked());
        QVERIFY(!note()->isVisible());
        QCOMPARE(selectedSegments(), QStringList{"2.5s"});
        QVERIFY(iconShows());
    }

    void everyControlHasAnAccessibleName() {
        settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        GeneralSettingsTab& tab = openTab();
        writeFile(filePath("bad.json"), "[]");
        QVERIFY(importThroughTheDialog(filePath("bad.json")));
        int controls = 0;
        for (QWidget* each : tab.findChildren<QWidget*>()) {
            if (each->window() != &tab) {
                continue;
            }
            if (each->focusPolicy() == Qt::NoFocus &&
                qobject_cast<QAbstractButton*>(each) == nullptr) {
                continue;
            }
            ++controls;
            QVERIFY2(!each->accessibleName().isEmpty(),
                     qPrintable(each->metaObject()->className() + QStringLiteral(" ") +
                                each->objectName()));
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(each);
            QVERIFY(accessible != nullptr);
            QCOMPARE(accessible->text(QAccessible::Name), each->accessibleName());
        }
        // Four switches, five segments, three buttons.
        QCOMPARE(controls, 12);
        QCOMPARE(toggle("holdToSeekToggle")->accessibleName(),
                 QStringLiteral("Repeat the seek four times a second while a hotkey is held down"));
        QCOMPARE(toggle("launchAtLoginToggle")->accessibleName(),
                 QStringLiteral("Start Scrubline automatically when you log in"));
        QCOMPARE(toggle("showIconToggle")->accessibleName(), texts().showIconAccessibility);
        QCOMPARE(toggle("showOverlayToggle")->accessibleName(),
                 QStringLiteral("Show a floating overlay on screen when seeking"));
        QCOMPARE(child(tab, "feedbackDurationPicker")->accessibleName(),
                 QStringLiteral("Feedback duration"));
        QCOMPARE(QAccessible::queryAccessibleInterface(toggle("showIconToggle"))->role(),
                 QAccessible::CheckBox);
        // Switches tell their state; the icon is hidden here, the overlay on.
        QVERIFY(!QAccessible::queryAccessibleInterface(toggle("showIconToggle"))->state().checked);
        QVERIFY(
            QAccessible::queryAccessibleInterface(toggle("showOverlayToggle"))->state().checked);
    }

    void screenshots_data() {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<bool>("hidden");
        QTest::addColumn<QString>("name");
        QTest::newRow("light, icon hidden, error") << false << true << "settings-general-light";
        QTest::newRow("dark, icon hidden, error") << true << true << "settings-general-dark";
        QTest::newRow("light, imported") << false << false << "settings-general-imported-light";
        QTest::newRow("dark, imported") << true << false << "settings-general-imported-dark";
    }

    void screenshots() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        QFETCH(bool, hidden);
        QFETCH(QString, name);
        Screenshots::usePalette(dark);
        settings().defaults().setBool(AppSettings::Keys::showMenuBarIcon, !hidden);
        settings().setFeedbackDuration(3.0);
        // The window's width; the tab decides the height.
        QWidget frame;
        frame.setFixedWidth(480);
        auto* layout = new QVBoxLayout(&frame);
        layout->setContentsMargins(0, 0, 0, 0);
        auto* tab = new GeneralSettingsTab(settings(), texts(), &frame);
        layout->addWidget(tab);
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        m_tab.reset();
        // Drive the import through this tab's own dialog.
        click(child<QPushButton>(*tab, QStringLiteral("importButton")));
        auto* dialog = tab->findChild<QFileDialog*>(QStringLiteral("importDialog"));
        QVERIFY(dialog != nullptr);
        writeFile(filePath("file.json"), hidden ? QByteArray("{}") : bytesOf(validFile()));
        QVERIFY(choose(dialog, filePath("file.json")));
        auto* line = child<QLabel>(*tab, QStringLiteral("importMessage"));
        QCOMPARE(line->text(), hidden ? invalidMessage : importedMessage);
        QCOMPARE(child<QLabel>(*tab, QStringLiteral("iconHiddenNote"))->isVisible(), hidden);
        frame.adjustSize();
        QTest::qWait(50);

        QVERIFY(tab->minimumSizeHint().width() <= 480);
        QVERIFY(frame.height() >= tab->sizeHint().height());
        // Nothing is cut short: every button and switch has the room it asks for.
        for (const QAbstractButton* each : tab->findChildren<QAbstractButton*>()) {
            QVERIFY2(each->width() >= each->sizeHint().width() &&
                         each->height() >= each->sizeHint().height(),
                     qPrintable(each->text()));
        }
        for (const QLabel* each : tab->findChildren<QLabel*>()) {
            if (each->isVisible() && !each->wordWrap()) {
                QVERIFY2(each->width() >= each->sizeHint().width(), qPrintable(each->text()));
            }
        }
        QVERIFY(!Screenshots::save(frame.grab(), name).isEmpty());
    }
};

QTEST_MAIN(TestGeneralSettingsTab)
#include "tst_generalsettingstab.moc"
