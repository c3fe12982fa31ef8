#include "DirectBusCalls.h"

#include <dbus/dbus.h>

#include <functional>

namespace DirectBusCalls {
namespace {

// One private connection per thread: a call blocked on a hung player then holds up no other
// thread's calls. Closed when the thread ends.
class ThreadConnection {
public:
    ThreadConnection() {
        DBusError error;
        dbus_error_init(&error);
        m_connection = dbus_bus_get_private(DBUS_BUS_SESSION, &error);
        dbus_error_free(&error);
        if (m_connection != nullptr) {
            dbus_connection_set_exit_on_disconnect(m_connection, false);
        }
    }
    ~ThreadConnection() {
        if (m_connection != nullptr) {
            dbus_connection_close(m_connection);
            dbus_connection_unref(m_connection);
        }
    }
    ThreadConnection(const ThreadConnection&) = delete;
    ThreadConnection& operator=(const ThreadConnection&) = delete;

    DBusConnection* get() {
        return m_connection != nullptr && dbus_connection_get_is_connected(m_connection)
                   ? m_connection
                   : nullptr;
    }

private:
    DBusConnection* m_connection = nullptr;
};

Outcome call(const QString& service, const char* member,
             const std::function<bool(DBusMessage*)>& addArguments, int timeoutMs) {
    thread_local ThreadConnection connection;
    DBusConnection* bus = connection.get();
    if (bus == nullptr) {
        return Outcome::unavailable;
    }
    // Nothing else reads this connection: drop what came in since the last call (the late
    // answer to a call that timed out, the bus's greeting), so it never piles up.
    dbus_connection_read_write(bus, 0);
    while (DBusMessage* stale = dbus_connection_pop_message(bus)) {
        dbus_message_unref(stale);
    }
    const QByteArray destination = service.toUtf8();
    DBusMessage* message =
        dbus_message_new_method_call(destination.constData(), "/org/mpris/MediaPlayer2",
                                     "org.mpris.MediaPlayer2.Player", member);
    if (message == nullptr || !addArguments(message)) {
        if (message != nullptr) {
            dbus_message_unref(message);
        }
        return Outcome::failed;
    }
    DBusError error;
    dbus_error_init(&error);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(bus, message, timeoutMs, &error);
    dbus_message_unref(message);
    dbus_error_free(&error);
    if (reply == nullptr) {
        return Outcome::failed;
    }
    dbus_message_unref(reply);
    return Outcome::replied;
}

} // namespace

Outcome seek(const QString& service, std::int64_t offsetUs, int timeoutMs) {
    return call(
        service, "Seek",
        [offsetUs](DBusMessage* message) {
            const dbus_int64_t offset = offsetUs;
            return dbus_message_append_args(message, DBUS_TYPE_INT64, &offset, DBUS_TYPE_INVALID) !=
                   0;
        },
        timeoutMs);
}

Outcome setPosition(const QString& service, const QString& trackId, std::int64_t positionUs,
                    int timeoutMs) {
    const QByteArray path = trackId.toUtf8();
    return call(
        service, "SetPosition",
        [&path, positionUs](DBusMessage* message) {
            const char* track = path.constData();
            const dbus_int64_t position = positionUs;
            return dbus_message_append_args(message, DBUS_TYPE_OBJECT_PATH, &track, DBUS_TYPE_INT64,
                                            &position, DBUS_TYPE_INVALID) != 0;
        },
        timeoutMs);
}

Outcome playPause(const QString& service, int timeoutMs) {
    return call(
        service, "PlayPause", [](DBusMessage*) { return true; }, timeoutMs);
}

} // namespace DirectBusCalls
