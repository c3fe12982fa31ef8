#include "platform/linux/XdgAutostartLoginItem.h"
#include "settings/AppSettings.h"
#include "support/LogCapture.h"
#include "support/OnDisk.h"
#include "support/ReferenceApps.h"
#include "support/TempHome.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace {

const QString generalChannel = QStringLiteral("com.scrubline.app.general");

QList<MediaApp> apps(std::initializer_list<MediaApp> list) {
    return QList<MediaApp>(list);
}

} // namespace

class TestAppSettings : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    QString m_path;

    QString settingsPath() const { return m_path; }

    std::unique_ptr<AppSettings> openStore(std::unique_ptr<LoginItem> loginItem = nullptr) const {
        return appSettingsAt(m_path, referenceApps(), std::move(loginItem));
    }

    // What is on disk under `key`, read by a settings object of its own.
    QVariant stored(const QString& key) const { return settingsOnDisk(m_path)->value(key); }

    void store(const QString& key, const QVariant& value) const {
        QSettings file(m_path, QSettings::IniFormat);
        file.setValue(key, value);
        file.sync();
    }

    QStringList storedKeys() const { return settingsOnDisk(m_path)->allKeys(); }

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        // A folder that does not exist yet, as on a first start.
        m_path = m_home->configPath() + QStringLiteral("/Scrubline/Scrubline.conf");
    }

    void cleanup() { m_home.reset(); }

    void firstLaunchUsesDefaultsAndWritesNothing() {
        auto settings = openStore();
        const auto allFour = apps({MediaApp::spotify, MediaApp::appleMusic,
                                   MediaApp::chromiumYouTube, MediaApp::safariYouTube});
        QCOMPARE(settings->enabledApps(), allFour);
        QVERIFY(settings->disabledApps().empty());
        QCOMPARE(settings->activeApps(), allFour);
        QCOMPARE(settings->seekActions(), SeekAction::defaults());
        QCOMPARE(settings->firstForwardSeconds(), SeekAction::defaults().at(0).seconds);
        QCOMPARE(settings->firstBackwardSeconds(), SeekAction::defaults().at(1).seconds);
        QCOMPARE(settings->launchAtLogin(), false);
        QCOMPARE(settings->feedbackDuration(), 2.5);
        QCOMPARE(settings->showHUDOverlay(), true);
        QCOMPARE(settings->holdToSeek(), true);

        QTest::qWait(AppSettings::saveDebounceMs + 200);
        QVERIFY(!QFile::exists(settingsPath()));

        settings->setShowHUDOverlay(false);
        QTRY_VERIFY(QFile::exists(settingsPath()));
        QCOMPARE(storedKeys(), QStringList{QStringLiteral("showHUDOverlay")});
    }

    void storedOrderIsCompletedAndWrittenBack() {
        store(AppSettings::Keys::enabledApps, QByteArray(R"(["safariYouTube","spotify"])"));
        auto settings = openStore();
        QCOMPARE(settings->enabledApps(), apps({MediaApp::safariYouTube, MediaApp::spotify,
                                                MediaApp::appleMusic, MediaApp::chromiumYouTube}));
        QTRY_COMPARE(stored(AppSettings::Keys::enabledApps).toByteArray(),
                     QByteArray(R"(["safariYouTube","spotify","appleMusic","chromeYouTube"])"));
    }

    void storedDuplicatesAreKept() {
        store(AppSettings::Keys::enabledApps, QByteArray(R"(["spotify","spotify"])"));
        auto settings = openStore();
        QCOMPARE(settings->enabledApps(),
                 apps({MediaApp::spotify, MediaApp::spotify, MediaApp::appleMusic,
                       MediaApp::chromiumYouTube, MediaApp::safariYouTube}));
    }

    void storedDisabledAppsAreLoadedAndWrittenBack() {
        store(AppSettings::Keys::disabledApps, QByteArray(R"(["safariYouTube","spotify"])"));
        auto settings = openStore();
        QCOMPARE(settings->disabledApps(),
                 (MediaAppSet{MediaApp::spotify, MediaApp::safariYouTube}));
        QTRY_COMPARE(stored(AppSettings::Keys::disabledApps).toByteArray(),
                     QByteArray(R"(["spotify","safariYouTube"])"));
    }

    void storedSeekActionsAreLoadedAndSavedAgainAfterTheDebounce() {
        const SeekAction action(
            QUuid::fromString(QStringLiteral("0F8FAD5B-D9CB-469F-A165-70867728950E")),
            SeekAction::Direction::backward, 5.0, 0, CarbonModifier::shift);
        const QByteArray bytes = R"([{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E",)"
                                 R"("direction":"backward","seconds":5,"keyCode":0,)"
                                 R"("carbonModifiers":512}])";
        // Stored with other key order, spacing and case: what is written back is canonical.
        store(
            AppSettings::Keys::seekActions,
            QByteArray(R"([ {"carbonModifiers":512,"keyCode":0,"seconds":5.0,)"
                       R"("direction":"backward","id":"0f8fad5b-d9cb-469f-a165-70867728950e"} ])"));
        auto settings = openStore();
        int calls = 0;
        settings->setOnSeekActionsChanged([&calls] { ++calls; });
        QCOMPARE(settings->seekActions(), QList<SeekAction>{action});
        QCOMPARE(calls, 0);
        QTRY_COMPARE(calls, 1);
        QCOMPARE(stored(AppSettings::Keys::seekActions).toByteArray(), bytes);
    }

    void undecodableDataIsLoggedAndKept_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("message");
        const struct {
            QString key;
            const char* name;
        } keys[] = {{AppSettings::Keys::enabledApps, "enabledApps"},
                    {AppSettings::Keys::disabledApps, "disabledApps"},
                    {AppSettings::Keys::seekActions, "seekActions"}};
        const QList<QPair<const char*, QByteArray>> payloads = {
            {"not JSON", QByteArray("not json at all")},
            {"object instead of array", QByteArray(R"({"spotify":true})")},
            {"unknown member", QByteArray(R"(["spotify","winamp"])")},
            {"number member", QByteArray("[1]")},
            {"invalid UTF-8", QByteArray("[\"sp\xff\xfeotify\"]")},
            {"truncated", QByteArray(R"(["spotify")")},
        };
        for (const auto& key : keys) {
            for (const auto& [what, data] : payloads) {
                QTest::addRow("%s, %s", key.name, what)
                    << key.key << data
                    << QStringLiteral("Failed to decode %1 from UserDefaults")
                           .arg(QLatin1StringView(key.name));
            }
        }
    }

    void undecodableDataIsLoggedAndKept() {
        QFETCH(QString, key);
        QFETCH(QByteArray, data);
        QFETCH(QString, message);
        store(key, data);
        LogCapture log;
        auto settings = openStore();
        QCOMPARE(log.count(generalChannel, QtCriticalMsg, message), 1);
        QCOMPARE(settings->enabledApps().size(), 4);
        QCOMPARE(settings->enabledApps().first(), MediaApp(MediaApp::spotify));
        QVERIFY(settings->disabledApps().empty());
        QCOMPARE(settings->seekActions(), SeekAction::defaults());
        QTest::qWait(AppSettings::saveDebounceMs + 150);
        QCOMPARE(stored(key).toByteArray(), data);
    }

    void noForwardActionGivesTenSeconds() {
        auto settings = openStore();
        settings->setSeekActions({SeekAction(SeekAction::Direction::playPause, 3.0, 49, 0),
                                  SeekAction(SeekAction::Direction::backward, 5.0, 123, 0),
                                  SeekAction(SeekAction::Direction::backward, 30.0, 123, 0)});
        QCOMPARE(settings->firstForwardSeconds(), 10.0);
        QCOMPARE(settings->firstBackwardSeconds(), 5.0);
        settings->setSeekActions({SeekAction(SeekAction::Direction::forward, 15.0, 124, 0)});
        QCOMPARE(settings->firstForwardSeconds(), 15.0);
        QCOMPARE(settings->firstBackwardSeconds(), 10.0);
    }

    void burstOfEditsSavesOnceAfterTheLast() {
        auto settings = openStore();
        QSignalSpy writes(&settings->defaults(), &SettingsStore::written);
        int calls = 0;
        settings->setOnSeekActionsChanged([&calls] { ++calls; });
        const auto seekWrites = [&writes] {
            return std::count_if(writes.cbegin(), writes.cend(), [](const QList<QVariant>& args) {
                return args.at(0).toString() == AppSettings::Keys::seekActions;
            });
        };

        QList<SeekAction> actions = SeekAction::defaults();
        QElapsedTimer sinceLastEdit;
        for (double seconds : {11.0, 12.0, 13.0}) {
            actions[0].seconds = seconds;
            settings->setSeekActions(actions);
            sinceLastEdit.start();
            QTest::qWait(80);
        }
        QCOMPARE(seekWrites(), 0);
        QCOMPARE(calls, 0);
        QTRY_COMPARE(calls, 1);
        QVERIFY2(sinceLastEdit.elapsed() >= AppSettings::saveDebounceMs,
                 qPrintable(QString::number(sinceLastEdit.elapsed())));
        QCOMPARE(seekWrites(), 1);
        QTest::qWait(AppSettings::saveDebounceMs + 200);
        QCOMPARE(seekWrites(), 1);
        QCOMPARE(calls, 1);
        QVERIFY(stored(AppSettings::Keys::seekActions).toByteArray().contains("\"seconds\":13,"));
    }

    void savedBeforeTheCallbackRuns() {
        auto settings = openStore();
        QByteArray onDiskWhenCalled;
        settings->setOnSeekActionsChanged(
            [&] { onDiskWhenCalled = stored(AppSettings::Keys::seekActions).toByteArray(); });
        settings->setSeekActions({SeekAction(SeekAction::Direction::forward, 7.5, 1, 0)});
        QTRY_VERIFY(!onDiskWhenCalled.isEmpty());
        QVERIFY(onDiskWhenCalled.contains("\"seconds\":7.5,"));
    }

    // At the end of the program: the edit still waiting out its debounce is written at once,
    // and only once; the hotkeys are not called back, as they are going.
    void aPendingSaveIsWrittenAtTheEnd() {
        auto settings = openStore();
        QSignalSpy writes(&settings->defaults(), &SettingsStore::written);
        int calls = 0;
        settings->setOnSeekActionsChanged([&calls] { ++calls; });
        settings->savePendingChanges();
        QCOMPARE(writes.size(), 0);

        settings->setSeekActions({SeekAction(SeekAction::Direction::backward, 4.5, 1, 0)});
        QCOMPARE(writes.size(), 0);
        settings->savePendingChanges();
        QCOMPARE(writes.size(), 1);
        QVERIFY(stored(AppSettings::Keys::seekActions).toByteArray().contains("\"seconds\":4.5,"));
        QTest::qWait(AppSettings::saveDebounceMs + 200);
        QCOMPARE(writes.size(), 1);
        QCOMPARE(calls, 0);
    }

    void appsAreSavedAtOnce() {
        auto settings = openStore();
        // Not debounced: written with the next turn of the event loop.
        settings->setEnabledApps(apps({MediaApp::chromiumYouTube, MediaApp::spotify}));
        QTRY_COMPARE_WITH_TIMEOUT(stored(AppSettings::Keys::enabledApps).toByteArray(),
                                  QByteArray(R"(["chromeYouTube","spotify"])"),
                                  AppSettings::saveDebounceMs / 2);
        settings->setDisabledApps({MediaApp::appleMusic});
        QTRY_COMPARE_WITH_TIMEOUT(stored(AppSettings::Keys::disabledApps).toByteArray(),
                                  QByteArray(R"(["appleMusic"])"), AppSettings::saveDebounceMs / 2);
    }

    void resetRestoresEverything() {
        // A real autostart entry, which the reset has to take away again.
        auto settings = openStore(
            std::make_unique<XdgAutostartLoginItem>(QStringLiteral("/usr/bin/scrubline")));
        settings->setFeedbackDuration(4.0);
        settings->setEnabledApps(apps({MediaApp::safariYouTube}));
        settings->setDisabledApps({MediaApp::spotify});
        settings->setSeekActions({SeekAction(SeekAction::Direction::playPause, 1.0, 49, 0)});
        settings->setLaunchAtLogin(true);
        settings->setShowHUDOverlay(false);
        settings->setHoldToSeek(false);
        settings->defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
        QTest::qWait(AppSettings::saveDebounceMs + 100);
        QVERIFY(QFile::exists(XdgAutostartLoginItem::entryPath()));
        QVERIFY(settings->loginItem().isEnabled());

        int calls = 0;
        settings->setOnSeekActionsChanged([&calls] { ++calls; });
        settings->resetToDefaults();
        QCOMPARE(calls, 1);
        QCOMPARE(settings->enabledApps().size(), 4);
        QCOMPARE(settings->enabledApps(),
                 apps({MediaApp::spotify, MediaApp::appleMusic, MediaApp::chromiumYouTube,
                       MediaApp::safariYouTube}));
        QVERIFY(settings->disabledApps().empty());
        QCOMPARE(settings->seekActions(), SeekAction::defaults());
        QCOMPARE(settings->launchAtLogin(), false);
        QCOMPARE(settings->showHUDOverlay(), true);
        QCOMPARE(settings->holdToSeek(), true);
        QCOMPARE(settings->feedbackDuration(), 2.5);
        QCOMPARE(stored(AppSettings::Keys::feedbackDuration).toDouble(), 2.5);
        QCOMPARE(stored(AppSettings::Keys::showMenuBarIcon).toBool(), true);
        QCOMPARE(stored(AppSettings::Keys::enabledApps).toByteArray(),
                 QByteArray(R"(["spotify","appleMusic","chromeYouTube","safariYouTube"])"));
        QCOMPARE(stored(AppSettings::Keys::disabledApps).toByteArray(), QByteArray("[]"));
        QVERIFY(!QFile::exists(XdgAutostartLoginItem::entryPath()));
        QVERIFY(!settings->loginItem().isEnabled());
        QTRY_COMPARE(calls, 2);
        QTest::qWait(AppSettings::saveDebounceMs + 100);
        QCOMPARE(calls, 2);
    }

    void disabledAppKeepsItsPlaceInTheOrder() {
        auto settings = openStore();
        settings->setDisabledApps({MediaApp::appleMusic});
        QCOMPARE(settings->activeApps(),
                 apps({MediaApp::spotify, MediaApp::chromiumYouTube, MediaApp::safariYouTube}));
        QCOMPARE(settings->enabledApps().indexOf(MediaApp::appleMusic), 1);
        settings->setDisabledApps({});
        QCOMPARE(settings->activeApps(), settings->enabledApps());
    }

    void boundValuesPersistAndNotifyOnChange() {
        {
            auto settings = openStore();
            QSignalSpy duration(settings.get(), &AppSettings::feedbackDurationChanged);
            QSignalSpy overlay(settings.get(), &AppSettings::showHUDOverlayChanged);
            QSignalSpy login(settings.get(), &AppSettings::launchAtLoginChanged);
            QSignalSpy hold(settings.get(), &AppSettings::holdToSeekChanged);
            settings->setHoldToSeek(false);
            settings->setHoldToSeek(false);
            settings->setFeedbackDuration(3.5);
            settings->setFeedbackDuration(3.5);
            settings->setShowHUDOverlay(true); // already the default
            settings->setLaunchAtLogin(true);
            QCOMPARE(duration.count(), 1);
            QCOMPARE(overlay.count(), 0);
            QCOMPARE(login.count(), 1);
            QCOMPARE(hold.count(), 1);
            QTRY_COMPARE(stored(AppSettings::Keys::feedbackDuration).toDouble(), 3.5);
            QCOMPARE(stored(AppSettings::Keys::holdToSeek).toBool(), false);
            QCOMPARE(stored(AppSettings::Keys::showHUDOverlay).toBool(), true);
        }
        auto reopened = openStore();
        QCOMPARE(reopened->feedbackDuration(), 3.5);
        QCOMPARE(reopened->launchAtLogin(), true);
        QCOMPARE(reopened->showHUDOverlay(), true);
        QCOMPARE(reopened->holdToSeek(), false);
    }

    void unreadableBoundValuesFallBackToDefaults() {
        store(AppSettings::Keys::feedbackDuration, QStringLiteral("soon"));
        store(AppSettings::Keys::showHUDOverlay, QStringLiteral("maybe"));
        store(AppSettings::Keys::launchAtLogin, QStringLiteral("perhaps"));
        store(AppSettings::Keys::holdToSeek, QStringLiteral("sometimes"));
        auto settings = openStore();
        QCOMPARE(settings->holdToSeek(), true);
        QCOMPARE(settings->feedbackDuration(), 2.5);
        QCOMPARE(settings->showHUDOverlay(), true);
        QCOMPARE(settings->launchAtLogin(), false);
    }

    void everythingSurvivesARestart() {
        const QList<SeekAction> actions{SeekAction(SeekAction::Direction::forward, 2.5, 3, 256),
                                        SeekAction(SeekAction::Direction::playPause, 1, 49, 0)};
        {
            auto settings = openStore();
            settings->setEnabledApps(apps({MediaApp::chromiumYouTube, MediaApp::spotify,
                                           MediaApp::safariYouTube, MediaApp::appleMusic}));
            settings->setDisabledApps({MediaApp::safariYouTube});
            settings->setSeekActions(actions);
            QTest::qWait(AppSettings::saveDebounceMs + 100);
        }
        auto settings = openStore();
        QCOMPARE(settings->enabledApps(), apps({MediaApp::chromiumYouTube, MediaApp::spotify,
                                                MediaApp::safariYouTube, MediaApp::appleMusic}));
        QCOMPARE(settings->disabledApps(), MediaAppSet{MediaApp::safariYouTube});
        QCOMPARE(settings->seekActions(), actions);
    }

    void actionIdsSurviveARestartAnExportAndAnImport() {
        QList<QUuid> presetIDs;
        {
            // A first start that edits nothing writes nothing, and the next start has the
            // same ids all the same.
            auto settings = openStore();
            for (const SeekAction& action : settings->seekActions()) {
                presetIDs << action.id();
            }
        }
        QVERIFY(!QFile::exists(m_path));
        QByteArray exported;
        QList<QUuid> ids;
        {
            auto settings = openStore();
            QList<QUuid> restarted;
            for (const SeekAction& action : settings->seekActions()) {
                restarted << action.id();
            }
            QCOMPARE(restarted, presetIDs);
            // An added action gets an id of its own, which it keeps from then on.
            QList<SeekAction> actions = settings->seekActions();
            actions.append(SeekAction(SeekAction::Direction::playPause, 0, 49, 4352));
            settings->setSeekActions(actions);
            for (const SeekAction& action : actions) {
                ids << action.id();
            }
            QVERIFY(!presetIDs.contains(ids.last()));
            exported = *settings->exportSettings();
            QTest::qWait(AppSettings::saveDebounceMs + 100);
        }
        const auto idsOf = [](const AppSettings& settings) {
            QList<QUuid> found;
            for (const SeekAction& action : settings.seekActions()) {
                found << action.id();
            }
            return found;
        };
        QCOMPARE(idsOf(*openStore()), ids);
        // Imported into another copy, with another list, the ids come along.
        TempHome other;
        const auto owned = appSettingsAt(
            other.configPath() + QStringLiteral("/Scrubline/Scrubline.conf"), referenceApps());
        AppSettings& elsewhere = *owned;
        elsewhere.setSeekActions({SeekAction(SeekAction::Direction::forward, 5, 124, 256)});
        QVERIFY(elsewhere.importSettings(exported));
        QCOMPARE(idsOf(elsewhere), ids);
    }

    void malformedSettingsFileLeavesDefaults() {
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("\x01\x02[[[General\nenabledAppsOrder=@ByteArray(\n\xff\xfe=\n=====\n");
        file.close();
        LogCapture log;
        auto settings = openStore();
        QCOMPARE(settings->enabledApps().size(), 4);
        QCOMPARE(settings->seekActions(), SeekAction::defaults());
        QCOMPARE(settings->feedbackDuration(), 2.5);
        QCOMPARE(log.count(generalChannel, QtCriticalMsg,
                           QStringLiteral("Settings file %1 is malformed; defaults stay in force")
                               .arg(m_path)),
                 1);

        log.clear();
        settings->setFeedbackDuration(3.0);
        QTRY_COMPARE(stored(AppSettings::Keys::feedbackDuration).toDouble(), 3.0);
        const auto entries = log.entries();
        QVERIFY(std::none_of(entries.cbegin(), entries.cend(), [](const LogCapture::Entry& e) {
            return e.message.startsWith(QStringLiteral("Could not save"));
        }));
    }
};

QTEST_GUILESS_MAIN(TestAppSettings)
#include "tst_appsettings.moc"
