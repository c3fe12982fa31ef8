#include "StatusNotifierHostWatch.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace {

QString watcherName() {
    return QString::fromLatin1(StatusNotifierHostWatch::watcherService);
}

QString watcherObject() {
    return QString::fromLatin1(StatusNotifierHostWatch::watcherPath);
}

QString watcherInterfaceName() {
    return QString::fromLatin1(StatusNotifierHostWatch::watcherInterface);
}

} // namespace

StatusNotifierHostWatch::StatusNotifierHostWatch(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_nameWatcher(watcherName(), m_bus, QDBusServiceWatcher::WatchForOwnerChange) {
    if (!m_bus.isConnected()) {
        m_state = TrayAvailability::State::absent;
        return;
    }
    connect(&m_nameWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                if (newOwner.isEmpty()) {
                    ++m_question; // whatever the old watcher still answers no longer counts
                    setState(TrayAvailability::State::absent);
                } else {
                    // A watcher that (re)started knows its hosts only once they register.
                    askWhetherHostsAreRegistered();
                }
            });
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        m_bus.connect(watcherName(), watcherObject(), watcherInterfaceName(),
                      QString::fromLatin1(signal), this, SLOT(onHostsChanged()));
    }
    askWhetherHostsAreRegistered();
}

void StatusNotifierHostWatch::onHostsChanged() {
    // One host going says nothing of the others: the watcher's property does.
    askWhetherHostsAreRegistered();
}

void StatusNotifierHostWatch::askWhetherHostsAreRegistered() {
    QDBusMessage call = QDBusMessage::createMethodCall(
        watcherName(), watcherObject(), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    call << watcherInterfaceName() << QStringLiteral("IsStatusNotifierHostRegistered");
    // Asking must not start a watcher that the session would otherwise start later.
    call.setAutoStartService(false);
    const std::uint64_t question = ++m_question;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, question](QDBusPendingCallWatcher* done) {
                done->deleteLater();
                if (question != m_question) {
                    return;
                }
                const QDBusMessage reply = done->reply();
                // No watcher, or one that does not say, is no tray.
                const bool registered =
                    reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty() &&
                    reply.arguments().constFirst().value<QDBusVariant>().variant().toBool();
                setState(registered ? TrayAvailability::State::present
                                    : TrayAvailability::State::absent);
            });
}

void StatusNotifierHostWatch::setState(TrayAvailability::State state) {
    if (state == m_state) {
        return;
    }
    m_state = state;
    emit stateChanged(state);
}
