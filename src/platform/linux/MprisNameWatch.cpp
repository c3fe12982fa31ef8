#include "MprisNameWatch.h"

#include "PlayerClassifier.h"
#include "utilities/Logger.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

namespace {

const QString busDaemon = QStringLiteral("org.freedesktop.DBus");
const QString busDaemonPath = QStringLiteral("/org/freedesktop/DBus");
constexpr int daemonTimeoutMs = 5000;

// Asks the bus daemon without waiting; `done` has the reply on the GUI thread.
void askDaemon(const QDBusConnection& bus, const QString& method, const QVariantList& arguments,
               QObject* context, std::function<void(const QDBusMessage&)> done) {
    QDBusMessage call = QDBusMessage::createMethodCall(busDaemon, busDaemonPath, busDaemon, method);
    call.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, daemonTimeoutMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [done = std::move(done)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         done(finished->reply());
                     });
}

} // namespace

MprisNameWatch::MprisNameWatch(QDBusConnection bus, OwnerProgramLookup ownerProgram,
                               QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_ownerProgram(std::move(ownerProgram)) {
    if (!m_bus.isConnected()) {
        qCCritical(Log::general(), "No D-Bus session bus, so no media player can be reached: %s",
                   qUtf8Printable(m_bus.lastError().message()));
        m_settled = true;
        return;
    }
    m_bus.connect(busDaemon, busDaemonPath, busDaemon, QStringLiteral("NameOwnerChanged"), this,
                  SLOT(nameOwnerChanged(QString, QString, QString)));
    // Subscribed first, listed second: a player that appears in between is seen either way.
    listPlayers();
}

void MprisNameWatch::listPlayers() {
    m_startAnswersDue = 1;
    askDaemon(m_bus, QStringLiteral("ListNames"), {}, this, [this](const QDBusMessage& reply) {
        const QStringList names = reply.type() == QDBusMessage::ReplyMessage
                                      ? reply.arguments().value(0).toStringList()
                                      : QStringList();
        for (const QString& name : names) {
            if (!PlayerClassifier::isPlayerName(name) || m_changedSinceStart.contains(name)) {
                continue;
            }
            ++m_startAnswersDue;
            askDaemon(m_bus, QStringLiteral("GetNameOwner"), {name}, this,
                      [this, name](const QDBusMessage& owner) {
                          if (owner.type() == QDBusMessage::ReplyMessage &&
                              !m_changedSinceStart.contains(name)) {
                              found(name, owner.arguments().value(0).toString());
                          }
                          answered();
                      });
        }
        answered();
    });
}

void MprisNameWatch::nameOwnerChanged(const QString& name, const QString& oldOwner,
                                      const QString& newOwner) {
    if (!PlayerClassifier::isPlayerName(name)) {
        return;
    }
    if (!m_settled) {
        m_changedSinceStart.insert(name);
    }
    if (!oldOwner.isEmpty()) {
        gone(name);
    }
    if (!newOwner.isEmpty()) {
        found(name, newOwner);
    }
}

void MprisNameWatch::found(const QString& busName, const QString& owner) {
    gone(busName); // a new owner is a new player
    const quint64 generation = ++m_generation;
    m_names.insert(busName, Name{owner, generation});
    if (!PlayerClassifier::needsOwnerProgram(busName)) {
        classified(busName, generation, *PlayerClassifier::classify(busName, QString()));
        return;
    }
    const bool duringStart = !m_settled;
    if (duringStart) {
        ++m_startAnswersDue;
    }
    m_ownerProgram(owner, this, [this, busName, generation, duringStart](const QString& program) {
        // A player gone, or owned anew, meanwhile is no longer the one asked about.
        if (const std::optional<MediaApp> app = PlayerClassifier::classify(busName, program)) {
            classified(busName, generation, *app);
        }
        if (duringStart) {
            answered();
        }
    });
}

void MprisNameWatch::classified(const QString& busName, quint64 generation, MediaApp app) {
    const auto name = m_names.find(busName);
    if (name == m_names.end() || name->generation != generation) {
        return;
    }
    name->appeared = true;
    emit playerAppeared(busName, name->owner, app);
}

void MprisNameWatch::gone(const QString& busName) {
    const auto name = m_names.constFind(busName);
    if (name == m_names.cend()) {
        return;
    }
    const bool appeared = name->appeared;
    m_names.erase(name);
    if (appeared) {
        emit playerVanished(busName);
    }
}

void MprisNameWatch::answered() {
    if (m_settled || --m_startAnswersDue > 0) {
        return;
    }
    m_settled = true;
    m_changedSinceStart.clear();
    emit settled();
}
