#include "utilities/SerialQueue.h"

#include <QThread>
#include <QtTest>

#include <atomic>
#include <semaphore>

using namespace std::chrono_literals;

class TestSerialQueue : public QObject {
    Q_OBJECT

private slots:
    void itemsRunOneAtATimeInOrderOnOneThread() {
        struct Log {
            std::mutex mutex;
            QList<int> order;
            QSet<QThread*> threads;
            std::atomic<int> running{0};
            std::atomic<int> mostAtOnce{0};
            std::counting_semaphore<1000> done{0};
        };
        auto log = std::make_shared<Log>();
        {
            SerialQueue queue(QStringLiteral("test"));
            for (int i = 0; i < 200; ++i) {
                queue.async([log, i] {
                    const int now = ++log->running;
                    log->mostAtOnce = std::max(log->mostAtOnce.load(), now);
                    {
                        std::lock_guard lock(log->mutex);
                        log->order << i;
                        log->threads << QThread::currentThread();
                    }
                    --log->running;
                    log->done.release();
                });
            }
            for (int i = 0; i < 200; ++i) {
                QVERIFY(log->done.try_acquire_for(10s));
            }
        }
        QList<int> expected;
        for (int i = 0; i < 200; ++i) {
            expected << i;
        }
        QCOMPARE(log->order, expected);
        QCOMPARE(log->mostAtOnce.load(), 1);
        QCOMPARE(log->threads.size(), 1);
        QVERIFY(!log->threads.contains(QThread::currentThread()));
    }

    // Going away waits for the item in hand and drops the ones not begun.
    void goingAwayFinishesTheCurrentItemOnly() {
        auto started = std::make_shared<std::binary_semaphore>(0);
        auto finished = std::make_shared<std::atomic<bool>>(false);
        auto laterRan = std::make_shared<std::atomic<bool>>(false);
        {
            SerialQueue queue(QStringLiteral("test"));
            queue.async([started, finished] {
                started->release();
                QThread::msleep(100);
                *finished = true;
            });
            queue.async([laterRan] { *laterRan = true; });
            QVERIFY(started->try_acquire_for(10s));
        }
        QVERIFY(finished->load());
        QVERIFY(!laterRan->load());
    }
};

QTEST_GUILESS_MAIN(TestSerialQueue)
#include "tst_serialqueue.moc"
