#include "Desktop.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QThread>

namespace Desktop {

QString output(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(10000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        return {};
    }
    return QString::fromUtf8(process.readAllStandardOutput());
}

QList<Window> visibleWindows(const QString& className) {
    QList<Window> windows;
    const QStringList ids = output(QStringLiteral("xdotool"),
                                   {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                    QStringLiteral("--class"), className})
                                .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& id : ids) {
        // --shell prints WINDOW=, X=, Y=, WIDTH=, HEIGHT= lines.
        const QStringList lines =
            output(QStringLiteral("xdotool"),
                   {QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), id})
                .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QHash<QString, int> values;
        for (const QString& line : lines) {
            const auto parts = line.split(QLatin1Char('='));
            if (parts.size() == 2) {
                values.insert(parts[0], parts[1].toInt());
            }
        }
        if (values.contains(QStringLiteral("WIDTH"))) {
            windows.append(
                {id, QRect(values.value(QStringLiteral("X")), values.value(QStringLiteral("Y")),
                           values.value(QStringLiteral("WIDTH")),
                           values.value(QStringLiteral("HEIGHT")))});
        }
    }
    return windows;
}

void click(QPoint at, int button) {
    output(QStringLiteral("xdotool"),
           {QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
            QStringLiteral("click"), QString::number(button)});
}

} // namespace Desktop

TrayHost::TrayHost() {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

TrayHost::~TrayHost() {
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

bool TrayHost::start() {
    m_process.start(QStringLiteral("trayer"),
                    {QStringLiteral("--edge"), QStringLiteral("top"), QStringLiteral("--align"),
                     QStringLiteral("right"), QStringLiteral("--widthtype"),
                     QStringLiteral("request"), QStringLiteral("--height"), QStringLiteral("32"),
                     QStringLiteral("--transparent"), QStringLiteral("false")});
    if (!m_process.waitForStarted()) {
        return false;
    }
    const QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired()) {
        if (!Desktop::visibleWindows(QStringLiteral("trayer")).isEmpty()) {
            return true;
        }
        QThread::msleep(50);
    }
    return false;
}
