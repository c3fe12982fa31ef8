#include "platform/Platform.h"
#include "platform/linux/XdgAutostartLoginItem.h"
#include "settings/AppSettings.h"
#include "settings/LoginItemController.h"
#include "support/LogCapture.h"
#include "support/OnDisk.h"
#include "support/RecordingLoginItem.h"
#include "support/ReferenceApps.h"
#include "support/TempHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace {

const QString generalChannel = QStringLiteral("com.scrubline.app.general");

QString readEntry() {
    QFile file(XdgAutostartLoginItem::entryPath());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

int loginErrors(const LogCapture& log) {
    const auto entries = log.entries();
    return static_cast<int>(std::count_if(entries.cbegin(), entries.cend(), [](const auto& e) {
        return e.category == generalChannel && e.type == QtCriticalMsg &&
               e.message.startsWith(QStringLiteral("Launch at login error: "));
    }));
}

} // namespace

class TestLaunchAtLogin : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<LoginItemController> m_controller;

    void useLoginItem(std::unique_ptr<LoginItem> item) {
        m_controller = std::make_unique<LoginItemController>(std::move(item));
    }

    static void writeEntry(const QByteArray& text) {
        QDir().mkpath(QFileInfo(XdgAutostartLoginItem::entryPath()).absolutePath());
        QFile entry(XdgAutostartLoginItem::entryPath());
        QVERIFY(entry.open(QIODevice::WriteOnly));
        entry.write(text);
    }

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        useLoginItem(std::make_unique<XdgAutostartLoginItem>(QStringLiteral("/usr/bin/scrubline")));
    }

    void cleanup() {
        m_controller.reset();
        m_home.reset();
    }

    void entryLivesInTheAutostartFolder() {
        QCOMPARE(XdgAutostartLoginItem::entryPath(),
                 m_home->configPath() + QStringLiteral("/autostart/scrubline.desktop"));
        qunsetenv("XDG_CONFIG_HOME");
        QCOMPARE(XdgAutostartLoginItem::entryPath(),
                 m_home->path() + QStringLiteral("/.config/autostart/scrubline.desktop"));
    }

    void enablingWritesAnEntryThatStartsTheProgram() {
        LogCapture log;
        m_controller->setEnabled(true);
        const QString entry = readEntry();
        QVERIFY(entry.startsWith(QStringLiteral("[Desktop Entry]\n")));
        QVERIFY(entry.contains(QStringLiteral("\nType=Application\n")));
        QVERIFY(entry.contains(QStringLiteral("\nName=Scrubline\n")));
        QVERIFY(entry.contains(QStringLiteral("\nExec=/usr/bin/scrubline\n")));
        // The icon the installed program puts in the icon theme.
        QVERIFY(entry.contains(QStringLiteral("\nIcon=com.scrubline.app\n")));
        QCOMPARE(loginErrors(log), 0);
        // The entry is a valid key file in the desktop's own group.
        QSettings desktop(XdgAutostartLoginItem::entryPath(), QSettings::IniFormat);
        QCOMPARE(desktop.value(QStringLiteral("Desktop Entry/Exec")).toString(),
                 QStringLiteral("/usr/bin/scrubline"));
    }

    void thePlatformsItemRegistersTheRunningExecutable() {
        useLoginItem(Platform::createLoginItem());
        m_controller->setEnabled(true);
        QVERIFY(readEntry().contains(
            QStringLiteral("\nExec=%1\n")
                .arg(XdgAutostartLoginItem::execValue(QCoreApplication::applicationFilePath()))));
    }

    // Where the system has no login item, a change is only logged.
    void withoutALoginItemAChangeIsLoggedAndWritesNothing() {
        useLoginItem(nullptr);
        LogCapture log;
        m_controller->setEnabled(true);
        QCOMPARE(loginErrors(log), 1);
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
    }

    void enablingAndDisablingAreIdempotent() {
        LogCapture log;
        m_controller->setEnabled(true);
        const QString first = readEntry();
        m_controller->setEnabled(true);
        QCOMPARE(readEntry(), first);
        // Only the entry itself: the rename left no temporary file behind.
        QCOMPARE(QDir(m_home->configPath() + QStringLiteral("/autostart")).entryList(QDir::Files),
                 QStringList{QStringLiteral("scrubline.desktop")});
        m_controller->setEnabled(false);
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
        m_controller->setEnabled(false);
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
        QCOMPARE(loginErrors(log), 0);
    }

    void aChangedEntryIsReplacedWhole() {
        QDir().mkpath(m_home->configPath() + QStringLiteral("/autostart"));
        QFile stale(XdgAutostartLoginItem::entryPath());
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.write("[Desktop Entry]\nExec=/old/place/scrubline --with-a-very-long-argument\n");
        stale.close();
        m_controller->setEnabled(true);
        QVERIFY(!readEntry().contains(QStringLiteral("/old/place")));
        QVERIFY(readEntry().contains(QStringLiteral("\nExec=/usr/bin/scrubline\n")));
    }

    void execValueIsQuoted_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("exec");
        QTest::newRow("plain") << "/usr/bin/scrubline"
                               << "/usr/bin/scrubline";
        QTest::newRow("space") << "/opt/My Apps/scrubline"
                               << "\"/opt/My Apps/scrubline\"";
        QTest::newRow("percent") << "/opt/100%/scrubline"
                                 << "/opt/100%%/scrubline";
        QTest::newRow("dollar and quote") << "/opt/a$b\"c/scrubline"
                                          << "\"/opt/a\\\\$b\\\\\"c/scrubline\"";
        QTest::newRow("backslash") << "/opt/a\\b/scrubline"
                                   << "\"/opt/a\\\\\\\\b/scrubline\"";
        QTest::newRow("backtick") << "/opt/a`b/scrubline"
                                  << "\"/opt/a\\\\`b/scrubline\"";
        QTest::newRow("parenthesis") << "/opt/x (2)/scrubline"
                                     << "\"/opt/x (2)/scrubline\"";
    }

    void execValueIsQuoted() {
        QFETCH(QString, path);
        QFETCH(QString, exec);
        QCOMPARE(XdgAutostartLoginItem::execValue(path), exec);
    }

    void aFailureIsLoggedOnceAndChangesNothingElse() {
        // A file where the autostart folder should be: creating the entry fails even for root.
        QFile blocker(m_home->configPath() + QStringLiteral("/autostart"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();

        const auto owned = appSettingsAt(
            m_home->configPath() + QStringLiteral("/Scrubline/Scrubline.conf"), referenceApps(),
            std::make_unique<XdgAutostartLoginItem>(QStringLiteral("/usr/bin/scrubline")));
        AppSettings& settings = *owned;
        QSignalSpy switched(&settings.loginItem(), &LoginItemController::switched);
        LogCapture log;
        settings.setLaunchAtLogin(true);
        QCOMPARE(loginErrors(log), 1);
        // The preference is kept; the switch shows what the desktop kept.
        QCOMPARE(settings.launchAtLogin(), true);
        QCOMPARE(switched.size(), 1);
        QCOMPARE(switched.at(0).at(0).toBool(), false);
        QVERIFY(!settings.loginItem().isEnabled());
        QVERIFY(QFileInfo(blocker.fileName()).isFile());
    }

    void aFailedRemovalIsLoggedOnce() {
        // A folder with content where the entry should be cannot be removed as a file.
        QDir().mkpath(XdgAutostartLoginItem::entryPath() + QStringLiteral("/inside"));
        LogCapture log;
        m_controller->setEnabled(false);
        QCOMPARE(loginErrors(log), 1);
    }

    void platformErrorsAreLoggedWithTheirDescription() {
        auto record = std::make_shared<RecordingLoginItem::Record>();
        record->error = QStringLiteral("Operation not permitted");
        useLoginItem(std::make_unique<RecordingLoginItem>(record));
        LogCapture log;
        m_controller->setEnabled(true);
        QCOMPARE(log.count(generalChannel, QtCriticalMsg,
                           QStringLiteral("Launch at login error: Operation not permitted")),
                 1);
        QCOMPARE(loginErrors(log), 1);
    }

    void quickTogglesAreSeparateCallsInOrder() {
        auto record = std::make_shared<RecordingLoginItem::Record>();
        useLoginItem(std::make_unique<RecordingLoginItem>(record));
        m_controller->setEnabled(true);
        m_controller->setEnabled(false);
        m_controller->setEnabled(false);
        QCOMPARE(record->calls, (QList<bool>{true, false, false}));
    }

    void eachSwitchIsReadBackFromTheEntry() {
        QSignalSpy switched(m_controller.get(), &LoginItemController::switched);
        QVERIFY(!m_controller->isEnabled());
        QVERIFY(m_controller->setEnabled(true));
        QVERIFY(QFile::exists(XdgAutostartLoginItem::entryPath()));
        QVERIFY(m_controller->isEnabled());
        QVERIFY(!m_controller->setEnabled(false));
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
        QVERIFY(!m_controller->isEnabled());
        QCOMPARE(switched.size(), 2);
        QCOMPARE(switched.at(0).at(0).toBool(), true);
        QCOMPARE(switched.at(1).at(0).toBool(), false);
    }

    void anEntryRemovedBehindOurBackIsOff() {
        QVERIFY(m_controller->setEnabled(true));
        QVERIFY(QFile::remove(XdgAutostartLoginItem::entryPath()));
        QVERIFY(!m_controller->isEnabled());
        // Switching on again writes it anew.
        QVERIFY(m_controller->setEnabled(true));
        QVERIFY(m_controller->isEnabled());
    }

    void onlyAnEntryThatStartsThisProgramCounts_data() {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("ours") << QByteArray("[Desktop Entry]\nType=Application\n"
                                            "Exec=/usr/bin/scrubline\n")
                              << true;
        QTest::newRow("another program")
            << QByteArray("[Desktop Entry]\nExec=/usr/bin/other\n") << false;
        QTest::newRow("an older place")
            << QByteArray("[Desktop Entry]\nExec=/old/scrubline\n") << false;
        QTest::newRow("hidden") << QByteArray("[Desktop Entry]\nExec=/usr/bin/scrubline\n"
                                              "Hidden=true\n")
                                << false;
        QTest::newRow("switched off in GNOME")
            << QByteArray("[Desktop Entry]\nExec=/usr/bin/scrubline\n"
                          "X-GNOME-Autostart-enabled=false\n")
            << false;
        QTest::newRow("in another group")
            << QByteArray("[Desktop Entry]\nExec=/usr/bin/other\n"
                          "[Desktop Action x]\nExec=/usr/bin/scrubline\n")
            << false;
        QTest::newRow("empty") << QByteArray() << false;
    }

    void onlyAnEntryThatStartsThisProgramCounts() {
        QFETCH(QByteArray, entry);
        QFETCH(bool, enabled);
        writeEntry(entry);
        QCOMPARE(m_controller->isEnabled(), enabled);
    }

    void whatThePlatformsItemWritesIsOurs() {
        useLoginItem(Platform::createLoginItem());
        QVERIFY(!m_controller->isEnabled());
        QVERIFY(m_controller->setEnabled(true));
        QVERIFY(m_controller->isEnabled());
    }

    void quickTogglesLeaveTheLastState() {
        m_controller->setEnabled(true);
        m_controller->setEnabled(false);
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
        m_controller->setEnabled(false);
        m_controller->setEnabled(true);
        QVERIFY(QFile::exists(XdgAutostartLoginItem::entryPath()));
    }
};

QTEST_GUILESS_MAIN(TestLaunchAtLogin)
#include "tst_launchatlogin.moc"
