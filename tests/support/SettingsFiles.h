#pragma once

#include <QByteArray>
#include <QJsonObject>

// Settings files for tests: a valid one, and every kind of broken one an import must refuse.
namespace SettingsFiles {

// A complete file whose values all differ from the defaults.
QJsonObject validFile();
QByteArray bytesOf(const QJsonObject& object);

// Adds the column "bytes" and one row per kind of file that is not a valid settings file.
void addInvalidFileRows();

} // namespace SettingsFiles
