#include "ConcurrentQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

struct ConcurrentQueue::State {
    std::chrono::milliseconds idleLifetime;
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::function<void()>> items;
    int idle = 0;
    int threads = 0;
};

ConcurrentQueue& ConcurrentQueue::userInitiated() {
    // Never destroyed: threads may still be finishing a timed-out run when the process exits.
    static auto* queue = new ConcurrentQueue;
    return *queue;
}

ConcurrentQueue& ConcurrentQueue::utility() {
    static auto* queue = new ConcurrentQueue;
    return *queue;
}

ConcurrentQueue::ConcurrentQueue(std::chrono::milliseconds idleLifetime)
    : m_state(std::make_shared<State>()) {
    m_state->idleLifetime = idleLifetime;
}

// The threads share the state, so they finish their items and end on their own.
ConcurrentQueue::~ConcurrentQueue() = default;

bool ConcurrentQueue::async(std::function<void()> item) {
    std::unique_lock lock(m_state->mutex);
    m_state->items.push_back(std::move(item));
    // Each idle thread can take one queued item; more items than idle threads need new ones.
    if (m_state->items.size() <= static_cast<std::size_t>(m_state->idle)) {
        lock.unlock();
        m_state->wake.notify_one();
        return true;
    }
    // Started under the lock, so that on failure the item is still the last one queued.
    try {
        std::thread([state = m_state] { work(state); }).detach();
    } catch (const std::system_error&) {
        // Too many threads already (hung players, perhaps): take the item back.
        m_state->items.pop_back();
        return false;
    }
    ++m_state->threads;
    return true;
}

int ConcurrentQueue::threadCount() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->threads;
}

int ConcurrentQueue::idleThreadCount() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->idle;
}

void ConcurrentQueue::work(const std::shared_ptr<State>& state) {
    std::unique_lock lock(state->mutex);
    for (;;) {
        if (state->items.empty()) {
            ++state->idle;
            const bool woken = state->wake.wait_for(lock, state->idleLifetime,
                                                    [&state] { return !state->items.empty(); });
            --state->idle;
            if (!woken) {
                --state->threads;
                return;
            }
        }
        std::function<void()> item = std::move(state->items.front());
        state->items.pop_front();
        lock.unlock();
        item();
        item = nullptr; // whatever the item holds is released outside the lock
        lock.lock();
    }
}
