// The settings file: what AppSettings writes for export and reads back on import.
#include "AppSettings.h"
#include "SettingsCoding.h"
#include "settings/LaunchAtLogin.h"

#include <QJsonObject>

#include <cmath>

namespace {

constexpr std::int64_t fileVersion = 1;

// The file's contents, decoded in full before anything is applied.
struct ExportData {
    QList<MediaApp> enabledApps;
    QList<MediaApp> disabledApps;
    QList<SeekAction> seekActions;
    bool launchAtLogin;
    std::optional<bool> showHUDOverlay;
    // Files written before holding a hotkey could scrub have none.
    std::optional<bool> holdToSeek;
};

bool isInteger(const QJsonValue& value) {
    if (!value.isDouble()) {
        return false;
    }
    const double number = value.toDouble();
    return number == std::trunc(number) && number >= -0x1p63 && number < 0x1p63;
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
    auto enabledApps = SettingsCoding::decodeApps(object.value(QLatin1StringView("enabledApps")));
    auto disabledApps = SettingsCoding::decodeApps(object.value(QLatin1StringView("disabledApps")));
    auto seekActions =
        SettingsCoding::decodeSeekActions(object.value(QLatin1StringView("seekActions")));
    const QJsonValue launchAtLogin = object.value(QLatin1StringView("launchAtLogin"));
    const QJsonValue showHUDOverlay = object.value(QLatin1StringView("showHUDOverlay"));
    const bool overlayAbsent = showHUDOverlay.isUndefined() || showHUDOverlay.isNull();
    const QJsonValue holdToSeek = object.value(QLatin1StringView("holdToSeek"));
    const bool holdAbsent = holdToSeek.isUndefined() || holdToSeek.isNull();
    if (!enabledApps || !disabledApps || !seekActions || !launchAtLogin.isBool() ||
        (!overlayAbsent && !showHUDOverlay.isBool()) || (!holdAbsent && !holdToSeek.isBool())) {
        return std::nullopt;
    }
    return ExportData{std::move(*enabledApps),
                      std::move(*disabledApps),
                      std::move(*seekActions),
                      launchAtLogin.toBool(),
                      overlayAbsent ? std::nullopt : std::optional(showHUDOverlay.toBool()),
                      holdAbsent ? std::nullopt : std::optional(holdToSeek.toBool())};
}

} // namespace

std::optional<QByteArray> AppSettings::exportSettings() const {
    const OrderedJson file = OrderedJson::Object{
        {QStringLiteral("version"), fileVersion},
        {QStringLiteral("enabledApps"), SettingsCoding::encodeApps(m_enabledApps)},
        {QStringLiteral("disabledApps"), SettingsCoding::encodeApps(m_disabledApps)},
        {QStringLiteral("seekActions"), SettingsCoding::encodeSeekActions(m_seekActions)},
        {QStringLiteral("launchAtLogin"), launchAtLogin()},
        {QStringLiteral("showHUDOverlay"), showHUDOverlay()},
        {QStringLiteral("holdToSeek"), holdToSeek()},
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
    setDisabledApps(MediaAppSet(file->disabledApps.begin(), file->disabledApps.end()));
    setSeekActions(std::move(file->seekActions));
    setLaunchAtLogin(file->launchAtLogin);
    setShowHUDOverlay(file->showHUDOverlay.value_or(true));
    setHoldToSeek(file->holdToSeek.value_or(true));
    LaunchAtLogin::setEnabled(file->launchAtLogin);
    if (m_onSeekActionsChanged) {
        m_onSeekActionsChanged();
    }
    return true;
}
