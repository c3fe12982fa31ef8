// A StatusNotifierItem watcher in a process of its own (see FakeStatusNotifierWatcher), for a
// test that runs the program in its own process: the toolkit reads the watcher's property with
// a call that waits without running the event loop, which a watcher in the same thread could
// never answer. Runs until it is ended; prints "ready" once it owns the watcher's name.
#include "FakeStatusNotifierWatcher.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    FakeStatusNotifierWatcher watcher;
    if (!watcher.appear()) {
        std::fputs("the watcher's name is taken\n", stderr);
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
