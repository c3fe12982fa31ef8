#pragma once

#include <QIcon>
#include <QString>

// The program's images, by symbol name ("goforward.10").
namespace Symbols {

// The icon of `symbolName`; a null icon when there is none.
QIcon icon(const QString& symbolName);

} // namespace Symbols
