#include "SerialQueue.h"

#include <QThread>

#include <condition_variable>
#include <deque>
#include <mutex>

struct SerialQueue::State {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::function<void()>> items;
    bool stopping = false;
};

SerialQueue::SerialQueue(const QString& name)
    : m_state(std::make_shared<State>()) {
    m_thread.reset(QThread::create([state = m_state] {
        std::unique_lock lock(state->mutex);
        for (;;) {
            state->wake.wait(lock, [&state] { return state->stopping || !state->items.empty(); });
            if (state->stopping) {
                return;
            }
            std::function<void()> item = std::move(state->items.front());
            state->items.pop_front();
            lock.unlock();
            item();
            item = nullptr;
            lock.lock();
        }
    }));
    m_thread->setObjectName(name);
    m_thread->start(QThread::HighPriority);
}

SerialQueue::~SerialQueue() {
    {
        std::lock_guard lock(m_state->mutex);
        m_state->stopping = true;
        m_state->items.clear();
    }
    m_state->wake.notify_one();
    m_thread->wait();
}

void SerialQueue::async(std::function<void()> work) {
    {
        std::lock_guard lock(m_state->mutex);
        m_state->items.push_back(std::move(work));
    }
    m_state->wake.notify_one();
}
