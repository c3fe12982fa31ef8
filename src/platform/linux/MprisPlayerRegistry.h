#pragma once

#include "MprisClient.h"
#include "MprisNameWatch.h"
#include "MprisPlayerStates.h"
#include "OwnerProgramLookup.h"
#include "PlayerBus.h"
#include "models/MediaApp.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>

// Every MPRIS player on the bus, each standing for one of the media apps (every player not known
// by name for "Other players"), in the order they were last active, with their own names. Lives
// on the GUI thread; the queries may come from any thread.
class MprisPlayerRegistry : public QObject {
    Q_OBJECT

public:
    // The owners' programs asked of the bus daemon.
    explicit MprisPlayerRegistry(PlayerBus bus, QObject* parent = nullptr);
    MprisPlayerRegistry(PlayerBus bus, OwnerProgramLookup ownerProgram, QObject* parent = nullptr);

    const PlayerBus& bus() const { return m_bus; }
    // Where each player is, as far as known without asking it.
    MprisPlayerStates& states() { return m_states; }
    const MprisPlayerStates& states() const { return m_states; }

    // The bus names of the app's players, the most recently active first.
    QStringList playersOf(MediaApp app) const;
    // The apps with at least one player now.
    QList<MediaApp> runningApps() const;
    // Whether every player that was there at the start is known (see MprisNameWatch).
    bool isSettled() const { return m_watch.isSettled(); }
    // Notes that a player was just acted on or started playing.
    void markActive(const QString& busName);
    // The player's Identity, once read (asked for when the player comes); empty before. Shown
    // as its name, never matched on: some players translate it.
    QString identityOf(const QString& busName) const;
    // The unique connection name the player's signals come from; empty when unknown.
    QString ownerOf(const QString& busName) const;
    // How the player is best moved: browsers to positions, every other player relatively.
    MprisClient::Stepping steppingOf(const QString& busName) const;

signals:
    // An app got its first player, or lost its last one.
    void appAppeared(MediaApp app);
    void appVanished(MediaApp app);
    void settled();

private:
    struct Player {
        MediaApp app;
        QString owner; // the unique connection name
        quint64 lastActive = 0;
        QString identity{};
    };

    void add(const QString& busName, const QString& owner, MediaApp app);
    void remove(const QString& busName);
    void readIdentity(const QString& busName);
    int countOf(MediaApp app) const; // with m_mutex held

    PlayerBus m_bus;
    MprisPlayerStates m_states;
    mutable QMutex m_mutex;
    QHash<QString, Player> m_players;
    quint64 m_activity = 0;
    // Last: it tells of the players already there as soon as the bus answers.
    MprisNameWatch m_watch;
};
