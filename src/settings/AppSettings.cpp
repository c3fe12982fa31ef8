#include "AppSettings.h"

#include "SettingsCoding.h"
#include "platform/LoginItem.h"
#include "utilities/Logger.h"

#include <QCoreApplication>
#include <QThread>

AppSettings::AppSettings(std::unique_ptr<SettingsStore> defaults, QList<MediaApp> offeredApps,
                         std::unique_ptr<LoginItem> loginItem, QObject* parent)
    : QObject(parent)
    , m_defaults(std::move(defaults))
    , m_loginItem(std::move(loginItem))
    , m_offeredApps(std::move(offeredApps))
    , m_enabledApps(SettingsKeys::enabledApps.defaultValue(m_offeredApps))
    , m_disabledApps(SettingsKeys::disabledApps.defaultValue(m_offeredApps))
    , m_seekActions(SettingsKeys::seekActions.defaultValue(m_offeredApps)) {
    m_saveDebounce.setSingleShot(true);
    m_saveDebounce.setTimerType(Qt::PreciseTimer);
    m_saveDebounce.setInterval(saveDebounceMs);
    connect(&m_saveDebounce, &QTimer::timeout, this, [this] {
        saveSeekActions();
        // The burst of edits is over already: the file is written now, before the hotkeys are
        // registered anew from what it holds.
        m_defaults->flush();
        if (m_onSeekActionsChanged) {
            m_onSeekActionsChanged();
        }
    });
    reportUnreadableValues();
    loadEnabledApps();
    loadDisabledApps();
    loadSeekActions();
}

AppSettings::~AppSettings() = default;

template <typename T>
void AppSettings::assign(const Setting<T>& setting, T value, void (AppSettings::*changed)(T)) {
    const bool differs = value != m_defaults->value(setting);
    if constexpr (std::is_same_v<T, bool>) {
        m_defaults->setBool(setting.key, value);
    } else {
        m_defaults->setDouble(setting.key, value);
    }
    if (differs) {
        emit(this->*changed)(value);
    }
}

void AppSettings::reportUnreadableValues() const {
    // What cannot be read stays on disk as it is, in case a later version wrote it; the default
    // is in force until a change overwrites it.
    const auto report = [](QLatin1StringView key) {
        qCCritical(Log::general(), "Failed to decode %s from UserDefaults",
                   qUtf8Printable(QString(key)));
    };
    for (const Setting<bool>* setting : SettingsKeys::switches) {
        if (m_defaults->contains(setting->key) && !m_defaults->boolValue(setting->key)) {
            report(setting->key);
        }
    }
    const Setting<double>& duration = SettingsKeys::feedbackDuration;
    if (m_defaults->contains(duration.key) && !m_defaults->doubleValue(duration.key)) {
        report(duration.key);
    }
}

bool AppSettings::launchAtLogin() const {
    return m_defaults->value(SettingsKeys::launchAtLogin);
}

void AppSettings::setLaunchAtLogin(bool value) {
    // The item first, so that whoever hears of the stored preference reads the new state.
    m_loginItem.setEnabled(value);
    assign(SettingsKeys::launchAtLogin, value, &AppSettings::launchAtLoginChanged);
}

double AppSettings::feedbackDuration() const {
    return m_defaults->value(SettingsKeys::feedbackDuration);
}

void AppSettings::setFeedbackDuration(double seconds) {
    assign(SettingsKeys::feedbackDuration, seconds, &AppSettings::feedbackDurationChanged);
}

bool AppSettings::showHUDOverlay() const {
    return m_defaults->value(SettingsKeys::showHUDOverlay);
}

void AppSettings::setShowHUDOverlay(bool value) {
    assign(SettingsKeys::showHUDOverlay, value, &AppSettings::showHUDOverlayChanged);
}

bool AppSettings::holdToSeek() const {
    return m_defaults->value(SettingsKeys::holdToSeek);
}

void AppSettings::setHoldToSeek(bool value) {
    assign(SettingsKeys::holdToSeek, value, &AppSettings::holdToSeekChanged);
}

void AppSettings::setEnabledApps(QList<MediaApp> apps) {
    const bool changed = apps != m_enabledApps;
    m_enabledApps = std::move(apps);
    saveEnabledApps();
    if (changed) {
        emit enabledAppsChanged();
    }
}

void AppSettings::setDisabledApps(MediaAppSet apps) {
    const bool changed = apps != m_disabledApps;
    m_disabledApps = std::move(apps);
    saveDisabledApps();
    if (changed) {
        emit disabledAppsChanged();
    }
}

void AppSettings::setSeekActions(QList<SeekAction> actions) {
    const bool changed = actions != m_seekActions;
    m_seekActions = std::move(actions);
    debounceSaveSeekActions();
    if (changed) {
        emit seekActionsChanged();
    }
}

