#pragma once

#include <chrono>
#include <functional>
#include <memory>

// Runs blocking work items side by side. Each item gets a thread at once: an idle thread is
// reused, and when none is idle a new one starts, so an item stuck in a hung player holds up
// only its own thread, never the items after it. Threads left idle end after a few seconds.
class ConcurrentQueue {
public:
    // Script runs and permission probes.
    static ConcurrentQueue& userInitiated();
    // Now-playing queries and script warming.
    static ConcurrentQueue& utility();

    explicit ConcurrentQueue(std::chrono::milliseconds idleLifetime = std::chrono::seconds(5));
    ConcurrentQueue(const ConcurrentQueue&) = delete;
    ConcurrentQueue& operator=(const ConcurrentQueue&) = delete;
    // Never waits for the threads: one may be stuck in a player that never answers.
    ~ConcurrentQueue();

    // False (and nothing runs) only when the system refuses another thread.
    [[nodiscard]] bool async(std::function<void()> work);

    // Threads alive now, busy or idle.
    int threadCount() const;
    // Threads waiting for work now.
    int idleThreadCount() const;

private:
    struct State;
    static void work(const std::shared_ptr<State>& state);

    std::shared_ptr<State> m_state;
};
