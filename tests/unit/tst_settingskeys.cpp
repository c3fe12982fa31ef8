#include "settings/AppSettings.h"
#include "settings/SettingsKeys.h"
#include "support/LogCapture.h"
#include "support/OnDisk.h"
#include "support/ReferenceApps.h"
#include "support/TempHome.h"

#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <memory>

namespace {

const QString generalChannel = QStringLiteral("com.scrubline.app.general");

// One stored value: how to move it away from its default, and whether it is there.
struct KeyCase {
    const char* name;
    QString key;
    bool inFile;
    std::function<void(AppSettings&)> change;
    std::function<bool(AppSettings&)> isChanged;
    std::function<bool(AppSettings&)> isDefault;
};

bool iconShown(AppSettings& settings) {
    return settings.defaults().value(SettingsKeys::showMenuBarIcon);
}

const QList<SeekAction> otherActions{SeekAction(SeekAction::Direction::forward, 7.5, 3, 256)};

QList<KeyCase> keyCases() {
    return {
        {"launchAtLogin", SettingsKeys::launchAtLogin.key, true,
         [](AppSettings& s) { s.setLaunchAtLogin(true); },
         [](AppSettings& s) { return s.launchAtLogin(); },
         [](AppSettings& s) {
             return !s.launchAtLogin();
         }},
        {"feedbackDuration", SettingsKeys::feedbackDuration.key, false,
         [](AppSettings& s) { s.setFeedbackDuration(4.0); },
         [](AppSettings& s) { return s.feedbackDuration() == 4.0; },
         [](AppSettings& s) {
             return s.feedbackDuration() == 2.5;
         }},
        {"showHUDOverlay", SettingsKeys::showHUDOverlay.key, true,
         [](AppSettings& s) { s.setShowHUDOverlay(false); },
         [](AppSettings& s) { return !s.showHUDOverlay(); },
         [](AppSettings& s) {
             return s.showHUDOverlay();
         }},
        {"holdToSeek", SettingsKeys::holdToSeek.key, true,
         [](AppSettings& s) { s.setHoldToSeek(false); },
         [](AppSettings& s) { return !s.holdToSeek(); },
         [](AppSettings& s) {
             return s.holdToSeek();
         }},
        {"showMenuBarIcon", SettingsKeys::showMenuBarIcon.key, false,
         [](AppSettings& s) { s.defaults().setBool(SettingsKeys::showMenuBarIcon.key, false); },
         [](AppSettings& s) { return !iconShown(s); }, &iconShown},
        {"enabledAppsOrder", SettingsKeys::enabledApps.key, true,
         [](AppSettings& s) {
             s.setEnabledApps({MediaApp::safariYouTube, MediaApp::spotify});
         },
         [](AppSettings& s) {
             // The next start appends what the order leaves out.
             return s.enabledApps().mid(0, 2) ==
                    QList<MediaApp>{MediaApp::safariYouTube, MediaApp::spotify};
         },
         [](AppSettings& s) {
             return s.enabledApps() == referenceApps();
         }},
        {"disabledApps", SettingsKeys::disabledApps.key, true,
         [](AppSettings& s) { s.setDisabledApps({MediaApp::appleMusic}); },
         [](AppSettings& s) { return s.disabledApps() == MediaAppSet{MediaApp::appleMusic}; },
         [](AppSettings& s) {
             return s.disabledApps().empty();
         }},
        {"seekActions", SettingsKeys::seekActions.key, true,
         [](AppSettings& s) { s.setSeekActions(otherActions); },
         [](AppSettings& s) { return s.seekActions() == otherActions; },
         [](AppSettings& s) {
             return s.seekActions() == SeekAction::defaults();
         }},
    };
}

void addKeyRows(bool onlyInFile) {
    QTest::addColumn<int>("index");
    const QList<KeyCase> cases = keyCases();
    for (int i = 0; i < cases.size(); ++i) {
        if (!onlyInFile || cases.at(i).inFile) {
            QTest::newRow(cases.at(i).name) << i;
        }
    }
}

} // namespace

