#include "SettingsFiles.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QString>
#include <QtTest>

namespace SettingsFiles {

QJsonObject validFile() {
    return QJsonDocument::fromJson(R"({
        "version": 1,
        "enabledApps": ["safariYouTube", "spotify", "appleMusic", "chromeYouTube"],
        "disabledApps": ["spotify"],
        "seekActions": [{"id": "3F2504E0-4F89-41D3-9A0C-0305E82C3301", "direction": "forward",
                         "seconds": 15, "keyCode": 3, "carbonModifiers": 256}],
        "launchAtLogin": false,
        "showHUDOverlay": false
    })")
        .object();
}

QByteArray bytesOf(const QJsonObject& object) {
    return QJsonDocument(object).toJson();
}

void addInvalidFileRows() {
    QTest::addColumn<QByteArray>("bytes");
    const auto with = [](const char* key, const QJsonValue& value) {
        QJsonObject file = validFile();
        file[QLatin1StringView(key)] = value;
        return bytesOf(file);
    };
    const auto without = [](const char* key) {
        QJsonObject file = validFile();
        file.remove(QLatin1StringView(key));
        return bytesOf(file);
    };
    const auto actionWith = [&with](const char* key, const QJsonValue& value) {
        QJsonObject action = validFile()["seekActions"].toArray().first().toObject();
        action[QLatin1StringView(key)] = value;
        return with("seekActions", QJsonArray{action});
    };

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("not JSON") << QByteArray("version=1");
    QTest::newRow("array") << QByteArray("[1, 2]");
    QTest::newRow("string") << QByteArray("\"settings\"");
    QTest::newRow("number") << QByteArray("1");
    QTest::newRow("truncated") << bytesOf(validFile()).chopped(3);
    QTest::newRow("trailing garbage") << bytesOf(validFile()) + "]";
    for (const char* key :
         {"version", "enabledApps", "disabledApps", "seekActions", "launchAtLogin"}) {
        QTest::addRow("without %s", key) << without(key);
        QTest::addRow("null %s", key) << with(key, QJsonValue::Null);
    }
    QTest::newRow("version as text") << with("version", "1");
    QTest::newRow("fractional version") << with("version", 1.5);
    QTest::newRow("misspelled enabled app")
        << with("enabledApps", QJsonArray{"spotify", "Spotify"});
    QTest::newRow("misspelled disabled app") << with("disabledApps", QJsonArray{"spotfy"});
    QTest::newRow("apps as object") << with("enabledApps", QJsonObject{{"spotify", true}});
    QTest::newRow("launchAtLogin as number") << with("launchAtLogin", 1);
    QTest::newRow("launchAtLogin as text") << with("launchAtLogin", "true");
    QTest::newRow("showHUDOverlay as text") << with("showHUDOverlay", "false");
    QTest::newRow("holdToSeek as number") << with("holdToSeek", 0);
    QTest::newRow("seekActions as object") << with("seekActions", QJsonObject{});
    QTest::newRow("unknown direction") << actionWith("direction", "sideways");
    QTest::newRow("keyCode out of range") << actionWith("keyCode", 70000);
    QTest::newRow("seconds as text") << actionWith("seconds", "10");
    QTest::newRow("bad id") << actionWith("id", "not-a-uuid");
    QTest::newRow("invalid UTF-8")
        << bytesOf(validFile()).replace("safariYouTube", "safari\xff\xfeYouTube");
    QTest::newRow("UTF-16") << QByteArray(
        reinterpret_cast<const char*>(QString::fromUtf8(bytesOf(validFile())).utf16()),
        bytesOf(validFile()).size() * 2);
    QTest::newRow("deeply nested")
        << QByteArray("{\"version\":") + QByteArray(200000, '[') + QByteArray(200000, ']') + "}";
    QByteArray huge = bytesOf(validFile());
    huge.insert(1, "\"padding\":\"" + QByteArray(2 * 1024 * 1024, 'x') + "\",");
    QTest::newRow("huge") << huge;
}

} // namespace SettingsFiles
