#include "ProgramLayout.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

bool samePlace(const fs::path& one, const fs::path& other) {
    std::error_code error;
    return fs::weakly_canonical(one, error) == fs::weakly_canonical(other, error);
}

std::string besides(const std::string& path, const char* relative) {
    return (fs::path(path).parent_path() / relative).lexically_normal().string();
}

} // namespace

namespace ProgramLayout {

std::string self() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).string();
}

std::string programFor(const std::string& commandPath) {
    // The build tree's command is the one executable that may use a path of the build's.
    if (samePlace(commandPath, SCRUBLINE_BUILT_COMMAND)) {
        return SCRUBLINE_BUILT_PROGRAM;
    }
    return besides(commandPath, SCRUBLINE_PROGRAM_FROM_COMMAND);
}

std::string commandFor(const std::string& programPath) {
    if (samePlace(programPath, SCRUBLINE_BUILT_PROGRAM)) {
        return SCRUBLINE_BUILT_COMMAND;
    }
    const std::string command = besides(programPath, SCRUBLINE_COMMAND_FROM_PROGRAM);
    return ::access(command.c_str(), X_OK) == 0 ? command : std::string();
}

} // namespace ProgramLayout
