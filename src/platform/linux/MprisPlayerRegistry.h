#pragma once

#include "MprisClient.h"
#include "PlayerPositionEstimate.h"
#include "models/MediaApp.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QHash>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

// Every MPRIS player on the session bus, each standing for one of the media apps (every player
// not known by name for "Other players"), followed live as players come and go. Lives on the GUI
// thread; the queries may come from any thread.
class MprisPlayerRegistry : public QObject {
    Q_OBJECT

public:
    static constexpr QLatin1String namePrefix{"org.mpris.MediaPlayer2."};

    explicit MprisPlayerRegistry(QDBusConnection bus, QObject* parent = nullptr);

    QDBusConnection bus() const { return m_bus; }

    // The bus names of the app's players, the most recently active first.
    QStringList playersOf(MediaApp app) const;
    // The apps with at least one player now.
    QList<MediaApp> runningApps() const;
    // Notes that a player was just acted on or started playing.
    void markActive(const QString& busName);

    // What is known of a player's state: the last full read, kept up to date by its signals.
    // A seek then needs no read first where the player is known to be playing, in a known
    // track, well away from both ends of it.
    void remember(const QString& busName, const MprisClient::State& state);
    // Our own seek is on its way: the position is unsure until the player announces it.
    void expectSeeked(const QString& busName);
    // How long the moment a browser says "Stopped" after our seek is held over.
    static constexpr qint64 seekFlickerNs = PlayerPositionEstimate::seekFlickerNs;
    // Whether that moment of the player is being held over now.
    bool isHeldOver(const QString& busName) const;
    // The player's Identity, once read (asked for when the player comes); empty before. Shown
    // as its name, never matched on: some players translate it.
    QString identityOf(const QString& busName) const;
    // The unique connection name the player's signals come from; empty when unknown.
    QString ownerOf(const QString& busName) const;
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
    // How the player is best moved: browsers to positions, every other player relatively.
    MprisClient::Stepping steppingOf(const QString& busName) const;
    // True while our last seek of a player that announces its moves is not announced yet. Its
    // reported position may then still be the one from before that seek.
    bool isSeekInFlight(const QString& busName) const;

    // Which app a player stands for: Spotify and Firefox by their names; Chrome by a name of
    // the Chromium family and a browser's program owning it, since Electron apps take the same
    // names; "Other players" for every other player. Absent for a name that is no player's.
    static std::optional<MediaApp> classify(const QString& busName, const QString& ownerExecutable);
    // Whether the program owning a player must be known to classify it.
    static bool needsOwnerToClassify(const QString& busName);
    // The program a bus connection belongs to, by the process the bus knows for it.
    QString executableOf(const QString& uniqueName) const;

signals:
    // An app got its first player, or lost its last one.
    void appAppeared(MediaApp app);
    void appVanished(MediaApp app);

private slots:
    void nameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated, const QDBusMessage& message);
    void seeked(qlonglong positionUs, const QDBusMessage& message);

private:
    struct Player {
        MediaApp app;
        QString owner; // the unique connection name
        quint64 lastActive = 0;
        QString identity{};
        PlayerPositionEstimate estimate{}; // with m_mutex held
    };

    void add(const QString& busName, const QString& owner);
    void remove(const QString& busName);
    void readIdentity(const QString& busName);
    int countOf(MediaApp app) const; // with m_mutex held

    QDBusConnection m_bus;
    mutable QMutex m_mutex;
    QHash<QString, Player> m_players;
    quint64 m_activity = 0;
};
