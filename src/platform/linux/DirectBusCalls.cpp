#include "DirectBusCalls.h"

#include <QDBusObjectPath>
#include <QHash>
#include <QSet>
#include <QStringList>

#include <dbus/dbus.h>

#include <functional>
#include <optional>

namespace DirectBusCalls {
namespace {

QVariant read(DBusMessageIter* it, int depth);

// What a PropertiesChanged signal of a player says of its status; absent when nothing.
std::optional<Heard> statusIn(DBusMessage* signal) {
    DBusMessageIter it;
    if (dbus_message_iter_init(signal, &it) == 0 ||
        read(&it, 0).toString() != QLatin1String("org.mpris.MediaPlayer2.Player") ||
        dbus_message_iter_next(&it) == 0) {
        return std::nullopt;
    }
    const QVariantMap changed = read(&it, 0).toMap();
    const auto status = changed.constFind(QStringLiteral("PlaybackStatus"));
    if (status == changed.cend()) {
        return std::nullopt;
    }
    if (status->toString() == QLatin1String("Playing")) {
        return Heard::playing;
    }
    const auto metadata = changed.constFind(QStringLiteral("Metadata"));
    if (status->toString() == QLatin1String("Stopped") && metadata != changed.cend()) {
        const QVariant track = metadata->toMap().value(QStringLiteral("mpris:trackid"));
        const QString path = track.userType() == qMetaTypeId<QDBusObjectPath>()
                                 ? track.value<QDBusObjectPath>().path()
                                 : track.toString();
        if (path.isEmpty() || path == QLatin1String("/org/mpris/MediaPlayer2/TrackList/NoTrack")) {
            return Heard::vanished;
        }
    }
    return Heard::other;
}

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

    // Takes in what came in since the last look: the players' announcements when followed,
    // else nothing (the late answer to a call that timed out, the bus's greeting), so that it
    // never piles up.
    void drain() {
        dbus_connection_read_write(m_connection, 0);
        while (DBusMessage* message = dbus_connection_pop_message(m_connection)) {
            if (!m_followed.isEmpty() &&
                dbus_message_is_signal(message, "org.freedesktop.DBus.Properties",
                                       "PropertiesChanged") != 0 &&
                dbus_message_get_sender(message) != nullptr) {
                if (const std::optional<Heard> status = statusIn(message)) {
                    m_heard.insert(QString::fromUtf8(dbus_message_get_sender(message)), *status);
                }
            }
            dbus_message_unref(message);
        }
    }

    bool follow(const QString& owner) {
        if (m_followed.contains(owner)) {
            return true;
        }
        if (owner.isEmpty() || get() == nullptr) {
            return false;
        }
        // Only the players we seek: their few announcements wait here until the next press.
        const QByteArray rule =
            QStringLiteral("type='signal',sender='%1',interface='org.freedesktop.DBus.Properties',"
                           "member='PropertiesChanged',path='/org/mpris/MediaPlayer2'")
                .arg(owner)
                .toUtf8();
        DBusError error;
        dbus_error_init(&error);
        dbus_bus_add_match(m_connection, rule.constData(), &error);
        const bool followed = dbus_error_is_set(&error) == 0;
        dbus_error_free(&error);
        if (followed) {
            m_followed.insert(owner);
        }
        return followed;
    }

