#pragma once

#include <QList>
#include <QProcess>
#include <QRect>
#include <QString>
#include <QStringList>

// The X session a gui or e2e test runs in (see with-session), driven the way a person would:
// through xdotool, and a system tray hosted by trayer.
namespace Desktop {

struct Window {
    QString id;
    QRect geometry;
};

// Mapped windows whose class is `className`, with their place on the screen.
QList<Window> visibleWindows(const QString& className);

// Moves the pointer to `at` and clicks `button` (1 left, 3 right).
void click(QPoint at, int button);

// Runs a tool to its end; its standard output, or an empty string when it failed.
QString output(const QString& program, const QStringList& arguments);

} // namespace Desktop

// A system tray at the top right of the screen, for as long as it lives.
class TrayHost {
public:
    TrayHost();
    ~TrayHost();
    TrayHost(const TrayHost&) = delete;
    TrayHost& operator=(const TrayHost&) = delete;

    // Whether the tray is up and has claimed the tray selection.
    bool start();

private:
    QProcess m_process;
};
