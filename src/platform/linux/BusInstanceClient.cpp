#include "BusInstanceClient.h"

#include <dbus/dbus.h>

namespace {

using Command = RunningCopy::Command;

// A seek waits behind the requests queued before it, each bounded by the players' time-outs.
constexpr int seekTimeoutMs = 30000;
constexpr int commandTimeoutMs = 5000;

// The answer in a reply: a seek says what it did; the other commands are done once answered.
RunningCopy::Answer readAnswer(DBusMessage* reply, Command command) {
    if (command != Command::seek) {
        return {.acted = true, .line = {}};
    }
    DBusError error;
    dbus_error_init(&error);
    dbus_bool_t acted = 0;
    const char* line = nullptr;
    RunningCopy::Answer answer;
    if (dbus_message_get_args(reply, &error, DBUS_TYPE_BOOLEAN, &acted, DBUS_TYPE_STRING, &line,
                              DBUS_TYPE_INVALID) != 0) {
        answer = {.acted = acted != 0, .line = line};
    } else {
        answer = {.acted = false, .line = error.message != nullptr ? error.message : ""};
    }
    dbus_error_free(&error);
    return answer;
}

} // namespace

namespace BusInstanceClient {

const char* memberOf(Command command) {
    switch (command) {
    case Command::reopen:
        return "Reopen";
    case Command::seek:
        return "Seek";
    case Command::showSettings:
        return "ShowSettings";
    case Command::quit:
        return "Quit";
    }
    return "Reopen";
}

std::optional<RunningCopy::Answer> send(Command command, double seconds) {
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* bus = dbus_bus_get_private(DBUS_BUS_SESSION, &error);
    dbus_error_free(&error);
    if (bus == nullptr) {
        return std::nullopt;
    }
    dbus_connection_set_exit_on_disconnect(bus, false);
    std::optional<RunningCopy::Answer> answer;
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
            answer = readAnswer(reply, command);
            dbus_message_unref(reply);
        }
    }
    dbus_connection_close(bus);
    dbus_connection_unref(bus);
    return answer;
}

} // namespace BusInstanceClient
