#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QTemporaryDir>

#include <optional>

// Points HOME and the XDG folders at a fresh temporary folder for as long as it lives, so a test
// never reads or writes the real user's settings. The previous values come back afterwards.
class TempHome {
public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    QString path() const { return m_dir.path(); }
    QString configPath() const { return m_dir.path() + QStringLiteral("/.config"); }

private:
    void set(const char* name, const QString& value);

    QTemporaryDir m_dir;
    QList<QPair<QByteArray, std::optional<QByteArray>>> m_previous;
};
