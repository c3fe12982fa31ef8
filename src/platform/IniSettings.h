#pragma once

#include <QSettings>
#include <QString>

#include <memory>

// An INI-format settings file at `path`. A process killed while taking the file's lock can leave
// an empty lock file behind, which would hold up the next start for half a minute; such a lock
// is cleared first. A live lock is empty only for the instant between its creation and its
// owner's process id being written, and a write that raced past it still lands whole, as the
// file is replaced by an atomic rename.
std::unique_ptr<QSettings> openIniSettings(const QString& path);
