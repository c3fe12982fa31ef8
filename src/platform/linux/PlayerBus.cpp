#include "PlayerBus.h"

#include <QDBusArgument>

PlayerBus::PlayerBus(QDBusConnection connection, bool direct)
    : m_connection(std::move(connection))
    , m_direct(direct) {}

PlayerBus PlayerBus::session() {
    return {QDBusConnection::sessionBus(), true};
}

PlayerBus PlayerBus::through(QDBusConnection connection) {
    return {std::move(connection), false};
}

SeekResult PlayerBus::command(const QDBusMessage& call,
                              const std::function<DirectBusCalls::Outcome()>& direct,
                              int timeoutMs) const {
    if (m_direct) {
        switch (direct()) {
        case DirectBusCalls::Outcome::replied:
            return SeekResult::seeked;
        case DirectBusCalls::Outcome::failed:
            return SeekResult::error;
        case DirectBusCalls::Outcome::unavailable:
            break; // no connection of this thread's own: QtDBus's will do
        }
    }
    return m_connection.call(call, QDBus::Block, timeoutMs).type() == QDBusMessage::ReplyMessage
               ? SeekResult::seeked
               : SeekResult::error;
}

std::optional<QVariantMap> PlayerBus::playerProperties(const QString& service,
                                                       int timeoutMs) const {
    if (m_direct) {
        QVariantMap properties;
        switch (DirectBusCalls::playerProperties(service, timeoutMs, &properties)) {
        case DirectBusCalls::Outcome::replied:
            return properties;
        case DirectBusCalls::Outcome::failed:
            return std::nullopt;
        case DirectBusCalls::Outcome::unavailable:
            break;
        }
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        service, QStringLiteral("/org/mpris/MediaPlayer2"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"));
    call << QStringLiteral("org.mpris.MediaPlayer2.Player");
    const QDBusMessage reply = m_connection.call(call, QDBus::Block, timeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return std::nullopt;
    }
    const QVariant answer = reply.arguments().constFirst();
    if (answer.userType() == qMetaTypeId<QDBusArgument>()) {
        return qdbus_cast<QVariantMap>(answer.value<QDBusArgument>());
    }
    return answer.toMap();
}

void PlayerBus::followPlayer(const QString& owner) const {
    if (m_direct) {
        DirectBusCalls::followPlayer(owner);
    }
}

DirectBusCalls::Heard PlayerBus::lastHeardStatus(const QString& owner) const {
    return m_direct ? DirectBusCalls::lastHeardStatus(owner) : DirectBusCalls::Heard::nothing;
}
