#pragma once

// Decides, from the command line, what this process is: a command handed to the running copy,
// a command done alone, or the tray program itself, the one copy in the user's session.
namespace Launcher {

// The process's exit status: 0 done (a player acted on), 1 nothing playing, refused or not
// possible, 2 a usage error.
int run(int argc, char* argv[]);

} // namespace Launcher
