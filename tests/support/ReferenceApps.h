#pragma once

#include "models/MediaApp.h"

#include <QList>

// The apps a Mac offers, in their default order: what most settings tests are written against,
// on every platform, since they read and write files that travel between platforms.
inline QList<MediaApp> referenceApps() {
    const auto cases = MediaApp::allCases();
    return QList<MediaApp>(cases.begin(), cases.end());
}
