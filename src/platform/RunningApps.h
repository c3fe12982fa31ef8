#pragma once

#include "models/MediaApp.h"

#include <QObject>
#include <QSet>

// The media apps running now, with word of each that starts or ends. Each platform tells on
// its own side which of its programs or players stands for which app. Signals arrive on the GUI
// thread.
class RunningApps : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual QSet<MediaApp> runningApps() const = 0;
    // Whether what runs already when this began to look has all been reported; until then an
    // app may still be launched that ran all along.
    virtual bool isSettled() const { return true; }

signals:
    void launched(MediaApp app);
    void terminated(MediaApp app);
    // Everything that ran already has been reported.
    void settled();
};