    Heard heard(const QString& owner) {
        if (get() == nullptr || !m_followed.contains(owner)) {
            return Heard::nothing;
        }
        drain();
        return m_heard.value(owner, Heard::nothing);
    }

private:
    DBusConnection* m_connection = nullptr;
    QSet<QString> m_followed;      // the players' unique connection names
    QHash<QString, Heard> m_heard; // by the same names
};

ThreadConnection& threadConnection() {
    thread_local ThreadConnection connection;
    return connection;
}

Outcome call(const QString& service, const char* interface, const char* member,
             const std::function<bool(DBusMessage*)>& addArguments, int timeoutMs,
             const std::function<bool(DBusMessage*)>& takeReply = {}) {
    ThreadConnection& connection = threadConnection();
    DBusConnection* bus = connection.get();
    if (bus == nullptr) {
        return Outcome::unavailable;
    }
    connection.drain();
    const QByteArray destination = service.toUtf8();
    DBusMessage* message = dbus_message_new_method_call(
        destination.constData(), "/org/mpris/MediaPlayer2", interface, member);
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
    const bool taken = !takeReply || takeReply(reply);
    dbus_message_unref(reply);
    return taken ? Outcome::replied : Outcome::failed;
}

Outcome playerCall(const QString& service, const char* member,
                   const std::function<bool(DBusMessage*)>& addArguments, int timeoutMs) {
    return call(service, "org.mpris.MediaPlayer2.Player", member, addArguments, timeoutMs);
}

// A value as QtDBus would give it, variants unwrapped: dictionaries as maps, arrays of text as
// string lists, object paths as QDBusObjectPath.
QVariant read(DBusMessageIter* it, int depth) {
    if (depth > 16) {
        return {}; // nothing a player sends nests this deep
    }
    const auto basic = [it](auto value) {
        dbus_message_iter_get_basic(it, &value);
        return value;
    };
    switch (dbus_message_iter_get_arg_type(it)) {
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_SIGNATURE:
        return QString::fromUtf8(basic(static_cast<const char*>(nullptr)));
    case DBUS_TYPE_OBJECT_PATH:
        return QVariant::fromValue(
            QDBusObjectPath(QString::fromUtf8(basic(static_cast<const char*>(nullptr)))));
    case DBUS_TYPE_BOOLEAN:
        return basic(dbus_bool_t{0}) != 0;
    case DBUS_TYPE_BYTE:
        return static_cast<uint>(basic(static_cast<unsigned char>(0)));
    case DBUS_TYPE_INT16:
        return static_cast<int>(basic(dbus_int16_t{0}));
    case DBUS_TYPE_UINT16:
        return static_cast<uint>(basic(dbus_uint16_t{0}));
    case DBUS_TYPE_INT32:
        return static_cast<int>(basic(dbus_int32_t{0}));
    case DBUS_TYPE_UINT32:
        return static_cast<uint>(basic(dbus_uint32_t{0}));
    case DBUS_TYPE_INT64:
        return static_cast<qlonglong>(basic(dbus_int64_t{0}));
    case DBUS_TYPE_UINT64:
        return static_cast<qulonglong>(basic(dbus_uint64_t{0}));
    case DBUS_TYPE_DOUBLE:
        return basic(0.0);
    case DBUS_TYPE_VARIANT: {
        DBusMessageIter inner;
        dbus_message_iter_recurse(it, &inner);
        return read(&inner, depth + 1);
    }
    case DBUS_TYPE_ARRAY: {
        const int element = dbus_message_iter_get_element_type(it);
        DBusMessageIter inner;
        dbus_message_iter_recurse(it, &inner);
        if (element == DBUS_TYPE_DICT_ENTRY) {
            QVariantMap map;
            for (; dbus_message_iter_get_arg_type(&inner) == DBUS_TYPE_DICT_ENTRY;
                 dbus_message_iter_next(&inner)) {
                DBusMessageIter entry;
                dbus_message_iter_recurse(&inner, &entry);
                const QString key = read(&entry, depth + 1).toString();
                dbus_message_iter_next(&entry);
                map.insert(key, read(&entry, depth + 1));
            }
            return map;
        }
        QVariantList list;
        for (; dbus_message_iter_get_arg_type(&inner) != DBUS_TYPE_INVALID;
             dbus_message_iter_next(&inner)) {
            list << read(&inner, depth + 1);
        }
        if (element == DBUS_TYPE_STRING) {
            return QVariant(list).toStringList();
        }
        return list;
    }
    default:
        return {};
    }
}

} // namespace

Outcome seek(const QString& service, std::int64_t offsetUs, int timeoutMs) {
    return playerCall(
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
    return playerCall(
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
    return playerCall(
        service, "PlayPause", [](DBusMessage*) { return true; }, timeoutMs);
}

Outcome playerProperties(const QString& service, int timeoutMs, QVariantMap* properties) {
    return call(
        service, "org.freedesktop.DBus.Properties", "GetAll",
        [](DBusMessage* message) {
            const char* interface = "org.mpris.MediaPlayer2.Player";
            return dbus_message_append_args(message, DBUS_TYPE_STRING, &interface,
                                            DBUS_TYPE_INVALID) != 0;
        },
        timeoutMs,
        [properties](DBusMessage* reply) {
            DBusMessageIter it;
            if (dbus_message_iter_init(reply, &it) == 0 ||
                dbus_message_iter_get_arg_type(&it) != DBUS_TYPE_ARRAY ||
                dbus_message_iter_get_element_type(&it) != DBUS_TYPE_DICT_ENTRY) {
                return false;
            }
            *properties = read(&it, 0).toMap();
            return true;
        });
}

bool followPlayer(const QString& owner) {
    return threadConnection().follow(owner);
}

Heard lastHeardStatus(const QString& owner) {
    return threadConnection().heard(owner);
}

} // namespace DirectBusCalls
