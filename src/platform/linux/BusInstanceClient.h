#pragma once

#include "commandline/RunningCopy.h"

#include <optional>

// The asking side of the running copy's session-bus interface, in libdbus alone: the program's
// later launches and the `scrubline` command both go through here, so that a command from a key
// binding loads no toolkit. The running copy owns `serviceName` and serves `interfaceName` on
// `objectPath`.
namespace BusInstanceClient {

inline constexpr const char* serviceName = "com.scrubline.app";
inline constexpr const char* objectPath = "/com/scrubline/app";
inline constexpr const char* interfaceName = "com.scrubline.app";

// The method that carries `command`.
const char* memberOf(RunningCopy::Command command);

// Asks over a private connection of its own and waits for the answer; nothing when no copy runs
// or none answered in time.
std::optional<RunningCopy::Answer> send(RunningCopy::Command command, double seconds);

} // namespace BusInstanceClient
