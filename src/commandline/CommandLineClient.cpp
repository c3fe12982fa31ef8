#include "CommandLineClient.h"

#include <cstdio>

namespace CommandLineClient {

int Reply::print() const {
    std::fputs(out.c_str(), stdout);
    std::fputs(err.c_str(), stderr);
    return status;
}

Reply served(const RunningCopy::Answer& answer) {
    return {.status = answer.acted ? 0 : 1, .out = answer.line + "\n", .err = {}};
}

Reply problem(const std::string& text, int status) {
    return {.status = status, .out = {}, .err = "scrubline: " + text + "\n"};
}

std::optional<Reply> answer(const CommandLine& commandLine, const RunningCopy::Send& send) {
    using Command = CommandLine::Command;
    switch (commandLine.command) {
    case Command::help:
        return Reply{.status = 0, .out = CommandLine::helpText(), .err = {}};
    case Command::version:
        return Reply{.status = 0, .out = CommandLine::versionLine() + "\n", .err = {}};
    case Command::invalid:
        return problem(commandLine.problem, 2);
    case Command::quit:
        if (send(RunningCopy::Command::quit, 0)) {
            return Reply{};
        }
        return problem("Scrubline is not running", 1);
    case Command::seek:
    case Command::playPause:
        if (const auto told = send(RunningCopy::Command::seek, commandLine.seconds)) {
            return served(*told);
        }
        return std::nullopt;
    case Command::settings:
        if (send(RunningCopy::Command::showSettings, 0)) {
            return Reply{};
        }
        return std::nullopt;
    case Command::launch:
        if (send(RunningCopy::Command::reopen, 0)) {
            return Reply{};
        }
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace CommandLineClient
