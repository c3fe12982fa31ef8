#include "FakePortal.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDateTime>
#include <QTimer>

namespace {

const QString serviceName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString rootPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

QString senderElement(const QString& sender) {
    QString element = sender.mid(1);
    element.replace(QLatin1Char('.'), QLatin1Char('_'));
    return element;
}

} // namespace

FakePortal::FakePortal()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                          QStringLiteral("fake-portal"))) {
    registerPortalShortcutTypes();
    m_bus.registerVirtualObject(rootPath, this, QDBusConnection::SubPath);
}

FakePortal::~FakePortal() {
    m_bus.unregisterObject(rootPath, QDBusConnection::UnregisterTree);
    disappear();
    QDBusConnection::disconnectFromBus(QStringLiteral("fake-portal"));
}

bool FakePortal::appear() {
    return m_bus.registerService(serviceName);
}

void FakePortal::disappear() {
    m_bus.unregisterService(serviceName);
    if (!m_quirks.backendOutlivesRestart) {
        m_open.clear();
        m_sessionShortcuts.clear();
    }
}

QStringList FakePortal::members() const {
    QStringList members;
    for (const Call& call : m_calls) {
        members << call.member;
    }
    return members;
}

QString FakePortal::requestPath(const QString& sender, const QString& token) {
    return rootPath + QStringLiteral("/request/") + senderElement(sender) + QLatin1Char('/') +
           token;
}

QString FakePortal::sessionPath(const QString& sender, const QString& token) {
    return rootPath + QStringLiteral("/session/") + senderElement(sender) + QLatin1Char('/') +
           token;
}

void FakePortal::activate(const QString& session, const QString& shortcutId) {
    sendShortcutSignal(QStringLiteral("Activated"), session, shortcutId);
}

void FakePortal::deactivate(const QString& session, const QString& shortcutId) {
    sendShortcutSignal(QStringLiteral("Deactivated"), session, shortcutId);
}

void FakePortal::sendShortcutSignal(const QString& name, const QString& session,
                                    const QString& shortcutId) {
    QDBusMessage signal = QDBusMessage::createSignal(rootPath, shortcutsInterface, name);
    signal << QVariant::fromValue(QDBusObjectPath(session)) << shortcutId
           << QVariant::fromValue(static_cast<qulonglong>(QDateTime::currentMSecsSinceEpoch()))
           << QVariantMap();
    m_bus.send(signal);
}

QString FakePortal::introspect(const QString& /*path*/) const {
    return QString();
}

