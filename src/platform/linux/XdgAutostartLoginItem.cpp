#include "XdgAutostartLoginItem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>

XdgAutostartLoginItem::XdgAutostartLoginItem(QString executablePath)
    : m_executablePath(std::move(executablePath)) {}

QString XdgAutostartLoginItem::entryPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/scrubline.desktop");
}

QString XdgAutostartLoginItem::execValue(const QString& executablePath) {
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    QString argument = executablePath;
    argument.replace(QLatin1Char('%'), QStringLiteral("%%"));
    const bool needsQuotes =
        std::any_of(argument.begin(), argument.end(), [](QChar c) { return reserved.contains(c); });
    if (needsQuotes) {
        QString quoted = QStringLiteral("\"");
        for (QChar c : argument) {
            if (c == u'"' || c == u'`' || c == u'$' || c == u'\\') {
                quoted += QLatin1Char('\\');
            }
            quoted += c;
        }
        argument = quoted + QLatin1Char('"');
    }
    // The value is then a desktop-entry string, which has escapes of its own.
    argument.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    argument.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    argument.replace(QLatin1Char('\t'), QStringLiteral("\\t"));
    return argument;
}

bool XdgAutostartLoginItem::isEnabled() const {
    QFile entry(entryPath());
    if (!entry.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return false;
    }
    // Read as the desktops read it: only the entry's own group counts, and keys are compared
    // as written, since Exec holds escapes that a generic key file reader would undo.
    const QString exec = QStringLiteral("Exec=") + execValue(m_executablePath);
    bool inEntryGroup = false;
    bool startsUs = false;
    bool skipped = false;
    while (!entry.atEnd()) {
        const QString line = QString::fromUtf8(entry.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inEntryGroup = line == QLatin1StringView("[Desktop Entry]");
        } else if (inEntryGroup) {
            startsUs = startsUs || line == exec;
            skipped = skipped || line == QLatin1StringView("Hidden=true") ||
                      line == QLatin1StringView("X-GNOME-Autostart-enabled=false");
        }
    }
    return startsUs && !skipped;
}

QString XdgAutostartLoginItem::setEnabled(bool enabled) {
    const QString path = entryPath();
    const QFileInfo info(path);
    if (!enabled) {
        if (!info.exists() && !info.isSymLink()) {
            return {};
        }
        QFile entry(path);
        if (!entry.remove()) {
            return QStringLiteral("Could not remove %1: %2").arg(path, entry.errorString());
        }
        return {};
    }
    if (!QDir().mkpath(info.absolutePath())) {
        return QStringLiteral("Could not create the folder %1").arg(info.absolutePath());
    }
    // Written to a temporary file and renamed over the old entry, so a session that starts
    // meanwhile never sees half an entry.
    QSaveFile entry(path);
    if (!entry.open(QIODevice::WriteOnly)) {
        return QStringLiteral("Could not write %1: %2").arg(path, entry.errorString());
    }
    const QString text = QStringLiteral("[Desktop Entry]\n"
                                        "Type=Application\n"
                                        "Name=Scrubline\n"
                                        "Comment=Seek the media that is playing with hotkeys\n"
                                        "Exec=%1\n"
                                        "Icon=com.scrubline.app\n"
                                        "Terminal=false\n"
                                        "X-GNOME-Autostart-enabled=true\n")
                             .arg(execValue(m_executablePath));
    entry.write(text.toUtf8());
    if (!entry.commit()) {
        return QStringLiteral("Could not write %1: %2").arg(path, entry.errorString());
    }
    return {};
}
