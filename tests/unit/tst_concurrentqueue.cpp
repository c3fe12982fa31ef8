#include "utilities/ConcurrentQueue.h"

#include <QtTest>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <semaphore>

using namespace std::chrono_literals;

namespace {

// A gate that work items wait at until the test opens it.
class Gate {
public:
    void wait() {
        std::unique_lock lock(m_mutex);
        m_opened.wait(lock, [this] { return m_open; });
    }
    void open() {
        {
            std::lock_guard lock(m_mutex);
            m_open = true;
        }
        m_opened.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_open = false;
};

} // namespace

class TestConcurrentQueue : public QObject {
    Q_OBJECT

private slots:
    // Each waits for the other, so they can only both finish side by side.
    void itemsRunSideBySide() {
        ConcurrentQueue queue;
        struct Meeting {
            std::binary_semaphore first{0};
            std::binary_semaphore second{0};
            std::counting_semaphore<2> done{0};
        };
        // Shared, so an item still returning from release() never touches a freed semaphore.
        auto meeting = std::make_shared<Meeting>();
        QVERIFY(queue.async([meeting] {
            meeting->first.release();
            meeting->second.acquire();
            meeting->done.release();
        }));
        QVERIFY(queue.async([meeting] {
            meeting->second.release();
            meeting->first.acquire();
            meeting->done.release();
        }));
        QVERIFY(meeting->done.try_acquire_for(10s));
        QVERIFY(meeting->done.try_acquire_for(10s));
    }

    void aStuckItemHoldsUpNothingAfterIt() {
        ConcurrentQueue queue;
        auto gate = std::make_shared<Gate>();
        auto ran = std::make_shared<std::counting_semaphore<21>>(0);
        for (int i = 0; i < 20; ++i) {
            QVERIFY(queue.async([gate, ran] {
                gate->wait();
                ran->release();
            }));
        }
        QVERIFY(queue.async([ran] { ran->release(); }));
        QVERIFY(ran->try_acquire_for(10s));
        QCOMPARE(queue.threadCount(), 21);
        gate->open();
        for (int i = 0; i < 20; ++i) {
            QVERIFY(ran->try_acquire_for(10s));
        }
    }

    void anIdleThreadIsReused() {
        ConcurrentQueue queue(60s);
        for (int i = 0; i < 50; ++i) {
            auto ran = std::make_shared<std::binary_semaphore>(0);
            QVERIFY(queue.async([ran] { ran->release(); }));
            QVERIFY(ran->try_acquire_for(10s));
            // The item has signalled but its thread may not be idle yet; wait until it is.
            QTRY_COMPARE(queue.idleThreadCount(), 1);
            QCOMPARE(queue.threadCount(), 1);
        }
        QCOMPARE(queue.threadCount(), 1);
    }

    void idleThreadsEnd() {
        ConcurrentQueue queue(50ms);
        auto ran = std::make_shared<std::counting_semaphore<8>>(0);
        for (int i = 0; i < 8; ++i) {
            QVERIFY(queue.async([ran] { ran->release(); }));
        }
        for (int i = 0; i < 8; ++i) {
            QVERIFY(ran->try_acquire_for(10s));
        }
        QTRY_COMPARE_WITH_TIMEOUT(queue.threadCount(), 0, 10000);
        // And new work still finds a thread.
        auto again = std::make_shared<std::binary_semaphore>(0);
        QVERIFY(queue.async([again] { again->release(); }));
        QVERIFY(again->try_acquire_for(10s));
    }

    void everyItemRunsOnce() {
        ConcurrentQueue queue;
        struct Count {
            std::atomic<int> runs{0};
            std::counting_semaphore<1000> done{0};
        };
        auto count = std::make_shared<Count>();
        for (int i = 0; i < 1000; ++i) {
            QVERIFY(queue.async([count] {
                ++count->runs;
                count->done.release();
            }));
        }
        for (int i = 0; i < 1000; ++i) {
            QVERIFY(count->done.try_acquire_for(10s));
        }
        QCOMPARE(count->runs.load(), 1000);
    }
};

QTEST_GUILESS_MAIN(TestConcurrentQueue)
#include "tst_concurrentqueue.moc"
