#pragma once

#include <QSettings>
#include <QString>

#include <memory>

// The settings file as it is on disk. Settings objects of one process share what they have
// read and written, synced or not, so a test that asks whether a value reached the disk reads a
// fresh copy of the file instead.
std::unique_ptr<QSettings> settingsOnDisk(const QString& path);
