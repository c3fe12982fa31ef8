#pragma once

#include "platform/SingleInstance.h"

#include <memory>

class QDBusVirtualObject;

// The running copy owns the name com.scrubline.app on the user's session bus and serves its
// requests on /com/scrubline/app. Later launches ask it through BusInstanceClient, over a
// connection of their own made with libdbus, so that asking costs no application object.
class BusSingleInstance : public SingleInstance {
public:
    BusSingleInstance();
    ~BusSingleInstance() override;

    bool claim(Requests requests) override;
    std::optional<Answer> send(Command command, double seconds) override;

private:
    std::unique_ptr<QDBusVirtualObject> m_server;
};
