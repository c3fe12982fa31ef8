// The settings file: what AppSettings writes for export and reads back on import.
#include "AppSettings.h"
#include "SettingsCoding.h"
#include "SettingsKeys.h"

#include <QJsonObject>

#include <cmath>

namespace {

constexpr std::int64_t fileVersion = 1;

// The file's contents, decoded in full before anything is applied.
struct ExportData {
    QList<MediaApp> enabledApps;
    MediaAppSet disabledApps;
    QList<SeekAction> seekActions;
    // Each switch the file holds, or its default where an older file has none.
    bool launchAtLogin;
    bool showHUDOverlay;
    bool holdToSeek;
};

bool isInteger(const QJsonValue& value) {
    if (!value.isDouble()) {
        return false;
    }
    const double number = value.toDouble();
    return number == std::trunc(number) && number >= -0x1p63 && number < 0x1p63;
}

// The switch's value in the file, its default where the file may leave it out, or nothing
// when the file holds something else or leaves out what it must hold.
std::optional<bool> decodeSwitch(const QJsonObject& object, const Setting<bool>& setting) {
    const QJsonValue value = object.value(setting.field);
    if (value.isBool()) {
        return value.toBool();
    }
    const bool absent = value.isUndefined() || value.isNull();
    if (absent && setting.inFile == FileField::optional) {
        return setting.defaultValue;
    }
    return std::nullopt;
}

std::optional<ExportData> decode(const QByteArray& bytes) {
    const auto document = SettingsCoding::parse(bytes);
    if (!document || !document->isObject()) {
        return std::nullopt;
    }
    const QJsonObject object = document->toObject();
    // Any whole number is accepted as the version; later versions are read like this one.
    if (!isInteger(object.value(QLatin1StringView("version")))) {
        return std::nullopt;
    }
    auto enabledApps =
        SettingsKeys::enabledApps.decode(object.value(SettingsKeys::enabledApps.field));
    auto disabledApps =
        SettingsKeys::disabledApps.decode(object.value(SettingsKeys::disabledApps.field));
    auto seekActions =
        SettingsKeys::seekActions.decode(object.value(SettingsKeys::seekActions.field));
    const auto launchAtLogin = decodeSwitch(object, SettingsKeys::launchAtLogin);
    const auto showHUDOverlay = decodeSwitch(object, SettingsKeys::showHUDOverlay);
    const auto holdToSeek = decodeSwitch(object, SettingsKeys::holdToSeek);
    if (!enabledApps || !disabledApps || !seekActions || !launchAtLogin || !showHUDOverlay ||
        !holdToSeek) {
        return std::nullopt;
    }
    return ExportData{std::move(*enabledApps), std::move(*disabledApps), std::move(*seekActions),
                      *launchAtLogin,          *showHUDOverlay,          *holdToSeek};
}

} // namespace

std::optional<QByteArray> AppSettings::exportSettings() const {
    const OrderedJson file = OrderedJson::Object{
        {QStringLiteral("version"), fileVersion},
        {SettingsKeys::enabledApps.field, SettingsKeys::enabledApps.encode(m_enabledApps)},
        {SettingsKeys::disabledApps.field, SettingsKeys::disabledApps.encode(m_disabledApps)},
        {SettingsKeys::seekActions.field, SettingsKeys::seekActions.encode(m_seekActions)},
        {SettingsKeys::launchAtLogin.field, launchAtLogin()},
        {SettingsKeys::showHUDOverlay.field, showHUDOverlay()},
        {SettingsKeys::holdToSeek.field, holdToSeek()},
    };
    return file.serialize(OrderedJson::Style::PrettySorted);
}

bool AppSettings::importSettings(const QByteArray& bytes) {
    auto file = decode(bytes);
    if (!file) {
        return false;
    }
    // Taken as written: apps the file leaves out stay out until the next start appends them.
    setEnabledApps(std::move(file->enabledApps));
    setDisabledApps(std::move(file->disabledApps));
    setSeekActions(std::move(file->seekActions));
    setLaunchAtLogin(file->launchAtLogin);
    setShowHUDOverlay(file->showHUDOverlay);
    setHoldToSeek(file->holdToSeek);
    // One write of the file for the whole import, now rather than on the next turn of the event
    // loop: whatever the user does next, the import is on disk.
    m_defaults->flush();
    if (m_onSeekActionsChanged) {
        m_onSeekActionsChanged();
    }
    return true;
}
