#pragma once

#include "platform/HotkeyService.h"
#include "platform/linux/PortalShortcut.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <optional>

class QDBusMessage;

// Global hotkeys as the desktop portal's global shortcuts, for Wayland sessions, where no
// program may grab keys. The desktop owns the keys: the program offers its bindings as one set,
// each under an id that never changes and with the combination it would like, and the desktop
// decides (and may ask the user) which trigger each gets, remembering its choice under the id.
// Real desktops read the set in different places, so it goes to all of them: CreateSession's
// options (Plasma 5.27 reads it only there) and BindShortcuts; a desktop that already holds
// the whole set, as it does at every login after the first, is not asked again. Every portal
// call is asynchronous, so a slow or absent portal never holds up the GUI thread; presses
// arrive there as the portal's Activated signal.
//
// Releases arrive as Deactivated, where the desktop sends it: Plasma does (kglobalaccel's
// pressed and released), and so does GNOME from 48 on (the shell grabs the portal's
// accelerators to report releases too). A desktop that never sends it would leave a hold
// without an end, so until the first Deactivated shows that this desktop sends them, each
// Activated is a press and a release at once. An Activated for the shortcut already down is
// the desktop passing on the keyboard's repeat, and is dropped.
class PortalHotkeyService final : public HotkeyService {
    Q_OBJECT

public:
    static constexpr const char* portalService = "org.freedesktop.portal.Desktop";
    static constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
    static constexpr const char* appID = "com.scrubline.app";
    // The program's one session token, the same at every start and every new binding: Plasma
    // names the desktop's record of the shortcuts after it.
    static constexpr const char* sessionToken = "scrubline";
    // How long a refused session waits before it is asked for again, once.
    static constexpr int askAgainMs = 1000;
    // An Activated this soon after the last one of the same shortcut, with no Deactivated
    // between, is the keyboard's repeat.
    static constexpr int repeatWithinMs = 1000;

    explicit PortalHotkeyService(QDBusConnection bus, QObject* parent = nullptr);
    ~PortalHotkeyService() override;

    bool start() override;
    void stop() override;
    void bind(const HotkeyBindings& bindings) override;
    QString mechanism() const override;

    // A combination in the shortcut format desktops read, such as "CTRL+ALT+LOGO+Right";
    // nothing for a key no hotkey is made of.
    static std::optional<QString> preferredTrigger(QKeyCombination keys);

    // Whether an answer to BindShortcuts bound shortcuts: a success, or any answer that lists
    // them (GNOME 48.0 answers 2 with the full list of what it bound).
    static bool answerBinds(uint response, const PortalShortcuts& shortcuts);

    // The trigger the desktop gave each shortcut at the last binding, by binding id, in the
    // desktop's own words.
    const QHash<QString, QString>& assignedTriggers() const { return m_assigned; }
    // Whether the portal answered that it offers global shortcuts.
    bool isAvailable() const { return m_available; }
    // How many of the offered shortcuts the desktop bound at the last binding, and how many
    // were offered; nothing before a binding was answered.
    std::optional<std::pair<int, int>> boundCount() const { return m_boundCount; }

signals:
    // The desktop bound the shortcuts of one binding; assignedTriggers() tells what it chose.
    void shortcutsBound();

private slots:
    void onResponse(uint response, const QVariantMap& results, const QDBusMessage& message);
    void onActivated(const QDBusMessage& message);
    void onDeactivated(const QDBusMessage& message);

private:
    enum class Pending {
        none,
        closeSession,
        createSession,
        askAgain,
        listShortcuts,
        bindShortcuts
    };

    void registerHost();
    void queryVersion();
    // Offers the set as it is now, unless the desktop has answered for the very same.
    void offer();
    void startBinding(const PortalShortcuts& shortcuts);
    void createSession();
    void listShortcuts();
    void bindShortcuts();
    void takeBound(const PortalShortcuts& bound);
    void declined(uint response);
    void finishRequest();
    // The set as it is offered now: one shortcut per binding whose keys a desktop can read, in
    // the order of the bindings.
    PortalShortcuts offeredShortcuts() const;
    void closeSession();
    // Sends a call whose answer comes as its Response, saying `refusal` if the portal refuses.
    void sendRequest(const QDBusMessage& call, const char* refusal);
    // The request object a call with this token answers through, subscribed before the call.
    QString expectResponse(const QString& token, Pending pending);
    QString nextToken();
    // Tells what became of each binding, and the mechanism where it changed.
    void reportResults();
    void reportMechanism();
    // The binding a shortcut signal of this session is about, if any.
    std::optional<QString> signalledBinding(const QDBusMessage& message) const;
    // Passes on the release of the shortcut down now, if one is.
    void releaseHeld();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    bool m_started = false;
    // Whether this desktop has been seen to send Deactivated.
    bool m_desktopSendsReleases = false;
    // The shortcut down now, while the desktop is to say when it comes up.
    QString m_heldName;
    // The last shortcut activated, and when, to know the keyboard's repeat by its pace.
    QString m_lastActivatedName;
    QElapsedTimer m_lastActivated;
    bool m_available = false;
    bool m_saidUnavailable = false;
    bool m_saidDeclined = false;
    bool m_saidUnknownApp = false;
    QTimer m_askAgain;
    HotkeyBindings m_bindings;
    QHash<QString, QString> m_assigned;
    std::optional<std::pair<int, int>> m_boundCount;
    // The mechanism as last told.
    QString m_mechanism;
    QString m_session;
    // The set the session was made for, and whether the desktop has answered for it.
    PortalShortcuts m_sessionSet;
    bool m_answered = false;
    // How many shortcuts the bindings make, which may be more than the session was made for.
    int m_offeredCount = 0;
    // A set the desktop refused, not offered again while the bindings stay as they are.
    PortalShortcuts m_refusedSet;
    // The ids the desktop has bound in this run, which it binds again without asking.
    QSet<QString> m_heldIDs;
    // A refused session is asked for once more before the refusal counts.
    bool m_askedAgain = false;
    // Counts the portal's restarts, so that an answer from before one is not taken as after.
    int m_generation = 0;
    QString m_requestPath;
    Pending m_pending = Pending::none;
    // A binding asked for while a call is out is made when it answers.
    bool m_bindAgain = false;
    int m_tokenCount = 0;
};
