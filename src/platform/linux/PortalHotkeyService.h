#pragma once

#include "platform/HotkeyService.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <cstdint>
#include <map>
#include <optional>

class QDBusMessage;

// Global hotkeys as the desktop portal's global shortcuts, for Wayland sessions, where no
// program may grab keys. The desktop owns the keys: the program offers each action with the
// combination it would like, and the desktop decides (and may ask the user) which trigger it
// gets. Every portal call is asynchronous, so a slow or absent portal never holds up the GUI
// thread; presses arrive there as the portal's Activated signal.
class PortalHotkeyService final : public QObject, public HotkeyService {
    Q_OBJECT

public:
    static constexpr const char* portalService = "org.freedesktop.portal.Desktop";
    static constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
    static constexpr const char* appID = "com.scrubline.app";

    explicit PortalHotkeyService(QDBusConnection bus, QObject* parent = nullptr);
    ~PortalHotkeyService() override;

    bool installHandler(PressHandler handler) override;
    void removeHandler() override;
    void describeHotkey(std::uint32_t id, const std::string& name,
                        const std::string& description) override;
    std::optional<Handle> registerHotkey(std::uint32_t keyCode, std::uint32_t carbonModifiers,
                                         std::uint32_t signature, std::uint32_t id) override;
    void unregisterHotkey(Handle handle) override;
    std::string mechanism() const override;
    std::string assignedTrigger(std::uint32_t id) const override;
    void setTriggersHandler(std::function<void()> handler) override;
    // Whether a desktop's description of a trigger names the same keys as a preferred trigger:
    // desktops write "Ctrl+Alt+Meta+Right" for "CTRL+ALT+LOGO+Right".
    static bool sameTrigger(const QString& description, const QString& preferred);

    // A combination in the shortcut format desktops read, such as "CTRL+ALT+LOGO+Right";
    // nothing for a key outside the key table.
    static std::optional<QString> preferredTrigger(std::uint16_t keyCode,
                                                   std::uint32_t carbonModifiers);

    // The trigger the desktop gave each shortcut at the last binding, by hotkey id.
    const std::map<std::uint32_t, QString>& assignedTriggers() const { return m_assigned; }
    // Whether the portal answered that it offers global shortcuts.
    bool isAvailable() const { return m_available; }

signals:
    // The desktop bound the shortcuts of one binding; assignedTriggers() tells what it chose.
    void shortcutsBound();

private slots:
    void onResponse(uint response, const QVariantMap& results, const QDBusMessage& message);
    void onActivated(const QDBusMessage& message);

private:
    struct Registration {
        std::uint32_t id;
        QString name;
        QString description;
        QString trigger;
    };
    enum class Pending { none, createSession, bindShortcuts };

    void start();
    void queryVersion();
    void scheduleBind();
    void bind();
    void bindShortcuts();
    void closeSession();
    // Sends a call whose answer comes as its Response, saying `refusal` if the portal refuses.
    void sendRequest(const QDBusMessage& call, const char* refusal);
    // The request object a call with this token answers through, subscribed before the call.
    QString expectResponse(const QString& token, Pending pending);
    QString nextToken();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    PressHandler m_handler;
    bool m_installed = false;
    bool m_available = false;
    bool m_saidUnavailable = false;
    // Registrations settle into one binding once a burst of them is over.
    QTimer m_bindSoon;
    std::map<Handle, Registration> m_registrations;
    QHash<std::uint32_t, std::pair<QString, QString>> m_descriptions;
    Handle m_nextHandle = 1;
    std::map<std::uint32_t, QString> m_assigned;
    std::function<void()> m_triggersHandler;
    QString m_session;
    QString m_requestPath;
    Pending m_pending = Pending::none;
    // A binding asked for while a call is out is made when it answers.
    bool m_bindAgain = false;
    int m_tokenCount = 0;
};
