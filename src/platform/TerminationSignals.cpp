#include "TerminationSignals.h"

#include <QCoreApplication>
#include <QObject>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// A signal handler may only write to a descriptor; the event loop reads the other end.
int g_signalPipe[2] = {-1, -1};

void onSignal(int signal) {
    const unsigned char byte = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe[1], &byte, 1);
}

} // namespace

namespace TerminationSignals {

bool install(std::function<void()> onRequest) {
    if (g_signalPipe[0] != -1) {
        return false; // once per process
    }
    if (::pipe(g_signalPipe) != 0) {
        return false;
    }
    // Not handed to the players and helpers the program starts.
    for (const int end : g_signalPipe) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    // A burst of signals never blocks the handler.
    ::fcntl(g_signalPipe[1], F_SETFL, O_NONBLOCK);
    // Lives as long as the application object: a signal may come at any moment until the
    // event loop ends, and after that there is nothing left to ask to quit.
    auto* notifier =
        new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier,
                     [onRequest = std::move(onRequest)] {
                         unsigned char byte = 0;
                         if (::read(g_signalPipe[0], &byte, 1) == 1) {
                             onRequest();
                         }
                     });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    bool installed = true;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        installed = ::sigaction(signal, &action, nullptr) == 0 && installed;
    }
    return installed;
}

} // namespace TerminationSignals
