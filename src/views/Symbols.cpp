#include "Symbols.h"

#include <QFile>

namespace Symbols {

QIcon icon(const QString& symbolName) {
    const QString path = QStringLiteral(":/symbols/%1.svg").arg(symbolName);
    if (!QFile::exists(path)) {
        return {};
    }
    return QIcon(path);
}

} // namespace Symbols
