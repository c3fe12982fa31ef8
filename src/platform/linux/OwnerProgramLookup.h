#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>

// Finds out which program owns a bus connection, by its unique name, without waiting: `answer`
// is called later on `context`'s thread with the path of the program's executable (empty where
// it cannot be known), and not at all once `context` is gone.
using OwnerProgramLookup = std::function<void(const QString& uniqueName, QObject* context,
                                              std::function<void(const QString& program)> answer)>;

namespace OwnerProgram {

// Asks the bus daemon for the connection's process, and the system for that process's program.
OwnerProgramLookup askingBus(QDBusConnection bus);

} // namespace OwnerProgram