void FakePortal::respond(const QString& request, uint response, const QVariantMap& results) {
    // After the method's own reply, as the portal does.
    QTimer::singleShot(0, this, [this, request, response, results] {
        QDBusMessage signal = QDBusMessage::createSignal(
            request, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        signal << response << results;
        m_bus.send(signal);
    });
}

bool FakePortal::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    m_calls.append({message.path(), message.interface(), message.member(), message.arguments(),
                    message.service()});
    const QString member = message.member();
    const QVariantList arguments = message.arguments();
    if (message.interface() == QStringLiteral("org.freedesktop.host.portal.Registry") &&
        member == QStringLiteral("Register")) {
        connection.send(m_quirks.refusesAppID
                            ? message.createErrorReply(
                                  QStringLiteral("org.freedesktop.portal.Error.Failed"),
                                  QStringLiteral("App info not found for 'com.scrubline.app'"))
                            : message.createReply());
        return true;
    }
    if (message.interface() == QStringLiteral("org.freedesktop.DBus.Properties") &&
        member == QStringLiteral("Get") && arguments.value(0).toString() == shortcutsInterface &&
        arguments.value(1).toString() == QStringLiteral("version")) {
        connection.send(message.createReply(QVariant::fromValue(QDBusVariant(uint(2)))));
        return true;
    }
    if (message.interface() == QStringLiteral("org.freedesktop.portal.Session") &&
        member == QStringLiteral("Close")) {
        m_open.remove(message.path());
        m_sessionShortcuts.remove(message.path());
        connection.send(message.createReply());
        return true;
    }
    if (message.interface() != shortcutsInterface) {
        connection.send(message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error."
                                                                "UnknownMethod"),
                                                 QStringLiteral("No such method")));
        return true;
    }
    const QVariantMap options = qdbus_cast<QVariantMap>(arguments.value(arguments.size() - 1));
    const QString request =
        requestPath(message.service(), options.value(QStringLiteral("handle_token")).toString());
    if (member == QStringLiteral("CreateSession")) {
        const QString session = sessionPath(
            message.service(), options.value(QStringLiteral("session_handle_token")).toString());
        if (m_open.contains(session)) {
            // Two open sessions under one handle cannot be told apart by their signals: the
            // backend refuses, and the portal closes what it held.
            m_open.remove(session);
            m_sessionShortcuts.remove(session);
            connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
            respond(request, 2, {{QStringLiteral("session_handle"), session}});
            return true;
        }
        m_open.insert(session);
        PortalShortcuts held;
        if (m_quirks.setFromCreateSession) {
            held = granted(qdbus_cast<PortalShortcuts>(options.value(QStringLiteral("shortcuts"))));
            for (const PortalShortcut& shortcut : held) {
                m_approved.insert(shortcut.id, shortcut);
            }
        } else if (m_quirks.keepsApprovedShortcuts) {
            held = m_approved.values();
        }
        m_sessionShortcuts.insert(session, held);
        connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
        respond(request, 0, {{QStringLiteral("session_handle"), session}});
        return true;
    }
    if (member == QStringLiteral("BindShortcuts")) {
        bindShortcuts(message, connection, request);
        return true;
    }
    if (member == QStringLiteral("ListShortcuts")) {
        const QString session = arguments.value(0).value<QDBusObjectPath>().path();
        connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
        if (!m_open.contains(session)) {
            respond(request, 2, {});
            return true;
        }
        respond(request, 0,
                {{QStringLiteral("shortcuts"),
                  QVariant::fromValue(m_sessionShortcuts.value(session))}});
        return true;
    }
    connection.send(
        message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"),
                                 QStringLiteral("No such method")));
    return true;
}

PortalShortcuts FakePortal::granted(const PortalShortcuts& shortcuts) const {
    PortalShortcuts granted;
    for (const PortalShortcut& shortcut : shortcuts) {
        const QString trigger = m_assigned.value(
            shortcut.id, shortcut.properties.value(QStringLiteral("preferred_trigger")).toString());
        granted.append({shortcut.id,
                        {{QStringLiteral("description"),
                          shortcut.properties.value(QStringLiteral("description"))},
                         {QStringLiteral("trigger_description"), trigger}}});
    }
    return granted;
}

void FakePortal::bindShortcuts(const QDBusMessage& message, const QDBusConnection& connection,
                               const QString& request) {
    const QVariantList arguments = message.arguments();
    m_boundSession = arguments.value(0).value<QDBusObjectPath>().path();
    m_bound = qdbus_cast<PortalShortcuts>(arguments.value(1));
    connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    if (!m_open.contains(m_boundSession)) {
        respond(request, 2, {});
        return;
    }
    if (m_quirks.setFromCreateSession) {
        respond(request, 0,
                {{QStringLiteral("shortcuts"), QVariant::fromValue(PortalShortcuts())}});
        return;
    }
    bool unknown = false;
    for (const PortalShortcut& shortcut : m_bound) {
        unknown = unknown || !m_approved.contains(shortcut.id);
    }
    if (unknown) {
        ++m_timesAsked;
    }
    if (m_quirks.userDeclines) {
        respond(request, 1, {});
        return;
    }
    if (m_quirks.userCancelsNew && unknown) {
        m_sessionShortcuts.insert(m_boundSession, {});
        respond(request, 2, {});
        return;
    }
    // What the user approved keeps the trigger it was given then.
    PortalShortcuts bound;
    for (const PortalShortcut& shortcut : granted(m_bound)) {
        bound.append(m_quirks.keepsApprovedShortcuts ? m_approved.value(shortcut.id, shortcut)
                                                     : shortcut);
        m_approved.insert(shortcut.id, bound.last());
    }
    m_sessionShortcuts.insert(m_boundSession, bound);
    respond(request, m_quirks.answersTwoWhenBound ? 2 : 0,
            {{QStringLiteral("shortcuts"), QVariant::fromValue(bound)}});
}
