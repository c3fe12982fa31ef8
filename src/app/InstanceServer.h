#pragma once

#include "platform/SingleInstance.h"

#include <QPointer>

#include <memory>

class ScrublineApp;

// The running copy's side of the single instance: holds the session's claim for as long as it
// lives, and serves later launches and the command line with the program's own answers. The
// claim comes before the program is built, so that a copy started meanwhile hands its request
// on rather than starting a second program; until then a seek is told that it is starting.
class InstanceServer {
public:
    // `instance`: this session's way to the running copy, as the shell opened it.
    explicit InstanceServer(std::unique_ptr<SingleInstance> instance);
    ~InstanceServer();
    InstanceServer(const InstanceServer&) = delete;
    InstanceServer& operator=(const InstanceServer&) = delete;

    // Makes this process the running copy; false when another copy already is. Needs the
    // application object. Requests can only arrive from its event loop.
    bool claim();
    // From now on requests go to `app`, for as long as it lives.
    void serve(ScrublineApp* app);

private:
    std::unique_ptr<SingleInstance> m_instance;
    QPointer<ScrublineApp> m_app;
};
