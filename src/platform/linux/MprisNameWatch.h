#pragma once

#include "OwnerProgramLookup.h"
#include "models/MediaApp.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>

// The MPRIS players on a bus as they come and go, each told with the connection that owns it and
// the app it stands for. Nothing here waits on the bus: the players already there are listed,
// and a player whose app hangs on its owner's program is told once that program is known. Lives
// on the GUI thread.
class MprisNameWatch : public QObject {
    Q_OBJECT

public:
    MprisNameWatch(QDBusConnection bus, OwnerProgramLookup ownerProgram, QObject* parent = nullptr);

    // Whether every player that was there at the start has been told (or found gone).
    bool isSettled() const { return m_settled; }

signals:
    void playerAppeared(const QString& busName, const QString& owner, MediaApp app);
    // Only for a player that appeared.
    void playerVanished(const QString& busName);
    void settled();

private slots:
    void nameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);

private:
    struct Name {
        QString owner;
        quint64 generation = 0;
        bool appeared = false;
    };

    void listPlayers();
    void found(const QString& busName, const QString& owner);
    void gone(const QString& busName);
    void classified(const QString& busName, quint64 generation, MediaApp app);
    // Counts an answer of the start that is in; the last one settles.
    void answered();

    QDBusConnection m_bus;
    OwnerProgramLookup m_ownerProgram;
    QHash<QString, Name> m_names;
    // Names whose owner changed since the start: what the start's list says of them is old.
    QSet<QString> m_changedSinceStart;
    quint64 m_generation = 0;
    int m_startAnswersDue = 0;
    bool m_settled = false;
};
