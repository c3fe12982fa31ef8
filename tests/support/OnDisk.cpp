#include "OnDisk.h"

#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"

#include <QFile>
#include <QUuid>

std::unique_ptr<SettingsStore> settingsStoreAt(const QString& path) {
    return std::make_unique<SettingsStore>(std::make_unique<QSettings>(path, QSettings::IniFormat));
}

std::unique_ptr<AppSettings> appSettingsAt(const QString& path, QList<MediaApp> offeredApps,
                                           std::unique_ptr<LoginItem> loginItem) {
    return std::make_unique<AppSettings>(settingsStoreAt(path), std::move(offeredApps),
                                         std::move(loginItem));
}

std::unique_ptr<QSettings> settingsOnDisk(const QString& path) {
    const QString copy =
        path + QStringLiteral(".copy-") + QUuid::createUuid().toString(QUuid::Id128);
    if (QFile::exists(path) && !QFile::copy(path, copy)) {
        qFatal("settingsOnDisk: cannot copy %s", qPrintable(path));
    }
    auto settings = std::make_unique<QSettings>(copy, QSettings::IniFormat);
    settings->allKeys(); // read now, then the copy is no longer needed
    QFile::remove(copy);
    return settings;
}
