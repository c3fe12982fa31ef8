#pragma once

#include <string>

// Where the two executables of an installed Scrubline are: the `scrubline` command in the
// binaries' folder, which loads no toolkit, and the program it starts in its place, in a folder
// of its own under libexec. A build tree has both where the build put them.
namespace ProgramLayout {

// The full path of the running executable.
std::string self();

// The program that the command at `commandPath` starts.
std::string programFor(const std::string& commandPath);

// The command that starts the program at `programPath`, or an empty string when that program
// is not laid out beside one (run straight from somewhere else).
std::string commandFor(const std::string& programPath);

} // namespace ProgramLayout
