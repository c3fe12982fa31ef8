#pragma once

#include <string>
#include <vector>

// What the program was asked to do on its command line. Read before any application object
// exists, so that a command from a key binding starts nothing it does not need.
struct CommandLine {
    enum class Command {
        launch,    // no arguments: the tray program, or the running one brought forward
        seek,      // seek +10, seek -5.5
        playPause, // play-pause
        settings,  // settings
        quit,      // quit
        version,   // --version
        help,      // --help
        invalid,   // anything else; `problem` says what
    };

    Command command = Command::launch;
    // Signed seconds of a seek; 0 for play/pause.
    double seconds = 0;
    // One line, for standard error, when the command is invalid.
    std::string problem;

    // `arguments` without the program's own name, as the system gave them.
    static CommandLine parse(const std::vector<std::string>& arguments);
    // argv after argv[0].
    static CommandLine parse(int argc, char* argv[]);
    // The text --help prints.
    static std::string helpText();
    // The line --version prints, without its newline.
    static std::string versionLine();
};
