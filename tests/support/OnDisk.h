#pragma once

#include "models/MediaApp.h"

#include <QList>
#include <QSettings>
#include <QString>

#include <memory>

class AppSettings;
class SettingsStore;
class LoginItem;

// A store over the INI file at `path`, as the program keeps its settings on Linux.
std::unique_ptr<SettingsStore> settingsStoreAt(const QString& path);
// The app's settings over that file, offering `offeredApps` (referenceApps() in most tests) and
// switching `loginItem`, where given, for launch at login.
std::unique_ptr<AppSettings> appSettingsAt(const QString& path, QList<MediaApp> offeredApps,
                                           std::unique_ptr<LoginItem> loginItem = nullptr);

// The settings file as it is on disk. Settings objects of one process share what they have
// read and written, synced or not, so a test that asks whether a value reached the disk reads a
// fresh copy of the file instead.
std::unique_ptr<QSettings> settingsOnDisk(const QString& path);
