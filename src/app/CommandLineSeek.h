#pragma once

#include "core/MediaController.h"

// One seek (or play/pause) done by this process alone, for a command line run while no copy of
// the program is running: the user's app order and switched-off apps, the same trial as a
// hotkey's, and no window. Needs a core application object and runs its event loop.
namespace CommandLineSeek {

MediaController::Served run(double seconds);

} // namespace CommandLineSeek
