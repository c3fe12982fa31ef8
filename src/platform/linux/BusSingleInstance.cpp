#include "BusSingleInstance.h"

#include "utilities/Logger.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <dbus/dbus.h>

namespace {

// A seek waits behind the requests queued before it, each bounded by the players' time-outs.
constexpr int seekTimeoutMs = 30000;
constexpr int commandTimeoutMs = 5000;

class InstanceObject : public QDBusVirtualObject {
public:
    explicit InstanceObject(SingleInstance::Requests requests)
        : m_requests(std::move(requests)) {}

    QString introspect(const QString& path) const override {
        if (path != QLatin1String(BusSingleInstance::objectPath)) {
            return {};
        }
        return QStringLiteral(
            "<interface name=\"com.scrubline.app\">"
            "<method name=\"Reopen\"/>"
            "<method name=\"Seek\"><arg name=\"seconds\" type=\"d\" direction=\"in\"/>"
            "<arg name=\"acted\" type=\"b\" direction=\"out\"/>"
            "<arg name=\"line\" type=\"s\" direction=\"out\"/></method>"
            "<method name=\"ShowSettings\"/>"
            "<method name=\"Quit\"/>"
            "</interface>");
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != QLatin1String(BusSingleInstance::interfaceName) &&
            !message.interface().isEmpty()) {
            return false;
        }
        const QString member = message.member();
        if (member == QLatin1String("Seek") && message.signature() == QLatin1String("d")) {
            const double seconds = message.arguments().constFirst().toDouble();
            // Answered once the request has had its turn in the queue.
            m_requests.seek(seconds, [connection, reply = message.createReply()](
                                         const SingleInstance::Answer& answer) mutable {
                reply << answer.acted << answer.line;
                connection.send(reply);
            });
            return true;
        }
        const std::function<void()>* request = nullptr;
        if (member == QLatin1String("Reopen")) {
            request = &m_requests.reopen;
        } else if (member == QLatin1String("ShowSettings")) {
            request = &m_requests.showSettings;
        } else if (member == QLatin1String("Quit")) {
            request = &m_requests.quit;
        }
        if (request == nullptr || !message.signature().isEmpty()) {
            return false;
        }
        // Answered first, so that the asking process is free before anything else happens.
        connection.send(message.createReply());
        (*request)();
        return true;
    }

private:
    SingleInstance::Requests m_requests;
};

const char* memberOf(SingleInstance::Command command) {
    switch (command) {
    case SingleInstance::Command::reopen:
        return "Reopen";
    case SingleInstance::Command::seek:
        return "Seek";
    case SingleInstance::Command::showSettings:
        return "ShowSettings";
    case SingleInstance::Command::quit:
        return "Quit";
    }
    return "Reopen";
}

} // namespace

BusSingleInstance::BusSingleInstance() = default;

BusSingleInstance::~BusSingleInstance() {
    if (m_server) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterObject(QLatin1String(objectPath));
        bus.unregisterService(QLatin1String(serviceName));
    }
}

bool BusSingleInstance::claim(Requests requests) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        // Nothing can reach this copy, and nothing can tell of another: run alone.
        return true;
    }
    // Never queued for the name: a second copy learns at once that it is one.
    const auto reply = bus.interface()->registerService(
        QLatin1String(serviceName), QDBusConnectionInterface::DontQueueService,
        QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        return false;
    }
    m_server = std::make_unique<InstanceObject>(std::move(requests));
    if (!bus.registerVirtualObject(QLatin1String(objectPath), m_server.get())) {
        qCCritical(Log::general(), "Cannot serve %s on the session bus", objectPath);
    }
    return true;
}

std::optional<SingleInstance::Answer> BusSingleInstance::send(Command command, double seconds) {
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* bus = dbus_bus_get_private(DBUS_BUS_SESSION, &error);
    dbus_error_free(&error);
    if (bus == nullptr) {
        return std::nullopt;
    }
    dbus_connection_set_exit_on_disconnect(bus, false);
    std::optional<Answer> answer;
    DBusMessage* message =
        dbus_message_new_method_call(serviceName, objectPath, interfaceName, memberOf(command));
    if (message != nullptr) {
        // Only a copy that runs may answer; the bus starts none.
        dbus_message_set_auto_start(message, false);
        const bool built =
            command != Command::seek ||
            dbus_message_append_args(message, DBUS_TYPE_DOUBLE, &seconds, DBUS_TYPE_INVALID) != 0;
        dbus_error_init(&error);
        DBusMessage* reply =
            built ? dbus_connection_send_with_reply_and_block(
                        bus, message, command == Command::seek ? seekTimeoutMs : commandTimeoutMs,
                        &error)
                  : nullptr;
        dbus_error_free(&error);
        dbus_message_unref(message);
        if (reply != nullptr) {
            Answer taken{.acted = true, .line = {}};
            if (command == Command::seek) {
                dbus_bool_t acted = 0;
                const char* line = nullptr;
                dbus_error_init(&error);
                if (dbus_message_get_args(reply, &error, DBUS_TYPE_BOOLEAN, &acted,
                                          DBUS_TYPE_STRING, &line, DBUS_TYPE_INVALID) != 0) {
                    taken = {.acted = acted != 0, .line = QString::fromUtf8(line)};
                } else {
                    taken = {.acted = false, .line = QString::fromUtf8(error.message)};
                }
                dbus_error_free(&error);
            }
            answer = taken;
            dbus_message_unref(reply);
        }
    }
    dbus_connection_close(bus);
    dbus_connection_unref(bus);
    return answer;
}
