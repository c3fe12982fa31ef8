#pragma once

#include "FakeStatusNotifierHost.h"
#include "FakeStatusNotifierWatcher.h"

// A desktop panel's StatusNotifierItem tray: its watcher, and its host registered there.
struct StatusNotifierPanel {
    FakeStatusNotifierWatcher watcher;
    FakeStatusNotifierHost host;

    // False when the watcher's name was taken or the host could not register.
    bool start() { return watcher.appear() && host.registerWithWatcher(); }
};
