#include "LinkerTrace.h"

#include <QRegularExpression>

namespace LinkerTrace {

void enable(QProcessEnvironment& environment) {
    environment.insert(QStringLiteral("LD_DEBUG"), QStringLiteral("files"));
}

QStringList takeLibraries(QByteArray& err) {
    // The linker's lines start with the process id and a tab.
    static const QRegularExpression linkerLine(QStringLiteral("^ *\\d+:\\s"));
    static const QRegularExpression loaded(QStringLiteral("\\bfile=(\\S+) +\\[\\d+\\]"));
    QStringList libraries;
    QByteArray own;
    for (const QByteArray& line : err.split('\n')) {
        const QString text = QString::fromLocal8Bit(line);
        if (!linkerLine.match(text).hasMatch()) {
            if (!line.isEmpty()) {
                own += line + '\n';
            }
            continue;
        }
        const QRegularExpressionMatch match = loaded.match(text);
        if (match.hasMatch() && !libraries.contains(match.captured(1))) {
            libraries << match.captured(1);
        }
    }
    err = own;
    return libraries;
}

} // namespace LinkerTrace
