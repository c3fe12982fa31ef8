#include "platform/linux/XdgAutostartLoginItem.h"
#include "settings/AppSettings.h"
#include "support/OnDisk.h"
#include "support/RecordingLoginItem.h"
#include "support/ReferenceApps.h"
#include "support/SettingsFiles.h"
#include "support/TempHome.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QtTest>

#include <memory>

using SettingsFiles::bytesOf;
using SettingsFiles::validFile;

namespace {

QByteArray readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path));
    }
    return file.readAll();
}

SeekAction fixedAction(const char* uuid, SeekAction::Direction direction, double seconds,
                       std::uint16_t keyCode, std::uint32_t modifiers) {
    return SeekAction(QUuid::fromString(QLatin1StringView(uuid)), direction, seconds, keyCode,
                      modifiers);
}

} // namespace

class TestSettingsFile : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    QString m_path;

    // With a real autostart entry as the login item, unless the test gives one of its own.
    std::unique_ptr<AppSettings> openStore(std::unique_ptr<LoginItem> loginItem = nullptr) const {
        if (!loginItem) {
            loginItem =
                std::make_unique<XdgAutostartLoginItem>(QStringLiteral("/usr/bin/scrubline"));
        }
        return appSettingsAt(m_path, referenceApps(), std::move(loginItem));
    }

    // A state with every field away from its default.
    void setKnownState(AppSettings& settings) const {
        settings.setEnabledApps({MediaApp::chromiumYouTube, MediaApp::spotify, MediaApp::appleMusic,
                                 MediaApp::safariYouTube});
        settings.setDisabledApps({MediaApp::safariYouTube, MediaApp::appleMusic});
        settings.setSeekActions({
            fixedAction("a3bb189e-8bf9-3888-9912-ace4e6543002", SeekAction::Direction::forward,
                        10.0, 124, 6400),
            fixedAction("6BA7B810-9DAD-11D1-80B4-00C04FD430C8", SeekAction::Direction::backward,
                        2.5, 123, 6912),
            fixedAction("00000000-0000-0000-0000-000000000001", SeekAction::Direction::playPause,
                        1.0, 49, 4096),
        });
        settings.setLaunchAtLogin(true);
        settings.setShowHUDOverlay(false);
        settings.setHoldToSeek(false);
    }

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_path = m_home->configPath() + QStringLiteral("/Scrubline/Scrubline.conf");
    }

    void cleanup() { m_home.reset(); }

    void exportMatchesTheGoldenFile() {
        auto settings = openStore();
        setKnownState(*settings);
        const auto exported = settings->exportSettings();
        QVERIFY(exported.has_value());
        QCOMPARE(*exported,
                 readFile(QStringLiteral(SCRUBLINE_TEST_DATA_DIR "/settings-export.json")));
    }

    void exportOfDefaultsIsAValidFile() {
        auto settings = openStore();
        const auto exported = settings->exportSettings();
        QVERIFY(exported.has_value());
        QJsonParseError error{};
        const QJsonObject object = QJsonDocument::fromJson(*exported, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(object.keys(),
                 (QStringList{"disabledApps", "enabledApps", "holdToSeek", "launchAtLogin",
                              "seekActions", "showHUDOverlay", "version"}));
        QCOMPARE(object.value("version").toInt(), 1);
        QCOMPARE(object.value("showHUDOverlay").toBool(), true);
        QCOMPARE(object.value("holdToSeek").toBool(), true);
        QVERIFY(exported->contains("\"disabledApps\" : [],"));
        // The top-level keys are written in ascending order.
        QVERIFY(exported->indexOf("\"disabledApps\"") < exported->indexOf("\"enabledApps\""));
        QVERIFY(exported->indexOf("\"showHUDOverlay\"") < exported->indexOf("\"version\""));
    }

    void exportThenImportGivesTheSameSettings() {
        auto settings = openStore();
        setKnownState(*settings);
        const QList<MediaApp> enabled = settings->enabledApps();
        const MediaAppSet disabled = settings->disabledApps();
        const QList<SeekAction> actions = settings->seekActions();
        const QByteArray file = *settings->exportSettings();

        settings->resetToDefaults();
        QVERIFY(settings->enabledApps() != enabled);
        QVERIFY(settings->importSettings(file));
        QCOMPARE(settings->enabledApps(), enabled);
        QCOMPARE(settings->disabledApps(), disabled);
        QCOMPARE(settings->seekActions(), actions);
        QCOMPARE(settings->launchAtLogin(), true);
        QCOMPARE(settings->showHUDOverlay(), false);
        QCOMPARE(settings->holdToSeek(), false);
        QCOMPARE(*settings->exportSettings(), file);
    }

    void importSavesAndRegistersAtOnce() {
        auto settings = openStore();
        int calls = 0;
        settings->setOnSeekActionsChanged([&calls] { ++calls; });
        QJsonObject file = validFile();
        file["launchAtLogin"] = true;
        QVERIFY(settings->importSettings(bytesOf(file)));
        QCOMPARE(calls, 1);
        QCOMPARE(settings->enabledApps(),
                 (QList<MediaApp>{MediaApp::safariYouTube, MediaApp::spotify, MediaApp::appleMusic,
                                  MediaApp::chromiumYouTube}));
        QCOMPARE(settings->disabledApps(), MediaAppSet{MediaApp::spotify});
        QCOMPARE(settings->seekActions().size(), 1);
        QCOMPARE(settings->seekActions().first().seconds, 15.0);
        QCOMPARE(settings->launchAtLogin(), true);
        QCOMPARE(settings->showHUDOverlay(), false);

        const auto stored = settingsOnDisk(m_path);
        QCOMPARE(stored->value(AppSettings::Keys::enabledApps).toByteArray(),
                 QByteArray(R"(["safariYouTube","spotify","appleMusic","chromeYouTube"])"));
        QCOMPARE(stored->value(AppSettings::Keys::disabledApps).toByteArray(),
                 QByteArray(R"(["spotify"])"));
        // The login item follows the imported setting.
        QVERIFY(QFile::exists(XdgAutostartLoginItem::entryPath()));

        QTRY_COMPARE(calls, 2);
        QVERIFY(settingsOnDisk(m_path)
                    ->value(AppSettings::Keys::seekActions)
                    .toByteArray()
                    .contains("\"id\":\"3F2504E0-4F89-41D3-9A0C-0305E82C3301\""));

        file["launchAtLogin"] = false;
        QVERIFY(settings->importSettings(bytesOf(file)));
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
    }

    void missingOverlaySettingTurnsTheOverlayOn_data() {
        QTest::addColumn<QJsonValue>("overlay");
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    }

    void missingOverlaySettingTurnsTheOverlayOn() {
        QFETCH(QJsonValue, overlay);
        auto settings = openStore();
        settings->setShowHUDOverlay(false);
        QJsonObject file = validFile();
        if (overlay.isUndefined()) {
            file.remove("showHUDOverlay");
        } else {
            file["showHUDOverlay"] = overlay;
        }
        QVERIFY(settings->importSettings(bytesOf(file)));
        QCOMPARE(settings->showHUDOverlay(), true);
    }

    void missingHoldSettingKeepsTheDefault_data() {
        QTest::addColumn<QJsonValue>("hold");
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    }

    void missingHoldSettingKeepsTheDefault() {
        QFETCH(QJsonValue, hold);
        auto settings = openStore();
        settings->setHoldToSeek(false);
        QJsonObject file = validFile();
        if (hold.isUndefined()) {
            file.remove("holdToSeek");
        } else {
            file["holdToSeek"] = hold;
        }
        QVERIFY(settings->importSettings(bytesOf(file)));
        QCOMPARE(settings->holdToSeek(), true);
    }

    void holdSettingIsImported() {
        auto settings = openStore();
        QJsonObject file = validFile();
        file["holdToSeek"] = false;
        QVERIFY(settings->importSettings(bytesOf(file)));
        QCOMPARE(settings->holdToSeek(), false);
        QCOMPARE(settingsOnDisk(m_path)->value(AppSettings::Keys::holdToSeek).toBool(), false);
    }

    void anyWholeVersionIsAccepted_data() {
        QTest::addColumn<QByteArray>("version");
        QTest::newRow("99") << QByteArray("99");
        QTest::newRow("0") << QByteArray("0");
        QTest::newRow("-3") << QByteArray("-3");
        QTest::newRow("2.0") << QByteArray("2.0");
        QTest::newRow("1e2") << QByteArray("1e2");
    }

    void anyWholeVersionIsAccepted() {
        QFETCH(QByteArray, version);
        auto settings = openStore();
        QByteArray file = bytesOf(validFile());
        QVERIFY(file.contains("\"version\": 1"));
        file.replace("\"version\": 1", "\"version\": " + version);
        QVERIFY(settings->importSettings(file));
        QCOMPARE(settings->disabledApps(), MediaAppSet{MediaApp::spotify});
    }

    void partialAppListHoldsUntilTheNextStart() {
        {
            auto settings = openStore();
            QJsonObject file = validFile();
            file["enabledApps"] = QJsonArray{"spotify"};
            QVERIFY(settings->importSettings(bytesOf(file)));
            QCOMPARE(settings->enabledApps(), QList<MediaApp>{MediaApp::spotify});
            QCOMPARE(settings->activeApps(), QList<MediaApp>{});
        }
        auto restarted = openStore();
        QCOMPARE(restarted->enabledApps(),
                 (QList<MediaApp>{MediaApp::spotify, MediaApp::appleMusic,
                                  MediaApp::chromiumYouTube, MediaApp::safariYouTube}));
    }

    // A file written on a Mac names Apple Music and Safari, which no Linux player stands for.
    // It imports on Linux as it is, shows and tries only the apps Linux offers, and exports and
    // imports again unchanged.
    void aMacFileImportsWhereItsAppsAreNotOfferedAndGoesBackUnchanged() {
        const QList<MediaApp> linuxApps{MediaApp::spotify, MediaApp::chromiumYouTube,
                                        MediaApp::firefox, MediaApp::otherPlayers};
        const QByteArray macFile =
            readFile(QStringLiteral(SCRUBLINE_TEST_DATA_DIR "/settings-export.json"));
        QVERIFY(macFile.contains("\"appleMusic\"") && macFile.contains("\"safariYouTube\""));
        QByteArray exported;
        {
            const auto owned = appSettingsAt(m_path, linuxApps);
            AppSettings& settings = *owned;
            QCOMPARE(settings.enabledApps(), linuxApps);
            QVERIFY(settings.importSettings(macFile));
            QCOMPARE(settings.enabledApps(),
                     (QList<MediaApp>{MediaApp::chromiumYouTube, MediaApp::spotify,
                                      MediaApp::appleMusic, MediaApp::safariYouTube}));
            QCOMPARE(settings.activeApps(),
                     (QList<MediaApp>{MediaApp::chromiumYouTube, MediaApp::spotify}));
            exported = *settings.exportSettings();
            QCOMPARE(exported, macFile);
            QVERIFY(settings.importSettings(exported));
            QCOMPARE(*settings.exportSettings(), macFile);
        }
        // At the next start the apps Linux offers that the file left out are appended.
        const auto owned = appSettingsAt(m_path, linuxApps);
        AppSettings& restarted = *owned;
        QCOMPARE(
            restarted.enabledApps(),
            (QList<MediaApp>{MediaApp::chromiumYouTube, MediaApp::spotify, MediaApp::appleMusic,
                             MediaApp::safariYouTube, MediaApp::firefox, MediaApp::otherPlayers}));
        QCOMPARE(restarted.activeApps(),
                 (QList<MediaApp>{MediaApp::chromiumYouTube, MediaApp::spotify, MediaApp::firefox,
                                  MediaApp::otherPlayers}));
        // Back on a Mac, the file read from there is taken with the Linux apps it now names.
        const QByteArray fromLinux = *restarted.exportSettings();
        auto mac = openStore();
        QVERIFY(mac->importSettings(fromLinux));
        QCOMPARE(mac->enabledApps(), restarted.enabledApps());
        QCOMPARE(mac->activeApps(),
                 (QList<MediaApp>{MediaApp::chromiumYouTube, MediaApp::spotify}));
        QCOMPARE(*mac->exportSettings(), fromLinux);
    }

    void importKeepsDuplicatesAndFoldsTheSwitchedOffSet() {
        auto settings = openStore();
        QJsonObject file = validFile();
        file["enabledApps"] = QJsonArray{"spotify", "spotify"};
        file["disabledApps"] = QJsonArray{"appleMusic", "appleMusic", "spotify"};
        QVERIFY(settings->importSettings(bytesOf(file)));
        QCOMPARE(settings->enabledApps(), (QList<MediaApp>{MediaApp::spotify, MediaApp::spotify}));
        QCOMPARE(settings->disabledApps(), (MediaAppSet{MediaApp::spotify, MediaApp::appleMusic}));
    }

    void lenientWhereTheFormatAllowsIt() {
        auto settings = openStore();
        QJsonObject file = validFile();
        file["comment"] = "written by hand";
        file["feedbackDuration"] = 9;
        QVERIFY(settings->importSettings(QByteArray("\xEF\xBB\xBF") + bytesOf(file)));
        QCOMPARE(settings->feedbackDuration(), 2.5);
        QCOMPARE(settings->disabledApps(), MediaAppSet{MediaApp::spotify});
    }

    void badFilesChangeNothing_data() { SettingsFiles::addInvalidFileRows(); }

    void badFilesChangeNothing() {
        QFETCH(QByteArray, bytes);
        auto record = std::make_shared<RecordingLoginItem::Record>();
        auto settings = openStore(std::make_unique<RecordingLoginItem>(record));
        setKnownState(*settings);
        QTest::qWait(AppSettings::saveDebounceMs + 100);
        record->calls.clear();
        int calls = 0;
        settings->setOnSeekActionsChanged([&calls] { ++calls; });
        const QByteArray before = *settings->exportSettings();
        const QByteArray onDiskBefore = readFile(m_path);

        QVERIFY(!settings->importSettings(bytes));
        QCOMPARE(*settings->exportSettings(), before);
        QTest::qWait(AppSettings::saveDebounceMs + 100);
        QCOMPARE(calls, 0);
        QCOMPARE(readFile(m_path), onDiskBefore);
        QCOMPARE(record->calls, QList<bool>{});
    }
};

QTEST_GUILESS_MAIN(TestSettingsFile)
#include "tst_settingsfile.moc"
