#include "BrowserScript.h"

namespace BrowserScript {
namespace {

class Lines {
public:
    void add(int depth, const QString& line) {
        m_lines << QString(depth * 4, QLatin1Char(' ')) + line;
    }
    void add(int depth, const Action& action) {
        for (const QString& line : action) {
            add(depth, line);
        }
    }
    QString joined() const { return m_lines.join(QLatin1Char('\n')); }

private:
    QStringList m_lines;
};

// Everything up to the end of the front tab's block.
Lines frontTabPart(QStringView application, QStringView frontTab, const QString& urlCheck,
                   const Action& action, const QString& noWindow, const QString& uncountable) {
    Lines lines;
    lines.add(1, QStringLiteral("tell application \"") + application.toString() + QLatin1Char('"'));
    lines.add(2, QStringLiteral("try"));
    lines.add(3, QStringLiteral("if (count of windows) is 0 then return ") + noWindow);
    lines.add(2, QStringLiteral("on error"));
    lines.add(3, QStringLiteral("return ") + uncountable);
    lines.add(2, QStringLiteral("end try"));
    lines.add(2, QStringLiteral("try"));
    lines.add(3, QStringLiteral("set t to ") + frontTab.toString() +
                     QStringLiteral(" of front window"));
    lines.add(3, QStringLiteral("set tabURL to URL of t"));
    lines.add(3, QStringLiteral("if ") + urlCheck + QStringLiteral(" then"));
    lines.add(4, action);
    lines.add(3, QStringLiteral("end if"));
    lines.add(2, QStringLiteral("end try"));
    return lines;
}

} // namespace

Action seekAction(RunProgram run, const QString& pausedJS, const QString& seekJS) {
    return {
        QStringLiteral("set isPaused to (") + run(pausedJS) + QStringLiteral(") as text"),
        QStringLiteral("if isPaused is \"false\" then"),
        QStringLiteral("    ") + run(seekJS),
        QStringLiteral("    return \"true\""),
        QStringLiteral("end if"),
    };
}

Action toggleAction(RunProgram run, const QString& toggleJS) {
    return {run(toggleJS), QStringLiteral("return \"true\"")};
}

Action titleAction(RunProgram run, const QString& titleJS) {
    return {
        QStringLiteral("set info to (") + run(titleJS) + QStringLiteral(") as text"),
        QStringLiteral("if info is not \"\" then return info"),
    };
}

QString sweep(QStringView application, QStringView frontTab, const QString& urlCheck,
              const Action& action) {
    const QString no = QStringLiteral("\"false\"");
    Lines lines =
        frontTabPart(application, frontTab, urlCheck, action, no, QStringLiteral("\"error\""));
    lines.add(2, QStringLiteral("set windowCount to count of windows"));
    lines.add(2, QStringLiteral("repeat with i from 1 to windowCount"));
    lines.add(3, QStringLiteral("set w to window i"));
    lines.add(3, QStringLiteral("set tabCount to count of tabs of w"));
    lines.add(3, QStringLiteral("repeat with j from 1 to tabCount"));
    lines.add(4, QStringLiteral("try"));
    lines.add(5, QStringLiteral("set t to tab j of w"));
    lines.add(5, QStringLiteral("set tabURL to URL of t"));
    lines.add(5, QStringLiteral("if ") + urlCheck + QStringLiteral(" then"));
    lines.add(6, action);
    lines.add(5, QStringLiteral("end if"));
    lines.add(4, QStringLiteral("end try"));
    lines.add(3, QStringLiteral("end repeat"));
    lines.add(2, QStringLiteral("end repeat"));
    lines.add(2, QStringLiteral("return ") + no);
    lines.add(1, QStringLiteral("end tell"));
    return lines.joined();
}

QString frontTabOnly(QStringView application, QStringView frontTab, const QString& urlCheck,
                     const Action& action) {
    const QString empty = QStringLiteral("\"\"");
    Lines lines = frontTabPart(application, frontTab, urlCheck, action, empty, empty);
    lines.add(2, QStringLiteral("return ") + empty);
    lines.add(1, QStringLiteral("end tell"));
    return lines.joined();
}

} // namespace BrowserScript