class TestSettingsKeys : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    QString m_path;

    std::unique_ptr<AppSettings> openStore(const QString& path) const {
        return std::make_unique<AppSettings>(
            std::make_unique<SettingsStore>(
                std::make_unique<QSettings>(path, QSettings::IniFormat)),
            referenceApps());
    }
    std::unique_ptr<AppSettings> openStore() const { return openStore(m_path); }

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_path = m_home->configPath() + QStringLiteral("/Scrubline/Scrubline.conf");
    }

    void cleanup() { m_home.reset(); }

    // The names and defaults every earlier version stored and exported.
    void theTableHoldsTheKnownKeysAndDefaults() {
        QCOMPARE(QString(SettingsKeys::launchAtLogin.key), QStringLiteral("launchAtLogin"));
        QCOMPARE(SettingsKeys::launchAtLogin.defaultValue, false);
        QCOMPARE(SettingsKeys::launchAtLogin.inFile, FileField::required);
        QCOMPARE(QString(SettingsKeys::feedbackDuration.key), QStringLiteral("feedbackDuration"));
        QCOMPARE(SettingsKeys::feedbackDuration.defaultValue, 2.5);
        QCOMPARE(SettingsKeys::feedbackDuration.inFile, FileField::none);
        QCOMPARE(QString(SettingsKeys::showHUDOverlay.key), QStringLiteral("showHUDOverlay"));
        QCOMPARE(SettingsKeys::showHUDOverlay.defaultValue, true);
        QCOMPARE(SettingsKeys::showHUDOverlay.inFile, FileField::optional);
        QCOMPARE(QString(SettingsKeys::holdToSeek.key), QStringLiteral("holdToSeek"));
        QCOMPARE(SettingsKeys::holdToSeek.defaultValue, true);
        QCOMPARE(SettingsKeys::holdToSeek.inFile, FileField::optional);
        QCOMPARE(QString(SettingsKeys::showMenuBarIcon.key), QStringLiteral("showMenuBarIcon"));
        QCOMPARE(SettingsKeys::showMenuBarIcon.defaultValue, true);
        QCOMPARE(QString(SettingsKeys::enabledApps.key), QStringLiteral("enabledAppsOrder"));
        QCOMPARE(QString(SettingsKeys::enabledApps.field), QStringLiteral("enabledApps"));
        QCOMPARE(QString(SettingsKeys::disabledApps.key), QStringLiteral("disabledApps"));
        QCOMPARE(QString(SettingsKeys::seekActions.key), QStringLiteral("seekActions"));
        QCOMPARE(SettingsKeys::enabledApps.defaultValue(referenceApps()), referenceApps());
        QCOMPARE(SettingsKeys::disabledApps.defaultValue(referenceApps()), MediaAppSet());
        QCOMPARE(SettingsKeys::seekActions.defaultValue(referenceApps()), SeekAction::defaults());
    }

    void everyKeyStartsAtItsDefault_data() { addKeyRows(false); }

    void everyKeyStartsAtItsDefault() {
        QFETCH(int, index);
        const KeyCase key = keyCases().at(index);
        auto settings = openStore();
        QVERIFY(key.isDefault(*settings));
        QVERIFY(!key.isChanged(*settings));
    }

    void everyKeyRoundTripsThroughTheStore_data() { addKeyRows(false); }

    void everyKeyRoundTripsThroughTheStore() {
        QFETCH(int, index);
        const KeyCase key = keyCases().at(index);
        {
            auto settings = openStore();
            key.change(*settings);
            QVERIFY(key.isChanged(*settings));
            settings->savePendingChanges();
            QCOMPARE(settingsOnDisk(m_path)->allKeys(), QStringList{key.key});
        }
        auto restarted = openStore();
        QVERIFY(key.isChanged(*restarted));
    }

    void everyKeyOfTheFileRoundTripsThroughAnExport_data() { addKeyRows(true); }

    void everyKeyOfTheFileRoundTripsThroughAnExport() {
        QFETCH(int, index);
        const KeyCase key = keyCases().at(index);
        auto settings = openStore();
        key.change(*settings);
        const auto exported = settings->exportSettings();
        QVERIFY(exported.has_value());

        TempHome other;
        auto elsewhere =
            openStore(other.configPath() + QStringLiteral("/Scrubline/Scrubline.conf"));
        QVERIFY(key.isDefault(*elsewhere));
        QVERIFY(elsewhere->importSettings(*exported));
        QVERIFY(key.isChanged(*elsewhere));
    }

    // Values the file does not hold are left as they are by an import.
    void theFileLeavesOutWhatTheTableKeepsOut() {
        auto settings = openStore();
        const QByteArray exported = *settings->exportSettings();
        for (const KeyCase& key : keyCases()) {
            const QString field = key.key == SettingsKeys::enabledApps.key
                                      ? QString(SettingsKeys::enabledApps.field)
                                      : key.key;
            QCOMPARE(exported.contains(('"' + field + '"').toUtf8()), key.inFile);
        }
    }

    void aMistypedValueIsReportedAndChangesNothing_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("index");
        const QList<KeyCase> cases = keyCases();
        for (int i = 0; i < cases.size(); ++i) {
            QTest::newRow(cases.at(i).name) << cases.at(i).key << i;
        }
    }

    void aMistypedValueIsReportedAndChangesNothing() {
        QFETCH(QString, key);
        QFETCH(int, index);
        const KeyCase mistyped = keyCases().at(index);
        {
            QSettings file(m_path, QSettings::IniFormat);
            file.setValue(key, QStringLiteral("sometimes"));
            file.setValue(QStringLiteral("holdToSeek"), key == QLatin1StringView("holdToSeek")
                                                            ? QVariant(QStringLiteral("sometimes"))
                                                            : QVariant(false));
        }
        LogCapture log;
        auto settings = openStore();
        const QString name =
            key == SettingsKeys::enabledApps.key ? QString(SettingsKeys::enabledApps.field) : key;
        QCOMPARE(log.count(generalChannel, QtCriticalMsg,
                           QStringLiteral("Failed to decode %1 from UserDefaults").arg(name)),
                 1);
        QVERIFY(mistyped.isDefault(*settings));
        // What could be read is in force all the same.
        if (key != QLatin1StringView("holdToSeek")) {
            QCOMPARE(settings->holdToSeek(), false);
        }
        QTest::qWait(AppSettings::saveDebounceMs + 100);
        QCOMPARE(settingsOnDisk(m_path)->value(key).toString(), QStringLiteral("sometimes"));
    }

    void resetRestoresEveryKey() {
        auto settings = openStore();
        for (const KeyCase& key : keyCases()) {
            key.change(*settings);
        }
        settings->resetToDefaults();
        for (const KeyCase& key : keyCases()) {
            QVERIFY2(key.isDefault(*settings), key.name);
        }
    }

    // A reset writes eight keys: the file is written once for them all.
    void aBurstOfWritesWritesTheFileOnce() {
        auto settings = openStore();
        QSignalSpy synced(&settings->defaults(), &SettingsStore::synced);
        QSignalSpy written(&settings->defaults(), &SettingsStore::written);
        settings->setFeedbackDuration(1.0);
        settings->setShowHUDOverlay(false);
        settings->setHoldToSeek(false);
        settings->setEnabledApps({MediaApp::appleMusic});
        QCOMPARE(written.size(), 4);
        QCOMPARE(synced.size(), 0);
        QVERIFY(settings->defaults().hasUnsavedWrites());
        QVERIFY(synced.wait());
        QCOMPARE(synced.size(), 1);
        QVERIFY(!settings->defaults().hasUnsavedWrites());
        const auto onDisk = settingsOnDisk(m_path);
        QCOMPARE(onDisk->value(SettingsKeys::feedbackDuration.key).toDouble(), 1.0);
        QCOMPARE(onDisk->value(SettingsKeys::holdToSeek.key).toBool(), false);
        QCOMPARE(onDisk->value(SettingsKeys::enabledApps.key).toByteArray(),
                 QByteArray(R"(["appleMusic"])"));
        QVERIFY(!synced.wait(100));
        QCOMPARE(synced.size(), 1);
    }

    // The end of the program flushes what the event loop did not get to write.
    void quittingRightAfterAnEditLeavesItOnDisk() {
        auto settings = openStore();
        settings->setShowHUDOverlay(false);
        settings->setSeekActions(otherActions);
        QVERIFY(!QFile::exists(m_path));
        settings->savePendingChanges();
        QVERIFY(!settings->defaults().hasUnsavedWrites());
        const auto onDisk = settingsOnDisk(m_path);
        QCOMPARE(onDisk->value(SettingsKeys::showHUDOverlay.key).toBool(), false);
        QVERIFY(onDisk->value(SettingsKeys::seekActions.key).toByteArray().contains("7.5"));
    }
};

QTEST_GUILESS_MAIN(TestSettingsKeys)
#include "tst_settingskeys.moc"
