#include "platform/Platform.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/TempHome.h"

#include <QDir>
#include <QFile>
#include <QtTest>

// Where the Linux build keeps its settings, and how it checks for a display.
class TestLinuxPlatform : public QObject {
    Q_OBJECT

private slots:
    void defaultsLiveInTheXdgConfigFolder() {
        TempHome home;
        QCOMPARE(Platform::openSettingsStore()->fileName(),
                 home.configPath() + QStringLiteral("/Scrubline/Scrubline.conf"));
        QCOMPARE(Platform::openSettingsStore()->format(), QSettings::IniFormat);
        const QString custom = home.path() + QStringLiteral("/elsewhere");
        qputenv("XDG_CONFIG_HOME", custom.toLocal8Bit());
        QCOMPARE(Platform::openSettingsStore()->fileName(),
                 custom + QStringLiteral("/Scrubline/Scrubline.conf"));
        qunsetenv("XDG_CONFIG_HOME");
        QCOMPARE(Platform::openSettingsStore()->fileName(),
                 home.path() + QStringLiteral("/.config/Scrubline/Scrubline.conf"));
    }

    // The store as the application shell makes it writes the standard file.
    void theStandardStoreWritesTheStandardFile() {
        TempHome home;
        const QString file = home.configPath() + QStringLiteral("/Scrubline/Scrubline.conf");
        AppSettings settings(std::make_unique<SettingsStore>(Platform::openSettingsStore()),
                             Platform::profile().mediaApps);
        QVERIFY(!QFile::exists(file));
        settings.setEnabledApps({MediaApp::appleMusic});
        QTRY_VERIFY(QFile::exists(file));
        QSettings stored(file, QSettings::IniFormat);
        QCOMPARE(stored.value(AppSettings::Keys::enabledApps).toByteArray(),
                 QByteArray(R"(["appleMusic"])"));
    }

    // The PC desktops' habits: combinations written with words, the keys as the toolkit reports
    // them, and only the apps whose players speak MPRIS.
    void theProfileIsThatOfALinuxDesktop() {
        const PlatformProfile profile = Platform::profile();
        QCOMPARE(profile.modifierStyle, KeyTable::ModifierStyle::words);
        QVERIFY(!profile.toolkitSwapsControlAndCommand);
        QCOMPARE(profile.mediaApps, (QList<MediaApp>{MediaApp::spotify, MediaApp::chromiumYouTube,
                                                     MediaApp::firefox, MediaApp::otherPlayers}));
    }

    // Every Chromium-based browser publishes every page that plays: the app is the browser's,
    // named "Chrome" in every list and message, and its permission row too.
    void theChromeAppIsNamedAfterTheBrowser() {
        QCOMPARE(Platform::profile().browserNaming, MediaApp::BrowserNaming::byBrowser);
        QStringList names;
        for (const PermissionItem& item : Platform::permissionItems()) {
            names << item.targetApp;
        }
        QCOMPARE(names, (QStringList{QStringLiteral("Spotify"), QStringLiteral("Chrome"),
                                     QStringLiteral("Firefox"), QStringLiteral("Other players")}));
    }

    void displayProblems_data() {
        QTest::addColumn<QByteArray>("platform");
        QTest::addColumn<QByteArray>("display");
        QTest::addColumn<QByteArray>("wayland");
        QTest::addColumn<QString>("problem");
        QTest::newRow("nothing") << QByteArray() << QByteArray() << QByteArray()
                                 << "no display: DISPLAY is not set (Scrubline needs an X11 or "
                                    "Wayland session)";
        QTest::newRow("no X server") << QByteArray() << QByteArray(":4711") << QByteArray()
                                     << "cannot open display \":4711\" (is an X server running "
                                        "and may this user connect to it?)";
        QTest::newRow("forced xcb, no server")
            << QByteArray("xcb") << QByteArray(":4711") << QByteArray("wayland-0")
            << "cannot open display \":4711\" (is an X "
               "server running and may this user connect to "
               "it?)";
        QTest::newRow("offscreen")
            << QByteArray("offscreen") << QByteArray() << QByteArray() << QString();
        QTest::newRow("wayland only")
            << QByteArray() << QByteArray() << QByteArray("wayland-0") << QString();
    }

    void displayProblems() {
        QFETCH(QByteArray, platform);
        QFETCH(QByteArray, display);
        QFETCH(QByteArray, wayland);
        QFETCH(QString, problem);
        const auto set = [](const char* name, const QByteArray& value) {
            if (value.isEmpty()) {
                qunsetenv(name);
            } else {
                qputenv(name, value);
            }
        };
        set("QT_QPA_PLATFORM", platform);
        set("DISPLAY", display);
        set("WAYLAND_DISPLAY", wayland);
        QCOMPARE(Platform::displayProblem(), problem);
    }
};

QTEST_GUILESS_MAIN(TestLinuxPlatform)
#include "tst_linuxplatform.moc"
