#include "platform/Platform.h"
#include "platform/linux/XdgAutostartLoginItem.h"
#include "settings/AppSettings.h"
#include "settings/LaunchAtLogin.h"
#include "support/LogCapture.h"
#include "support/OnDisk.h"
#include "support/RecordingLoginItem.h"
#include "support/TempHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
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

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        LaunchAtLogin::setLoginItem(
            std::make_unique<XdgAutostartLoginItem>(QStringLiteral("/usr/bin/scrubline")));
    }

    void cleanup() {
        LaunchAtLogin::setLoginItem(nullptr);
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
        LaunchAtLogin::setEnabled(true);
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
        LaunchAtLogin::setLoginItem(Platform::createLoginItem());
        LaunchAtLogin::setEnabled(true);
        QVERIFY(readEntry().contains(
            QStringLiteral("\nExec=%1\n")
                .arg(XdgAutostartLoginItem::execValue(QCoreApplication::applicationFilePath()))));
    }

    // Before the application shell gives it a login item, a change is only logged.
    void withoutALoginItemAChangeIsLoggedAndWritesNothing() {
        LaunchAtLogin::setLoginItem(nullptr);
        LogCapture log;
        LaunchAtLogin::setEnabled(true);
        QCOMPARE(loginErrors(log), 1);
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
    }

    void enablingAndDisablingAreIdempotent() {
        LogCapture log;
        LaunchAtLogin::setEnabled(true);
        const QString first = readEntry();
        LaunchAtLogin::setEnabled(true);
        QCOMPARE(readEntry(), first);
        // Only the entry itself: the rename left no temporary file behind.
        QCOMPARE(QDir(m_home->configPath() + QStringLiteral("/autostart")).entryList(QDir::Files),
                 QStringList{QStringLiteral("scrubline.desktop")});
        LaunchAtLogin::setEnabled(false);
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
        LaunchAtLogin::setEnabled(false);
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
        QCOMPARE(loginErrors(log), 0);
    }

    void aChangedEntryIsReplacedWhole() {
        QDir().mkpath(m_home->configPath() + QStringLiteral("/autostart"));
        QFile stale(XdgAutostartLoginItem::entryPath());
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.write("[Desktop Entry]\nExec=/old/place/scrubline --with-a-very-long-argument\n");
        stale.close();
        LaunchAtLogin::setEnabled(true);
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

        const auto owned =
            appSettingsAt(m_home->configPath() + QStringLiteral("/Scrubline/Scrubline.conf"));
        AppSettings& settings = *owned;
        LogCapture log;
        settings.setLaunchAtLogin(true);
        LaunchAtLogin::setEnabled(true);
        QCOMPARE(loginErrors(log), 1);
        QCOMPARE(settings.launchAtLogin(), true);
        QVERIFY(QFileInfo(blocker.fileName()).isFile());
    }

    void aFailedRemovalIsLoggedOnce() {
        // A folder with content where the entry should be cannot be removed as a file.
        QDir().mkpath(XdgAutostartLoginItem::entryPath() + QStringLiteral("/inside"));
        LogCapture log;
        LaunchAtLogin::setEnabled(false);
        QCOMPARE(loginErrors(log), 1);
    }

    void platformErrorsAreLoggedWithTheirDescription() {
        auto record = std::make_shared<RecordingLoginItem::Record>();
        record->error = QStringLiteral("Operation not permitted");
        LaunchAtLogin::setLoginItem(std::make_unique<RecordingLoginItem>(record));
        LogCapture log;
        LaunchAtLogin::setEnabled(true);
        QCOMPARE(log.count(generalChannel, QtCriticalMsg,
                           QStringLiteral("Launch at login error: Operation not permitted")),
                 1);
        QCOMPARE(loginErrors(log), 1);
    }

    void quickTogglesAreSeparateCallsInOrder() {
        auto record = std::make_shared<RecordingLoginItem::Record>();
        LaunchAtLogin::setLoginItem(std::make_unique<RecordingLoginItem>(record));
        LaunchAtLogin::setEnabled(true);
        LaunchAtLogin::setEnabled(false);
        LaunchAtLogin::setEnabled(false);
        QCOMPARE(record->calls, (QList<bool>{true, false, false}));
    }

    void quickTogglesLeaveTheLastState() {
        LaunchAtLogin::setEnabled(true);
        LaunchAtLogin::setEnabled(false);
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
        LaunchAtLogin::setEnabled(false);
        LaunchAtLogin::setEnabled(true);
        QVERIFY(QFile::exists(XdgAutostartLoginItem::entryPath()));
    }
};

QTEST_GUILESS_MAIN(TestLaunchAtLogin)
#include "tst_launchatlogin.moc"
