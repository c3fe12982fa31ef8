#pragma once

#include "CommandLine.h"
#include "RunningCopy.h"

#include <optional>
#include <string>

// The part of a command line that needs no program of its own: the help, the version, usage
// errors, and every command the running copy takes, handed to it. What is left (a seek with no
// copy to serve it, the start of the tray program) is the program's.
namespace CommandLineClient {

// What to print and the exit status: 0 done (a player acted on), 1 nothing playing, refused,
// not possible or not running, 2 a usage error.
struct Reply {
    int status = 0;
    std::string out;
    std::string err;

    // Writes both texts to the standard streams and returns the status.
    int print() const;
};

// The reply to `commandLine`, asking the running copy through `send` where it must; nothing
// when the work is left to this process.
std::optional<Reply> answer(const CommandLine& commandLine, const RunningCopy::Send& send);

// What a seek or play/pause served by this process itself prints.
Reply served(const RunningCopy::Answer& answer);

// A problem, said on standard error in the command's one-line form.
Reply problem(const std::string& text, int status);

} // namespace CommandLineClient
