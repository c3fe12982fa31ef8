#pragma once

#include "commandline/RunningCopy.h"

#include <functional>
#include <optional>

// The one running copy of the program in a user's session, and the way a later launch (or the
// command line) reaches it. Two users, or two sessions of one user, each have their own.
class SingleInstance {
public:
    using Command = RunningCopy::Command;
    using Answer = RunningCopy::Answer;
    using Reply = std::function<void(const Answer&)>;

    // What the running copy is asked to do; each is called on the GUI thread.
    struct Requests {
        std::function<void()> reopen;
        // Signed seconds, 0 toggling play/pause; `reply` is called once the request is served.
        std::function<void(double seconds, Reply reply)> seek;
        std::function<void()> showSettings;
        std::function<void()> quit;
    };

    virtual ~SingleInstance() = default;

    // Makes this process the running copy and serves `requests` from now on; false when
    // another copy already is (or the platform keeps one copy by itself and this one runs).
    // Needs the application object.
    virtual bool claim(Requests requests) = 0;

    // Hands a command to the running copy and waits for its answer; nothing when no copy runs
    // or none could be reached. Works before the application object exists.
    virtual std::optional<Answer> send(Command command, double seconds = 0) = 0;
};
