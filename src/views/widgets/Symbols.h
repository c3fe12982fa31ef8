#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QStringList>

class QWidget;
class SymbolImages;

// The program's images, by symbol name ("goforward.10"). The platform's own symbol is used
// where it has one, else the program's drawing; either way tinted as the caller asks.
namespace Symbols {

// Every name the program draws.
const QStringList& allNames();
bool isKnown(const QString& symbolName);

// The symbol in a square of `pixelSize` logical pixels, drawn in `color` for a screen of
// `devicePixelRatio`: the platform's own drawing where `platformImages` has one, else the
// program's. An unknown name is a programming error and stops the process.
QPixmap pixmap(const QString& symbolName, int pixelSize, const QColor& color,
               qreal devicePixelRatio = 1.0, const SymbolImages* platformImages = nullptr);

// The symbol at the usual icon sizes, for places that take an icon (the tray).
QIcon icon(const QString& symbolName, const QColor& color,
           const SymbolImages* platformImages = nullptr);

// The platform's drawings for every symbol inside `window`, so that the widgets deep in a
// view need not each be handed them: whoever makes a window gives them to its top widget.
// The window only borrows them; their owner keeps them for as long as the window lives.
void provide(QWidget& window, const SymbolImages* platformImages);
// The drawings given to `widget` or the nearest of its parents; none outside such a window.
const SymbolImages* providedFor(const QWidget* widget);

} // namespace Symbols
