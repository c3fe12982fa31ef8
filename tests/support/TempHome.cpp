#include "TempHome.h"

#include <QDir>
#include <QFile>

TempHome::TempHome() {
    if (!m_dir.isValid()) {
        qFatal("TempHome: cannot create a temporary folder: %s", qPrintable(m_dir.errorString()));
    }
    const QString home = m_dir.path();
    QDir().mkpath(home + QStringLiteral("/.config"));
    QDir().mkpath(home + QStringLiteral("/run"));
    QFile::setPermissions(home + QStringLiteral("/run"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    set("HOME", home);
    set("XDG_CONFIG_HOME", home + QStringLiteral("/.config"));
    set("XDG_DATA_HOME", home + QStringLiteral("/.local/share"));
    set("XDG_CACHE_HOME", home + QStringLiteral("/.cache"));
    set("XDG_STATE_HOME", home + QStringLiteral("/.local/state"));
    set("XDG_RUNTIME_DIR", home + QStringLiteral("/run"));
}

TempHome::~TempHome() {
    for (auto it = m_previous.crbegin(); it != m_previous.crend(); ++it) {
        if (it->second) {
            qputenv(it->first.constData(), *it->second);
        } else {
            qunsetenv(it->first.constData());
        }
    }
}

void TempHome::set(const char* name, const QString& value) {
    m_previous.append({QByteArray(name), qEnvironmentVariableIsSet(name)
                                             ? std::optional(qgetenv(name))
                                             : std::nullopt});
    qputenv(name, value.toLocal8Bit());
}
