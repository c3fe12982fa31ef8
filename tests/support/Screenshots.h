#pragma once

#include <QPalette>
#include <QPixmap>
#include <QString>

// Pictures of views that a person should look at, written into the build's artifacts folder,
// and the light and dark palettes they are taken in.
namespace Screenshots {

// The slots that only take pictures run on their own (`ctest -L screenshots`, which sets
// SCRUBLINE_SCREENSHOTS), so that the behaviour run neither waits for them nor fails on them.
bool wanted();

QPalette lightPalette();
QPalette darkPalette();

// The column "dark" and a row for each palette, for the data of a slot that takes pictures.
void addPaletteRows();
// Gives the application the dark or the light palette, and answers its name for the pictures.
QString usePalette(bool dark);

// Writes `picture` as <artifacts>/<name>.png and answers the file's path, or an empty string
// when it could not be written.
QString save(const QPixmap& picture, const QString& name);

// `picture` (with transparency) centred on a busy backdrop, so that translucency shows.
QPixmap onBackdrop(const QPixmap& picture, bool dark);

} // namespace Screenshots
