#include "AppSettings.h"

#include "SettingsCoding.h"
#include "settings/LaunchAtLogin.h"
#include "utilities/Logger.h"

#include <QCoreApplication>
#include <QThread>

namespace {

constexpr bool defaultLaunchAtLogin = false;
constexpr double defaultFeedbackDuration = 2.5;
constexpr bool defaultShowHUDOverlay = true;
constexpr bool defaultHoldToSeek = true;

QList<MediaApp> referenceApps() {
    const auto cases = MediaApp::allCases();
    return QList<MediaApp>(cases.begin(), cases.end());
}

} // namespace

AppSettings::AppSettings(std::unique_ptr<SettingsStore> defaults, QObject* parent)
    : AppSettings(std::move(defaults), referenceApps(), parent) {}

AppSettings::AppSettings(std::unique_ptr<SettingsStore> defaults, QList<MediaApp> offeredApps,
                         QObject* parent)
    : QObject(parent)
    , m_defaults(std::move(defaults))
    , m_offeredApps(std::move(offeredApps))
    , m_enabledApps(m_offeredApps)
    , m_seekActions(SeekAction::defaults()) {
    m_saveDebounce.setSingleShot(true);
    m_saveDebounce.setTimerType(Qt::PreciseTimer);
    m_saveDebounce.setInterval(saveDebounceMs);
    connect(&m_saveDebounce, &QTimer::timeout, this, [this] {
        saveSeekActions();
        if (m_onSeekActionsChanged) {
            m_onSeekActionsChanged();
        }
    });
    loadEnabledApps();
    loadDisabledApps();
    loadSeekActions();
}

AppSettings::~AppSettings() = default;

bool AppSettings::launchAtLogin() const {
    return m_defaults->boolValue(Keys::launchAtLogin).value_or(defaultLaunchAtLogin);
}

void AppSettings::setLaunchAtLogin(bool value) {
    const bool changed = value != launchAtLogin();
    m_defaults->setBool(Keys::launchAtLogin, value);
    if (changed) {
        emit launchAtLoginChanged(value);
    }
}

double AppSettings::feedbackDuration() const {
    return m_defaults->doubleValue(Keys::feedbackDuration).value_or(defaultFeedbackDuration);
}

void AppSettings::setFeedbackDuration(double seconds) {
    const bool changed = seconds != feedbackDuration();
    m_defaults->setDouble(Keys::feedbackDuration, seconds);
    if (changed) {
        emit feedbackDurationChanged(seconds);
    }
}

bool AppSettings::showHUDOverlay() const {
    return m_defaults->boolValue(Keys::showHUDOverlay).value_or(defaultShowHUDOverlay);
}

void AppSettings::setShowHUDOverlay(bool value) {
    const bool changed = value != showHUDOverlay();
    m_defaults->setBool(Keys::showHUDOverlay, value);
    if (changed) {
        emit showHUDOverlayChanged(value);
    }
}

bool AppSettings::holdToSeek() const {
    return m_defaults->boolValue(Keys::holdToSeek).value_or(defaultHoldToSeek);
}

void AppSettings::setHoldToSeek(bool value) {
    const bool changed = value != holdToSeek();
    m_defaults->setBool(Keys::holdToSeek, value);
    if (changed) {
        emit holdToSeekChanged(value);
    }
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
    setEnabledApps(m_offeredApps);
    setDisabledApps({});
    setSeekActions(SeekAction::defaults());
    setLaunchAtLogin(false);
    setShowHUDOverlay(true);
    setHoldToSeek(defaultHoldToSeek);
    LaunchAtLogin::setEnabled(false);
    m_defaults->setBool(Keys::showMenuBarIcon, true);
    if (m_onSeekActionsChanged) {
        m_onSeekActionsChanged();
    }
}

std::optional<QJsonValue> AppSettings::storedJson(const QString& key) const {
    const std::optional<QByteArray> data = m_defaults->dataValue(key);
    if (!data) {
        return std::nullopt;
    }
    // Undecodable bytes are handed on as an invalid value, which every decoder refuses.
    return SettingsCoding::parse(*data).value_or(QJsonValue(QJsonValue::Undefined));
}

void AppSettings::loadEnabledApps() {
    const auto stored = storedJson(Keys::enabledApps);
    if (!stored) {
        return;
    }
    const auto saved = SettingsCoding::decodeApps(*stored);
    if (!saved) {
        qCCritical(Log::general(), "Failed to decode enabledApps from UserDefaults");
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
    const auto stored = storedJson(Keys::disabledApps);
    if (!stored) {
        return;
    }
    const auto saved = SettingsCoding::decodeApps(*stored);
    if (!saved) {
        qCCritical(Log::general(), "Failed to decode disabledApps from UserDefaults");
        return;
    }
    setDisabledApps(MediaAppSet(saved->begin(), saved->end()));
}

void AppSettings::loadSeekActions() {
    const auto stored = storedJson(Keys::seekActions);
    if (!stored) {
        return;
    }
    auto saved = SettingsCoding::decodeSeekActions(*stored);
    if (!saved) {
        qCCritical(Log::general(), "Failed to decode seekActions from UserDefaults");
        return;
    }
    setSeekActions(std::move(*saved));
}

void AppSettings::saveData(const QString& key, const OrderedJson& value) {
    // Only a non-finite number fails to encode; then nothing is written.
    if (const auto bytes = value.serialize(OrderedJson::Style::Compact)) {
        m_defaults->setData(key, *bytes);
    }
}

void AppSettings::saveEnabledApps() {
    saveData(Keys::enabledApps, SettingsCoding::encodeApps(m_enabledApps));
}

void AppSettings::saveDisabledApps() {
    saveData(Keys::disabledApps, SettingsCoding::encodeApps(m_disabledApps));
}

void AppSettings::saveSeekActions() {
    saveData(Keys::seekActions, SettingsCoding::encodeSeekActions(m_seekActions));
}

void AppSettings::savePendingChanges() {
    if (m_saveDebounce.isActive()) {
        m_saveDebounce.stop();
        saveSeekActions();
    }
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
