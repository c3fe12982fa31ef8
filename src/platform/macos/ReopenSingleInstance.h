#pragma once

#include "platform/SingleInstance.h"

// The system keeps one copy of an application bundle running and tells it of a second launch
// through the application delegate's reopen; there is no other copy to ask. The command line
// therefore always does its work in its own process here.
class ReopenSingleInstance : public SingleInstance {
public:
    bool claim(Requests) override { return true; }
    std::optional<Answer> send(Command, double) override { return std::nullopt; }
};
