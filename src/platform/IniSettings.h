#pragma once

#include <QSettings>
#include <QString>

#include <memory>

// An INI-format settings file at `path`. A process killed while taking the file's lock can leave
// an empty lock file behind, which would hold up the next start for half a minute; such a lock
// is cleared first. (A live lock always holds its owner's process id.)
std::unique_ptr<QSettings> openIniSettings(const QString& path);
