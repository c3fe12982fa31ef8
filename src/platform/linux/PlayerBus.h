#pragma once

#include "DirectBusCalls.h"
#include "models/SeekResult.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

// The bus the players are reached on, and the way the calls a press waits for are sent there.
// On the session bus they go straight through libdbus, on a connection of each calling thread's
// own: QtDBus hands every blocking call to its own thread and back, which costs as much as the
// round trip itself. On any other bus they go through QtDBus. Chosen once, by whoever makes it.
class PlayerBus {
public:
    // The session bus, with player calls sent straight through libdbus.
    static PlayerBus session();
    // Any bus, every call through QtDBus on this connection.
    static PlayerBus through(QDBusConnection connection);

    // For the signals and the calls nobody waits on.
    const QDBusConnection& connection() const { return m_connection; }
    // Whether player calls go straight through libdbus, on the calling thread's own connection.
    bool callsDirectly() const { return m_direct; }

    // A player method, its reply waited for at most `timeoutMs`: `direct` is how the same call
    // is sent through libdbus. Any reply but an error is seeked.
    SeekResult command(const QDBusMessage& call,
                       const std::function<DirectBusCalls::Outcome()>& direct, int timeoutMs) const;
    // All of the player's Player properties; absent on an error or no answer in time.
    std::optional<QVariantMap> playerProperties(const QString& service, int timeoutMs) const;

    // Follows what the player with this unique connection name announces, on the calling
    // thread's own connection, from now on; nothing where calls go through QtDBus.
    void followPlayer(const QString& owner) const;
    // What that player last announced there; nothing heard where calls go through QtDBus.
    DirectBusCalls::Heard lastHeardStatus(const QString& owner) const;

private:
    PlayerBus(QDBusConnection connection, bool direct);

    QDBusConnection m_connection;
    bool m_direct;
};
