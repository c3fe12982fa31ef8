#pragma once

#include <functional>

// The requests to end that come from outside as signals (SIGTERM at logout, SIGINT from a
// terminal, SIGHUP when the terminal goes), turned into a call on the GUI thread, so that the
// program ends the way its own "Quit" does rather than at once.
namespace TerminationSignals {

// Installs the handlers; `onRequest` runs on the calling thread's event loop, once per signal.
// Needs the application object. False when they could not be installed.
bool install(std::function<void()> onRequest);

} // namespace TerminationSignals
