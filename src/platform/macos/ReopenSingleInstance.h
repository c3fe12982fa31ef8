#pragma once

#include "platform/SingleInstance.h"

#include <QObject>

#include <memory>

// The system keeps one copy of an application bundle running and tells it of a second launch
// through the application delegate's reopen, which the toolkit passes on as an activation of
// the program while it is already active. There is no other copy to ask: the command line does
// its work in its own process here.
class ReopenSingleInstance : public SingleInstance {
public:
    ReopenSingleInstance();
    ~ReopenSingleInstance() override;

    bool claim(Requests requests) override;
    std::optional<Answer> send(Command, double) override { return std::nullopt; }

private:
    std::unique_ptr<QObject> m_reopenWatcher;
};
