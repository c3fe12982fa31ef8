#include "OnDisk.h"

#include <QFile>
#include <QUuid>

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
