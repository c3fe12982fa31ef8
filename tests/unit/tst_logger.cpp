#include "support/LogCapture.h"
#include "utilities/Logger.h"

#include <QThread>
#include <QtTest>

#include <memory>

namespace {

using Channel = const QLoggingCategory& (*)();

Channel channel(const QString& name) {
    if (name == QLatin1StringView("general")) {
        return &Log::general;
    }
    if (name == QLatin1StringView("seek")) {
        return &Log::seek;
    }
    if (name == QLatin1StringView("script")) {
        return &Log::script;
    }
    return nullptr;
}

void addChannelRows() {
    QTest::addColumn<QString>("channel");
    QTest::addColumn<QString>("category");

    QTest::newRow("general") << "general"
                             << "com.scrubline.app.general";
    QTest::newRow("seek") << "seek"
                          << "com.scrubline.app.seek";
    QTest::newRow("script") << "script"
                            << "com.scrubline.app.script";
}

} // namespace

class TestLogger : public QObject {
    Q_OBJECT

private slots:
    void categoryNames_data() { addChannelRows(); }

    void categoryNames() {
        QFETCH(QString, channel);
        QFETCH(QString, category);

        const Channel log = ::channel(channel);
        QVERIFY(log != nullptr);
        QCOMPARE(QString::fromLatin1(log().categoryName()), category);
    }

    void sameObjectOnEveryCall_data() { addChannelRows(); }

    void sameObjectOnEveryCall() {
        QFETCH(QString, channel);

        const Channel log = ::channel(channel);
        QVERIFY(log != nullptr);
        QCOMPARE(&log(), &log());
    }

    void channelsAreDistinct() {
        QVERIFY(&Log::general() != &Log::seek());
        QVERIFY(&Log::general() != &Log::script());
        QVERIFY(&Log::seek() != &Log::script());
    }

    void criticalMessagesReachTheHandler_data() { addChannelRows(); }

    void criticalMessagesReachTheHandler() {
        QFETCH(QString, channel);
        QFETCH(QString, category);

        const Channel log = ::channel(channel);
        QVERIFY(log != nullptr);
        // Failures are logged at this level; if the channel filtered it out they would be lost.
        QVERIFY(log().isCriticalEnabled());

        const QString message = QStringLiteral("failure on ") + channel;
        LogCapture capture;
        qCCritical(log(), "%s", qUtf8Printable(message));

        QCOMPARE(capture.count(category, QtCriticalMsg, message), 1);
        QCOMPARE(capture.entries().size(), 1);
    }

    void messagesFromAnotherThreadReachTheHandler() {
        // The script runner logs from background threads.
        const QString message = QStringLiteral("timed out in the background");
        LogCapture capture;
        std::unique_ptr<QThread> worker(QThread::create(
            [&message] { qCCritical(Log::script(), "%s", qUtf8Printable(message)); }));
        worker->start();
        QVERIFY(worker->wait(10000));

        QCOMPARE(capture.count(QStringLiteral("com.scrubline.app.script"), QtCriticalMsg, message),
                 1);
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