void AppSettings::setOnSeekActionsChanged(std::function<void()> callback) {
    m_onSeekActionsChanged = std::move(callback);
}

QList<MediaApp> AppSettings::activeApps() const {
    assertOnOwnThread();
    QList<MediaApp> active;
    for (MediaApp app : m_enabledApps) {
        if (!m_disabledApps.contains(app) && isOffered(app)) {
            active.append(app);
        }
    }
    return active;
}

double AppSettings::firstForwardSeconds() const {
    assertOnOwnThread();
    for (const SeekAction& action : m_seekActions) {
        if (action.direction == SeekAction::Direction::forward) {
            return action.seconds;
        }
    }
    return 10.0;
}

double AppSettings::firstBackwardSeconds() const {
    assertOnOwnThread();
    for (const SeekAction& action : m_seekActions) {
        if (action.direction == SeekAction::Direction::backward) {
            return action.seconds;
        }
    }
    return 10.0;
}

void AppSettings::resetToDefaults() {
    setEnabledApps(SettingsKeys::enabledApps.defaultValue(m_offeredApps));
    setDisabledApps(SettingsKeys::disabledApps.defaultValue(m_offeredApps));
    setSeekActions(SettingsKeys::seekActions.defaultValue(m_offeredApps));
    setLaunchAtLogin(SettingsKeys::launchAtLogin.defaultValue);
    setShowHUDOverlay(SettingsKeys::showHUDOverlay.defaultValue);
    setHoldToSeek(SettingsKeys::holdToSeek.defaultValue);
    setFeedbackDuration(SettingsKeys::feedbackDuration.defaultValue);
    m_defaults->setBool(SettingsKeys::showMenuBarIcon.key,
                        SettingsKeys::showMenuBarIcon.defaultValue);
    // One write of the file for the whole reset, as for an import.
    m_defaults->flush();
    if (m_onSeekActionsChanged) {
        m_onSeekActionsChanged();
    }
}

template <typename T>
std::optional<T> AppSettings::load(const DataSetting<T>& setting) const {
    const std::optional<QByteArray> data = m_defaults->dataValue(setting.key);
    if (!data) {
        return std::nullopt;
    }
    // Undecodable bytes are handed on as an invalid value, which every decoder refuses.
    auto decoded =
        setting.decode(SettingsCoding::parse(*data).value_or(QJsonValue(QJsonValue::Undefined)));
    if (!decoded) {
        qCCritical(Log::general(), "Failed to decode %s from UserDefaults",
                   qUtf8Printable(QString(setting.field)));
    }
    return decoded;
}

void AppSettings::loadEnabledApps() {
    const auto saved = load(SettingsKeys::enabledApps);
    if (!saved) {
        return;
    }
    // Every decoded member is a known app, so the stored order (duplicates included) stays as
    // it is and apps it does not name yet are appended in declaration order.
    QList<MediaApp> apps = *saved;
    for (MediaApp app : m_offeredApps) {
        if (!saved->contains(app)) {
            apps.append(app);
        }
    }
    setEnabledApps(std::move(apps));
}

void AppSettings::loadDisabledApps() {
    if (auto saved = load(SettingsKeys::disabledApps)) {
        setDisabledApps(std::move(*saved));
    }
}

void AppSettings::loadSeekActions() {
    if (auto saved = load(SettingsKeys::seekActions)) {
        setSeekActions(std::move(*saved));
    }
}

void AppSettings::saveData(const QString& key, const OrderedJson& value) {
    // Only a non-finite number fails to encode; then nothing is written.
    if (const auto bytes = value.serialize(OrderedJson::Style::Compact)) {
        m_defaults->setData(key, *bytes);
    }
}

void AppSettings::saveEnabledApps() {
    saveData(SettingsKeys::enabledApps.key, SettingsKeys::enabledApps.encode(m_enabledApps));
}

void AppSettings::saveDisabledApps() {
    saveData(SettingsKeys::disabledApps.key, SettingsKeys::disabledApps.encode(m_disabledApps));
}

void AppSettings::saveSeekActions() {
    saveData(SettingsKeys::seekActions.key, SettingsKeys::seekActions.encode(m_seekActions));
}

void AppSettings::savePendingChanges() {
    if (m_saveDebounce.isActive()) {
        m_saveDebounce.stop();
        saveSeekActions();
    }
    m_defaults->flush();
}

void AppSettings::debounceSaveSeekActions() {
    // Restarting drops the pending save, so a burst of edits is written (and the hotkeys
    // re-registered) once, 300 ms after the last.
    m_saveDebounce.start();
}

void AppSettings::assertOnOwnThread() const {
    Q_ASSERT_X(QThread::currentThread() == thread(), "AppSettings",
               "settings are used on the GUI thread only");
}
