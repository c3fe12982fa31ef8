#pragma once

#include <functional>
#include <optional>
#include <string>

// What a later launch, or the command line, may ask of the program's running copy, and what
// that copy says back. Plain C++, so that a command that loads no toolkit can speak it.
struct RunningCopy {
    enum class Command { reopen, seek, showSettings, quit };

    // What a request did: whether a player was acted on, and the line that says so (UTF-8).
    struct Answer {
        bool acted = false;
        std::string line;
    };

    // Hands `command` to the running copy and waits for its answer; nothing when no copy runs
    // or none could be reached. `seconds` only goes with a seek: signed, 0 toggling play/pause.
    using Send = std::function<std::optional<Answer>(Command command, double seconds)>;
};
