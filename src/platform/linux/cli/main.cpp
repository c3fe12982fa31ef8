// The `scrubline` command: the help, the version and usage errors without any program, every
// other command handed to the running copy over the session bus, and the rest (a seek with no
// copy to serve it, the tray program itself) left to the program, started in this process's
// place with the same arguments, so that whoever started the command holds the program.
#include "commandline/CommandLineClient.h"
#include "platform/linux/BusInstanceClient.h"
#include "platform/linux/ProgramLayout.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

int main(int argc, char* argv[]) {
    const CommandLine commandLine = CommandLine::parse(argc, argv);
    if (const auto reply = CommandLineClient::answer(commandLine, BusInstanceClient::send)) {
        return reply->print();
    }
    const std::string program = ProgramLayout::programFor(ProgramLayout::self());
    ::execv(program.c_str(), argv);
    return CommandLineClient::problem("cannot start " + program + ": " + std::strerror(errno), 1)
        .print();
}
