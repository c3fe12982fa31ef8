#pragma once

// For a test that checks that something did not happen: first make something happen that must
// come after it, and wait for that; only then look. Each answers whether its event came.
namespace Barrier {

// Everything posted to this thread's event loop before the call has been handled: queued calls
// and signals, and timers of no interval.
bool postedEventsHandled();

// A precise timer of `milliseconds`, started now, has fired: so has every timer of this thread
// that was due before it. A fixed wait, and counted as one by scripts/check-sleeps.sh.
bool timerFired(int milliseconds);

} // namespace Barrier
