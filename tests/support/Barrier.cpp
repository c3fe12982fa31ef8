#include "Barrier.h"

#include <QObject>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

namespace Barrier {

bool postedEventsHandled() {
    bool handled = false;
    QObject context;
    // Queued behind what is already posted; the timer then goes behind any zero timer started
    // by what it handled.
    QMetaObject::invokeMethod(
        &context,
        [&] { QTimer::singleShot(0, Qt::PreciseTimer, &context, [&] { handled = true; }); },
        Qt::QueuedConnection);
    return QTest::qWaitFor([&] { return handled; }, 5000);
}

bool timerFired(int milliseconds) {
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QSignalSpy fired(&timer, &QTimer::timeout);
    timer.start(milliseconds);
    return fired.wait(milliseconds + 5000);
}

} // namespace Barrier
