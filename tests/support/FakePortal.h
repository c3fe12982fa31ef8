#pragma once

#include "platform/linux/PortalShortcut.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QList>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>
#include <QVariantList>

// The desktop portal's global shortcuts as a desktop that has them serves them, on the test's
// private bus under the portal's own name, over a connection of its own: the host registry's
// Register, the GlobalShortcuts interface (CreateSession, BindShortcuts, ListShortcuts, its
// version property, the Activated signal) and the Request and Session objects, as documented.
// It records every call, and lets the test press a bound shortcut.
class FakePortal : public QDBusVirtualObject {
    Q_OBJECT

public:
    struct Call {
        QString path;
        QString interface;
        QString member;
        QVariantList arguments;
        QString sender;
    };

    FakePortal();
    ~FakePortal() override;

    // Takes the portal's name; false when the bus refused it.
    bool appear();
    // Lets go of the name, as a portal that crashed or was restarted.
    void disappear();

    // How a real desktop departs from the documentation; each can be set alone.
    struct Quirks {
        // Plasma 5.27: the set comes only from CreateSession's "shortcuts" option; BindShortcuts
        // ignores its list and answers with none.
        bool setFromCreateSession = false;
        // Plasma and GNOME: what the user approved is kept under the shortcut ids for the app,
        // so a new session lists the shortcuts it held before, and only new ids are asked for.
        bool keepsApprovedShortcuts = false;
        // xdg-desktop-portal-gnome 48.0: a successful binding answers 2, with the full list.
        bool answersTwoWhenBound = false;
        // The user says no in the desktop's dialog: 1 and no shortcuts.
        bool userDeclines = false;
        // GNOME 48: the user cancels the dialog for shortcuts it has not approved before, which
        // answers 2 and nothing, and unbinds the session's every shortcut.
        bool userCancelsNew = false;
        // A portal that cannot find the program's desktop entry refuses its app id.
        bool refusesAppID = false;
        // The portal restarted alone: its desktop backend still holds the sessions it had. A
        // session asked for under a handle still held is refused (2), and the portal then
        // closes the held one.
        bool backendOutlivesRestart = false;
    };
    void setQuirks(const Quirks& quirks) { m_quirks = quirks; }

    // Where the desktop gives a shortcut another trigger than the one preferred.
    void assignTrigger(const QString& shortcutId, const QString& trigger) {
        m_assigned.insert(shortcutId, trigger);
    }
    // How often the desktop had to ask the user about shortcuts it did not hold (its dialog, or
    // Plasma's shortcut settings).
    int timesAsked() const { return m_timesAsked; }

    const QList<Call>& calls() const { return m_calls; }
    QStringList members() const;
    // The sessions created and not closed, by handle.
    const QSet<QString>& openSessions() const { return m_open; }
    // The shortcuts of the last BindShortcuts call, and the session it was for.
    const PortalShortcuts& boundShortcuts() const { return m_bound; }
    const QString& boundSession() const { return m_boundSession; }

    // Sends Activated for the shortcut in the session, as a press of its trigger does.
    void activate(const QString& session, const QString& shortcutId);
    // Sends Deactivated, as the release of the trigger does on desktops that say so.
    void deactivate(const QString& session, const QString& shortcutId);

    // The request path a caller's token makes, as the portal documents it.
    static QString requestPath(const QString& sender, const QString& token);
    static QString sessionPath(const QString& sender, const QString& token);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void sendShortcutSignal(const QString& name, const QString& session, const QString& shortcutId);
    void respond(const QString& request, uint response, const QVariantMap& results);
    PortalShortcuts granted(const PortalShortcuts& shortcuts) const;
    void bindShortcuts(const QDBusMessage& message, const QDBusConnection& connection,
                       const QString& request);

    QDBusConnection m_bus;
    QList<Call> m_calls;
    QSet<QString> m_open;
    PortalShortcuts m_bound;
    QString m_boundSession;
    QMap<QString, QString> m_assigned;
    Quirks m_quirks;
    // The shortcuts each open session holds, by session handle.
    QMap<QString, PortalShortcuts> m_sessionShortcuts;
    // What the user approved, by shortcut id, kept across sessions where the desktop keeps it.
    QMap<QString, PortalShortcut> m_approved;
    int m_timesAsked = 0;
};
