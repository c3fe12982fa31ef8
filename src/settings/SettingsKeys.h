#pragma once

#include "models/MediaApp.h"
#include "models/SeekAction.h"
#include "settings/SettingsCoding.h"
#include "utilities/OrderedJson.h"

#include <QJsonValue>
#include <QLatin1StringView>
#include <QList>

#include <array>
#include <optional>

// Whether the settings file holds a value, and whether a file may leave it out: older files
// were written before some values existed, and are still read.
enum class FileField { none, required, optional };

// A value the defaults database holds under `key`, with the one default it has everywhere.
template <typename T>
struct Setting {
    QLatin1StringView key;
    T defaultValue;
    // Its member of the settings file, empty where the file has none.
    QLatin1StringView field;
    FileField inFile;
};

// A value stored as JSON data. Its default may depend on the apps this platform offers, which
// are known only at run time.
template <typename T>
struct DataSetting {
    QLatin1StringView key;
    QLatin1StringView field;
    T (*defaultValue)(const QList<MediaApp>& offeredApps);
    OrderedJson (*encode)(const T& value);
    std::optional<T> (*decode)(const QJsonValue& value);
};

// The one table of the stored preferences: every key, its type and its default, read by the
// settings, the settings file, the reset and the tests alike.
namespace SettingsKeys {

using namespace Qt::StringLiterals;

inline constexpr Setting<bool> launchAtLogin{"launchAtLogin"_L1, false, "launchAtLogin"_L1,
                                             FileField::required};
inline constexpr Setting<double> feedbackDuration{"feedbackDuration"_L1, 2.5, {}, FileField::none};
inline constexpr Setting<bool> showHUDOverlay{"showHUDOverlay"_L1, true, "showHUDOverlay"_L1,
                                              FileField::optional};
inline constexpr Setting<bool> holdToSeek{"holdToSeek"_L1, true, "holdToSeek"_L1,
                                          FileField::optional};
// Owned by the tray icon's views, reset with everything else.
inline constexpr Setting<bool> showMenuBarIcon{"showMenuBarIcon"_L1, true, {}, FileField::none};

// The switches, in the order the reset restores them.
inline constexpr std::array<const Setting<bool>*, 4> switches{&launchAtLogin, &showHUDOverlay,
                                                              &holdToSeek, &showMenuBarIcon};

// The stored name of the order differs from its member in the file, as it always has.
inline constexpr DataSetting<QList<MediaApp>> enabledApps{
    "enabledAppsOrder"_L1, "enabledApps"_L1,
    [](const QList<MediaApp>& offeredApps) { return offeredApps; },
    [](const QList<MediaApp>& apps) { return SettingsCoding::encodeApps(apps); },
    &SettingsCoding::decodeApps};
inline constexpr DataSetting<MediaAppSet> disabledApps{
    "disabledApps"_L1, "disabledApps"_L1, [](const QList<MediaApp>&) { return MediaAppSet(); },
    [](const MediaAppSet& apps) { return SettingsCoding::encodeApps(apps); },
    &SettingsCoding::decodeAppSet};
inline constexpr DataSetting<QList<SeekAction>> seekActions{
    "seekActions"_L1, "seekActions"_L1,
    [](const QList<MediaApp>&) { return SeekAction::defaults(); },
    &SettingsCoding::encodeSeekActions, &SettingsCoding::decodeSeekActions};

} // namespace SettingsKeys
