#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QStringList>

#include <memory>

class SymbolImages;

// The program's images, by symbol name ("goforward.10"). The platform's own symbol is used
// where it has one, else the program's drawing; either way tinted as the caller asks.
namespace Symbols {

// Every name the program draws.
const QStringList& allNames();
bool isKnown(const QString& symbolName);

// The symbol in a square of `pixelSize` logical pixels, drawn in `color` for a screen of
// `devicePixelRatio`. An unknown name is a programming error and stops the process.
QPixmap pixmap(const QString& symbolName, int pixelSize, const QColor& color,
               qreal devicePixelRatio = 1.0);

// The symbol at the usual icon sizes, for places that take an icon (the tray).
QIcon icon(const QString& symbolName, const QColor& color);

// The platform's own drawings, used before the program's; none until the shell sets them.
// Set once at start-up, before anything is drawn.
void setPlatformImages(std::unique_ptr<SymbolImages> images);

} // namespace Symbols
