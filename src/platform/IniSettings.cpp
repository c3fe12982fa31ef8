#include "IniSettings.h"

#include <QFile>
#include <QFileInfo>

std::unique_ptr<QSettings> openIniSettings(const QString& path) {
    const QString lock = path + QStringLiteral(".lock");
    const QFileInfo info(lock);
    if (info.isFile() && info.size() == 0) {
        QFile::remove(lock);
    }
    return std::make_unique<QSettings>(path, QSettings::IniFormat);
}
