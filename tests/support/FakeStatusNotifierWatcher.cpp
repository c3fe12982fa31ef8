#include "FakeStatusNotifierWatcher.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>

#include <algorithm>

namespace {

const QString connectionName = QStringLiteral("fake-status-notifier-watcher");
// Where an item registered by its bus name alone lives.
const QString defaultItemPath = QStringLiteral("/StatusNotifierItem");

QString watcherInterface() {
    return QString::fromLatin1(FakeStatusNotifierWatcher::interface);
}

QDBusMessage unknownMethod(const QDBusMessage& message) {
    return message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"),
                                    QStringLiteral("No such method"));
}

} // namespace

FakeStatusNotifierWatcher::FakeStatusNotifierWatcher()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName))
    , m_clients(QString(), m_bus, QDBusServiceWatcher::WatchForUnregistration) {
    m_bus.registerVirtualObject(QString::fromLatin1(path), this);
    connect(&m_clients, &QDBusServiceWatcher::serviceUnregistered, this,
            &FakeStatusNotifierWatcher::serviceGone);
}

FakeStatusNotifierWatcher::~FakeStatusNotifierWatcher() {
    m_bus.unregisterObject(QString::fromLatin1(path));
    disappear();
    QDBusConnection::disconnectFromBus(connectionName);
}

bool FakeStatusNotifierWatcher::appear() {
    return m_bus.registerService(QString::fromLatin1(service));
}

void FakeStatusNotifierWatcher::disappear() {
    m_bus.unregisterService(QString::fromLatin1(service));
    m_items.clear();
    m_hosts.clear();
    m_clients.setWatchedServices({});
}

QString FakeStatusNotifierWatcher::introspect(const QString& /*path*/) const {
    return QStringLiteral(R"(<interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg name="service" type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
  <signal name="StatusNotifierHostRegistered"/>
  <signal name="StatusNotifierHostUnregistered"/>
</interface>
)");
}

QVariant FakeStatusNotifierWatcher::property(const QString& name) const {
    if (name == QStringLiteral("RegisteredStatusNotifierItems")) {
        QStringList ids;
        for (const Item& item : m_items) {
            ids << item.id();
        }
        return ids;
    }
    if (name == QStringLiteral("IsStatusNotifierHostRegistered")) {
        return !m_hosts.isEmpty();
    }
    if (name == QStringLiteral("ProtocolVersion")) {
        return 0;
    }
    return {};
}

void FakeStatusNotifierWatcher::emitSignal(const char* name, const QVariantList& arguments) {
    QDBusMessage signal = QDBusMessage::createSignal(QString::fromLatin1(path), watcherInterface(),
                                                     QString::fromLatin1(name));
    signal.setArguments(arguments);
    m_bus.send(signal);
}

bool FakeStatusNotifierWatcher::handleMessage(const QDBusMessage& message,
                                              const QDBusConnection& connection) {
    const QString member = message.member();
    const QVariantList arguments = message.arguments();
    // The toolkit reads the properties through a proxy that it builds from the introspection.
    if (message.interface() == QStringLiteral("org.freedesktop.DBus.Introspectable") &&
        member == QStringLiteral("Introspect")) {
        connection.send(message.createReply(
            QStringLiteral("<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object "
                           "Introspection 1.0//EN\"\n \"http://www.freedesktop.org/standards/"
                           "dbus/1.0/introspect.dtd\">\n<node>\n") +
            introspect(message.path()) + QStringLiteral("</node>\n")));
        return true;
    }
    if (message.interface() == QStringLiteral("org.freedesktop.DBus.Properties")) {
        if (arguments.value(0).toString() != watcherInterface()) {
            connection.send(message.createErrorReply(
                QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface"),
                QStringLiteral("No such interface")));
            return true;
        }
        if (member == QStringLiteral("Get")) {
            const QVariant value = property(arguments.value(1).toString());
            connection.send(value.isValid()
                                ? message.createReply(QVariant::fromValue(QDBusVariant(value)))
                                : message.createErrorReply(
                                      QStringLiteral("org.freedesktop.DBus.Error.UnknownProperty"),
                                      QStringLiteral("No such property")));
            return true;
        }
        if (member == QStringLiteral("GetAll")) {
            QVariantMap all;
            for (const char* name : {"RegisteredStatusNotifierItems",
                                     "IsStatusNotifierHostRegistered", "ProtocolVersion"}) {
                all.insert(QString::fromLatin1(name), property(QString::fromLatin1(name)));
            }
            connection.send(message.createReply(all));
            return true;
        }
        connection.send(
            message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.PropertyReadOnly"),
                                     QStringLiteral("The watcher's properties are read-only")));
        return true;
    }
    if (message.interface() != watcherInterface() || arguments.size() != 1 ||
        arguments.first().metaType() != QMetaType::fromType<QString>()) {
        connection.send(unknownMethod(message));
        return true;
    }
    const QString argument = arguments.first().toString();
    if (member == QStringLiteral("RegisterStatusNotifierItem")) {
        // A path alone names an object of the caller's own connection.
        const Item item = argument.startsWith(QLatin1Char('/')) ? Item{message.service(), argument}
                                                                : Item{argument, defaultItemPath};
        if (!m_bus.interface()->isServiceRegistered(item.service).value()) {
            connection.send(message.createErrorReply(
                QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown"),
                QStringLiteral("No such service on the bus")));
            return true;
        }
        ++m_registrations;
        connection.send(message.createReply());
        const bool known = std::any_of(m_items.cbegin(), m_items.cend(), [&item](const Item& each) {
            return each.id() == item.id();
        });
        if (!known) {
            m_items.append(item);
            m_clients.addWatchedService(item.service);
            emitSignal("StatusNotifierItemRegistered", {item.id()});
            emit itemRegistered(item.id());
        }
        return true;
    }
    if (member == QStringLiteral("RegisterStatusNotifierHost")) {
        connection.send(message.createReply());
        if (!m_hosts.contains(argument)) {
            m_hosts.append(argument);
            m_clients.addWatchedService(argument);
            emitSignal("StatusNotifierHostRegistered");
        }
        return true;
    }
    connection.send(unknownMethod(message));
    return true;
}

void FakeStatusNotifierWatcher::serviceGone(const QString& name) {
    for (qsizetype i = m_items.size() - 1; i >= 0; --i) {
        if (m_items.at(i).service == name) {
            const QString id = m_items.takeAt(i).id();
            emitSignal("StatusNotifierItemUnregistered", {id});
        }
    }
    if (m_hosts.removeAll(name) > 0) {
        emitSignal("StatusNotifierHostUnregistered");
    }
    m_clients.removeWatchedService(name);
}
