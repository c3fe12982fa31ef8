#include "platform/IniSettings.h"
#include "settings/AppSettings.h"
#include "settings/SettingsCoding.h"
#include "support/ReferenceApps.h"
#include "support/TempHome.h"

#include <QProcess>
#include <QSettings>
#include <QtTest>

namespace {

const QString tool = QStringLiteral(SCRUBLINE_SETTINGS_TOOL);

// Waits for the next full line the tool prints.
QByteArray nextLine(QProcess& process) {
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(10000)) {
            return {};
        }
    }
    return process.readLine().trimmed();
}

} // namespace

class TestCrashSafety : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    QString m_path;

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_path = m_home->configPath() + QStringLiteral("/Scrubline/Scrubline.conf");
    }

    void cleanup() { m_home.reset(); }

    void killedRightAfterAWriteLosesNothing() {
        QProcess process;
        process.start(tool, {QStringLiteral("write-once"), m_path});
        QCOMPARE(nextLine(process), QByteArray("saved"));
        process.kill();
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);

        QSettings file(m_path, QSettings::IniFormat);
        QCOMPARE(file.status(), QSettings::NoError);
        QCOMPARE(file.value(AppSettings::Keys::showHUDOverlay).toString(), QStringLiteral("false"));
    }

    void killedWhileWritingLeavesACompleteFile_data() {
        QTest::addColumn<int>("writesBeforeKill");
        for (int writes : {1, 37, 250}) {
            QTest::addRow("after %d", writes) << writes;
        }
    }

    void killedWhileWritingLeavesACompleteFile() {
        QFETCH(int, writesBeforeKill);
        QProcess process;
        process.start(tool, {QStringLiteral("write-loop"), m_path});
        QByteArray line;
        int confirmed = 0;
        while (confirmed < writesBeforeKill) {
            line = nextLine(process);
            QVERIFY2(line.startsWith("saved "), line.constData());
            confirmed = line.mid(6).toInt();
        }
        process.kill(); // while it goes on writing
        QVERIFY(process.waitForFinished());

        // Whatever the kill interrupted, the file is one whole state at least as new as the
        // last one confirmed.
        const auto file = openIniSettings(m_path);
        QCOMPARE(file->status(), QSettings::NoError);
        bool ok = false;
        const int duration = file->value(AppSettings::Keys::feedbackDuration).toInt(&ok);
        QVERIFY(ok);
        QVERIFY2(duration >= confirmed,
                 qPrintable(QStringLiteral("%1 < %2").arg(duration).arg(confirmed)));
        const auto order =
            SettingsCoding::parse(file->value(AppSettings::Keys::enabledApps).toByteArray());
        QVERIFY(order.has_value());
        const auto apps = SettingsCoding::decodeApps(*order);
        QVERIFY(apps.has_value());
        QCOMPARE(apps->size(), 4);

        AppSettings reopened(std::make_unique<SettingsStore>(openIniSettings(m_path)),
                             referenceApps());
        QCOMPARE(reopened.enabledApps(), *apps);
    }

    void anAbandonedLockIsCleared() {
        // What a writer killed between creating its lock file and filling it leaves behind.
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        QFile lock(m_path + QStringLiteral(".lock"));
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.close();
        const auto settings = openIniSettings(m_path);
        QVERIFY(!lock.exists());
        settings->setValue(QStringLiteral("written"), true);
        settings->sync();
        QCOMPARE(settings->status(), QSettings::NoError);
    }

    void impossibleSecondsStopTheProcessWithAMessage_data() {
        QTest::addColumn<QString>("seconds");
        QTest::newRow("nan") << "nan";
        QTest::newRow("infinity") << "inf";
        QTest::newRow("beyond 64 bits") << "1e300";
    }

    void impossibleSecondsStopTheProcessWithAMessage() {
        QFETCH(QString, seconds);
        QProcess process;
        process.start(tool, {QStringLiteral("label"), seconds});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QVERIFY2(process.readAllStandardError().contains("cannot be shown as a whole number"),
                 "the fatal error names its reason");
        QVERIFY(process.readAllStandardOutput().isEmpty());
    }

    void possibleSecondsAreLabelled() {
        QProcess process;
        process.start(tool, {QStringLiteral("label"), QStringLiteral("10.9")});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.readAllStandardOutput().trimmed(), QByteArray("Forward 10s"));
    }
};

QTEST_GUILESS_MAIN(TestCrashSafety)
#include "tst_crashsafety.moc"
