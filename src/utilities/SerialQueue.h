#pragma once

#include <QString>

#include <functional>
#include <memory>

class QThread;

// One thread of its own that runs work items one after another, in the order given. Waking it
// costs one condition variable, not an event loop's round.
class SerialQueue {
public:
    // `name` is the thread's name as `top -H` and a debugger show it: Linux keeps 15 characters.
    explicit SerialQueue(const QString& name);
    // Lets the item in hand finish, drops the ones not begun, and waits for the thread.
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void async(std::function<void()> work);

private:
    struct State;
    std::shared_ptr<State> m_state;
    std::unique_ptr<QThread> m_thread;
};
