#pragma once

#include "MprisClient.h"
#include "PlayerPositionEstimate.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QHash>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

// What is known of each followed player's state: the last full read, kept up to date by its
// signals. A seek then needs no read first where the player is known to be playing, in a known
// track, well away from both ends of it. Follows the signals on the GUI thread; the queries may
// come from any thread.
class MprisPlayerStates : public QObject {
    Q_OBJECT

public:
    // How long the moment a browser says "Stopped" after our seek is held over.
    static constexpr qint64 seekFlickerNs = PlayerPositionEstimate::seekFlickerNs;

    explicit MprisPlayerStates(const QDBusConnection& bus, QObject* parent = nullptr);

    // Starts and ends following a player, known by its bus name and its owner's unique name,
    // which its signals come from.
    void follow(const QString& busName, const QString& owner);
    void forget(const QString& busName);

    // A full read of the player's state.
    void remember(const QString& busName, const MprisClient::State& state);
    // Our own seek is on its way: the position is unsure until the player announces it.
    void expectSeeked(const QString& busName);
    // Whether that moment of the player is being held over now.
    bool isHeldOver(const QString& busName) const;
    // True when a relative seek by this much is known to stay inside the track (see
    // PlayerPositionEstimate); false for a player not followed.
    bool canSeekRelatively(const QString& busName, qint64 deltaUs) const;
    // Where a step by this much lands without a read first (see PlayerPositionEstimate);
    // absent for a player not followed.
    std::optional<qint64> targetWithoutRead(const QString& busName, qint64 deltaUs) const;
    // The position now as kept up to date; absent when unknown or for a player not followed.
    std::optional<qint64> positionUs(const QString& busName) const;
    // The player's state as last read and kept up to date; absent for a player not followed.
    std::optional<MprisClient::State> known(const QString& busName) const;
    // We just moved the player to this position.
    void sentPosition(const QString& busName, qint64 positionUs);
    // True while our last seek of a player that announces its moves is not announced yet. Its
    // reported position may then still be the one from before that seek.
    bool isSeekInFlight(const QString& busName) const;

signals:
    // A followed player announced that it plays.
    void startedPlaying(const QString& busName);

private slots:
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated, const QDBusMessage& message);
    void seeked(qlonglong positionUs, const QDBusMessage& message);

private:
    struct Followed {
        QString owner;
        PlayerPositionEstimate estimate{};
    };

    mutable QMutex m_mutex;
    QHash<QString, Followed> m_players;
};
