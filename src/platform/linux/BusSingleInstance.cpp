#include "BusSingleInstance.h"

#include "BusInstanceClient.h"

#include "utilities/Logger.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>

namespace {

using BusInstanceClient::memberOf;
using Command = SingleInstance::Command;

class InstanceObject : public QDBusVirtualObject {
public:
    explicit InstanceObject(SingleInstance::Requests requests)
        : m_requests(std::move(requests)) {}

    QString introspect(const QString& path) const override {
        if (path != QLatin1String(BusInstanceClient::objectPath)) {
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
        if (message.interface() != QLatin1String(BusInstanceClient::interfaceName) &&
            !message.interface().isEmpty()) {
            return false;
        }
        const QString member = message.member();
        if (member == QLatin1String(memberOf(Command::seek)) &&
            message.signature() == QLatin1String("d")) {
            const double seconds = message.arguments().constFirst().toDouble();
            // Answered once the request has had its turn in the queue.
            m_requests.seek(seconds, [connection, reply = message.createReply()](
                                         const SingleInstance::Answer& answer) mutable {
                reply << answer.acted << QString::fromStdString(answer.line);
                connection.send(reply);
            });
            return true;
        }
        const std::function<void()>* request = nullptr;
        if (member == QLatin1String(memberOf(Command::reopen))) {
            request = &m_requests.reopen;
        } else if (member == QLatin1String(memberOf(Command::showSettings))) {
            request = &m_requests.showSettings;
        } else if (member == QLatin1String(memberOf(Command::quit))) {
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

} // namespace

BusSingleInstance::BusSingleInstance() = default;

BusSingleInstance::~BusSingleInstance() {
    if (m_server) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterObject(QLatin1String(BusInstanceClient::objectPath));
        bus.unregisterService(QLatin1String(BusInstanceClient::serviceName));
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
        QLatin1String(BusInstanceClient::serviceName), QDBusConnectionInterface::DontQueueService,
        QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        return false;
    }
    m_server = std::make_unique<InstanceObject>(std::move(requests));
    if (!bus.registerVirtualObject(QLatin1String(BusInstanceClient::objectPath), m_server.get())) {
        qCCritical(Log::general(), "Cannot serve %s on the session bus",
                   BusInstanceClient::objectPath);
    }
    return true;
}

std::optional<SingleInstance::Answer> BusSingleInstance::send(Command command, double seconds) {
    return BusInstanceClient::send(command, seconds);
}
