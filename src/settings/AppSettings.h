#pragma once

#include "models/MediaApp.h"
#include "models/SeekAction.h"
#include "platform/LoginItem.h"
#include "settings/LoginItemController.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

// The one store of the user's preferences. Lives on the GUI thread; every value is written to
// the defaults as soon as it changes, except the seek actions, whose save is debounced.
class AppSettings : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged)
    Q_PROPERTY(double feedbackDuration READ feedbackDuration WRITE setFeedbackDuration NOTIFY
                   feedbackDurationChanged)
    Q_PROPERTY(bool showHUDOverlay READ showHUDOverlay WRITE setShowHUDOverlay NOTIFY
                   showHUDOverlayChanged)
    Q_PROPERTY(bool holdToSeek READ holdToSeek WRITE setHoldToSeek NOTIFY holdToSeekChanged)

public:
    // The keys of the settings table by name, for the views that read the store themselves.
    struct Keys {
        static inline const QString launchAtLogin = SettingsKeys::launchAtLogin.key;
        static inline const QString feedbackDuration = SettingsKeys::feedbackDuration.key;
        static inline const QString showHUDOverlay = SettingsKeys::showHUDOverlay.key;
        static inline const QString holdToSeek = SettingsKeys::holdToSeek.key;
        static inline const QString enabledApps = SettingsKeys::enabledApps.key;
        static inline const QString disabledApps = SettingsKeys::disabledApps.key;
        static inline const QString seekActions = SettingsKeys::seekActions.key;
        static inline const QString showMenuBarIcon = SettingsKeys::showMenuBarIcon.key;
    };

    static constexpr int saveDebounceMs = 300;

    // Loads at once from `defaults`, with the apps this platform offers, in their default
    // priority order. Apps a stored or imported list names beyond them (a Mac's, read
    // elsewhere) are kept in it, so that it is written out again as it came, but never shown,
    // tried or appended. Launch at login switches `loginItem`; without one it only logs.
    AppSettings(std::unique_ptr<SettingsStore> defaults, QList<MediaApp> offeredApps,
                std::unique_ptr<LoginItem> loginItem = nullptr, QObject* parent = nullptr);
    ~AppSettings() override;

    // Bound values: read from and written straight to the defaults.
    // The preference, as stored and exported; the desktop's own state is loginItem()'s. Each
    // assignment switches the login item, even to the value stored, which repairs an entry
    // removed behind the program's back.
    bool launchAtLogin() const;
    void setLaunchAtLogin(bool value);
    double feedbackDuration() const;
    void setFeedbackDuration(double seconds);
    bool showHUDOverlay() const;
    void setShowHUDOverlay(bool value);
    // Whether a hotkey held down keeps seeking at a steady pace, rather than seeking once.
    bool holdToSeek() const;
    void setHoldToSeek(bool value);

    // Every assignment runs the field's save, even when the value is the same.
    const QList<MediaApp>& enabledApps() const { return m_enabledApps; }
    void setEnabledApps(QList<MediaApp> apps);
    const MediaAppSet& disabledApps() const { return m_disabledApps; }
    void setDisabledApps(MediaAppSet apps);
    const QList<SeekAction>& seekActions() const { return m_seekActions; }
    void setSeekActions(QList<SeekAction> actions);

    // Called after each debounced save of the seek actions, and once at once by a reset or an
    // import; the hotkey layer re-registers from it.
    void setOnSeekActionsChanged(std::function<void()> callback);

    // Writes the seek actions now when their save is still waiting out its debounce, without
    // calling back, and the file with every write still waiting for it: at the end of the
    // program and of the session, so that the last edit is not lost.
    void savePendingChanges();

    // The apps this platform offers, in their default order.
    const QList<MediaApp>& offeredApps() const { return m_offeredApps; }
    bool isOffered(MediaApp app) const { return m_offeredApps.contains(app); }
    // The enabled apps, in priority order, that this platform offers and are not switched off.
    QList<MediaApp> activeApps() const;
    // The step of the first forward (backward) action, 10 when there is none.
    double firstForwardSeconds() const;
    double firstBackwardSeconds() const;

    // Restores every value of the settings table, and switches the login item off.
    void resetToDefaults();

    // The settings file: pretty-printed JSON with sorted keys, or nothing if encoding fails.
    std::optional<QByteArray> exportSettings() const;
    // All or nothing: false, with nothing changed, unless `bytes` is a complete settings file.
    bool importSettings(const QByteArray& bytes);

    // The defaults database, for the keys owned by other parts of the program.
    SettingsStore& defaults() { return *m_defaults; }
    LoginItemController& loginItem() { return m_loginItem; }

signals:
    void launchAtLoginChanged(bool value);
    void feedbackDurationChanged(double seconds);
    void showHUDOverlayChanged(bool value);
    void holdToSeekChanged(bool value);
    void enabledAppsChanged();
    void disabledAppsChanged();
    void seekActionsChanged();

private:
    // Stores `value` under the setting; emits `changed` when it differs from what was read.
    template <typename T>
    void assign(const Setting<T>& setting, T value, void (AppSettings::*changed)(T));
    template <typename T>
    std::optional<T> load(const DataSetting<T>& setting) const;
    void reportUnreadableValues() const;
    void loadEnabledApps();
    void loadDisabledApps();
    void loadSeekActions();
    void saveEnabledApps();
    void saveDisabledApps();
    void saveSeekActions();
    void debounceSaveSeekActions();
    void saveData(const QString& key, const OrderedJson& value);
    void assertOnOwnThread() const;

    std::unique_ptr<SettingsStore> m_defaults;
    LoginItemController m_loginItem;
    QList<MediaApp> m_offeredApps;
    QList<MediaApp> m_enabledApps;
    MediaAppSet m_disabledApps;
    QList<SeekAction> m_seekActions;
    std::function<void()> m_onSeekActionsChanged;
    QTimer m_saveDebounce;
};
