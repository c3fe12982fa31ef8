#include "scripting/AppleScriptService.h"
#include "support/LogCapture.h"
#include "support/ScriptedEngine.h"
#include "utilities/ConcurrentQueue.h"

#include <QElapsedTimer>
#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {

const QString scriptChannel = QStringLiteral("com.scrubline.app.script");
const QString source = QStringLiteral("tell application \"Spotify\" to playpause");

using Kind = AppleScriptError::Kind;

} // namespace

class TestAppleScriptService : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<ScriptedEngine> m_engine;
    std::unique_ptr<AppleScriptService> m_service;

private slots:
    void init() {
        m_engine = std::make_shared<ScriptedEngine>();
        m_service = std::make_unique<AppleScriptService>(m_engine);
    }

    void cleanup() {
        m_engine->release();
        m_service.reset();
        m_engine.reset();
    }

    void answersTheScriptsText() {
        m_engine->answer(ScriptedEngine::text(QStringLiteral("true")));
        const ScriptResult result = m_service->execute(source, 3.0);
        QVERIFY(result.isSuccess());
        QCOMPARE(result.text(), std::optional<QString>(QStringLiteral("true")));
        QCOMPARE(m_engine->ranSources(), QStringList{source});
    }

    void anAbsentTextIsASuccess() {
        m_engine->answer(ScriptedEngine::noText());
        const ScriptResult result = m_service->execute(source, 3.0);
        QVERIFY(result.isSuccess());
        QVERIFY(!result.text().has_value());
    }

    void anEmptyTextIsNotAnAbsentOne() {
        m_engine->answer(ScriptedEngine::text(QString()));
        const ScriptResult result = m_service->execute(source, 3.0);
        QVERIFY(result.isSuccess());
        QVERIFY(result.text().has_value());
        QVERIFY(result.text()->isEmpty());
    }

    void anErrorReportPassesThrough() {
        m_engine->answer(ScriptedEngine::error(-1743, QStringLiteral("Not authorized to send "
                                                                     "Apple events to Spotify.")));
        const ScriptResult result = m_service->execute(source, 3.0);
        QVERIFY(!result.isSuccess());
        QCOMPARE(result.error(), AppleScriptError::executionFailed(
                                     -1743, QStringLiteral("Not authorized to send Apple events "
                                                           "to Spotify.")));
    }

    void anErrorWithoutMessageReadsUnknownError() {
        m_engine->answer(ScriptedEngine::error(-1728, std::nullopt));
        const ScriptResult result = m_service->execute(source, 3.0);
        QCOMPARE(result.error(),
                 AppleScriptError::executionFailed(-1728, QStringLiteral("Unknown error")));
    }

    void anErrorWithoutNumberReadsMinusOne() {
        m_engine->answer(ScriptedEngine::error(std::nullopt, QStringLiteral("Broken")));
        const ScriptResult result = m_service->execute(source, 3.0);
        QCOMPARE(result.error(), AppleScriptError::executionFailed(-1, QStringLiteral("Broken")));
    }

    void anEmptyErrorReportStillFails() {
        m_engine->answer(ScriptedEngine::error(std::nullopt, std::nullopt));
        const ScriptResult result = m_service->execute(source, 3.0);
        QCOMPARE(result.error(),
                 AppleScriptError::executionFailed(-1, QStringLiteral("Unknown error")));
    }

    void aSourceThatCannotBeBuiltIsNotKept() {
        m_engine->refuseToBuild(source);
        const ScriptResult result = m_service->execute(source, 3.0);
        QVERIFY(!result.isSuccess());
        QCOMPARE(result.error().kind, Kind::compilationFailed);
        QVERIFY(m_engine->runs().isEmpty());

        // Nothing was kept, so the next run builds again, and this time keeps it.
        m_engine->allowToBuild(source);
        QVERIFY(m_service->execute(source, 3.0).isSuccess());
        QCOMPARE(m_engine->builds(source), 2);
        QVERIFY(m_service->execute(source, 3.0).isSuccess());
        QCOMPARE(m_engine->builds(source), 2);
    }

    void precompilingAnUnbuildableSourceKeepsNothing() {
        m_engine->refuseToBuild(source);
        m_service->precompile(source);
        m_service->precompile(source);
        QCOMPARE(m_engine->builds(source), 2);
        QVERIFY(m_engine->runs().isEmpty());
    }

    void precompilingBuildsOnceAndDoesNotRun() {
        m_service->precompile(source);
        m_service->precompile(source);
        QCOMPARE(m_engine->builds(source), 1);
        QVERIFY(m_engine->runs().isEmpty());

        m_service->execute(source, 3.0);
        m_service->execute(source, 3.0);
        QCOMPARE(m_engine->builds(source), 1);
        const auto runs = m_engine->runs();
        QCOMPARE(runs.size(), 2);
        QCOMPARE(runs[0], runs[1]);
    }

    void sourcesAreKeptByTheirExactText() {
        const QString other = source + QLatin1Char(' ');
        m_service->execute(source, 3.0);
        m_service->execute(other, 3.0);
        m_service->execute(source.toUpper(), 3.0);
        QCOMPARE(m_engine->builds(source), 1);
        QCOMPARE(m_engine->builds(other), 1);
        QCOMPARE(m_engine->builds(source.toUpper()), 1);
        const auto runs = m_engine->runs();
        QVERIFY(runs[0] != runs[1] && runs[1] != runs[2] && runs[0] != runs[2]);
    }

    void anotherEngineKeepsScriptsOfItsOwn() {
        m_service->execute(source, 3.0);
        auto next = std::make_shared<ScriptedEngine>();
        AppleScriptService other(next);
        other.execute(source, 3.0);
        QCOMPARE(next->builds(source), 1);
        QCOMPARE(m_engine->runs().size(), 1);
    }

    void withoutAnEngineNothingCanBeBuilt() {
        AppleScriptService none(nullptr);
        const ScriptResult result = none.execute(source, 3.0);
        QCOMPARE(result.error().kind, Kind::compilationFailed);
        none.precompile(source); // and nothing happens
    }

    void aHungTargetTimesOutAfterAboutTheTimeout() {
        LogCapture log;
        m_engine->holdNextRuns(1);
        QElapsedTimer clock;
        clock.start();
        const ScriptResult result = m_service->execute(source, 3.0);
        const qint64 waited = clock.elapsed();

        QVERIFY(!result.isSuccess());
        QCOMPARE(result.error().kind, Kind::timeout);
        QVERIFY2(waited >= 2990, qPrintable(QString::number(waited)));
        QVERIFY2(waited < 13000, qPrintable(QString::number(waited)));
        // The run was not stopped: the engine is still busy with it.
        QVERIFY(m_engine->waitForRunsInProgress(1, 10000));
        QCOMPARE(log.count(scriptChannel, QtCriticalMsg,
                           QStringLiteral("AppleScript TIMEOUT "
                                          "after 3s")),
                 1);
        QCOMPARE(log.entries().size(), 1);
    }

    void aLaterRunOfATimedOutSourceIsServedByTheSameObject() {
        m_engine->holdNextRuns(1);
        m_engine->answer(ScriptedEngine::text(QStringLiteral("false")));
        QCOMPARE(m_service->execute(source, 0.2).error().kind, Kind::timeout);
        // Held before the next run starts, so the next run is not the one held.
        QVERIFY(m_engine->waitForRunsInProgress(1, 10000));

        // The first run still hangs; the second is not held up by it.
        const ScriptResult again = m_service->execute(source, 30.0);
        QVERIFY(again.isSuccess());
        QCOMPARE(again.text(), std::optional<QString>(QStringLiteral("false")));
        QCOMPARE(m_engine->runsInProgress(), 1);
        QCOMPARE(m_engine->builds(source), 1);
        const auto runs = m_engine->runs();
        QCOMPARE(runs.size(), 2);
        QCOMPARE(runs[0], runs[1]);

        // When the hung run ends at last, its answer goes nowhere.
        m_engine->release();
        QVERIFY(m_engine->waitForRunsInProgress(0, 10000));
        QVERIFY(m_service->execute(source, 30.0).isSuccess());
    }

    void theTimeoutIsLoggedWithoutDecimals() {
        LogCapture log;
        m_engine->holdNextRuns(2);
        m_service->execute(source, 0.4);
        m_service->execute(source, 0.0);
        QCOMPARE(
            log.count(scriptChannel, QtCriticalMsg, QStringLiteral("AppleScript TIMEOUT after 0s")),
            2);
    }

    void tenHungRunsStillLeaveTheEleventhItsOwnThread() {
        m_engine->holdNextRuns(10);
        for (int i = 0; i < 10; ++i) {
            const QString hung = source + QString::number(i);
            QCOMPARE(m_service->execute(hung, 0.05).error().kind, Kind::timeout);
        }
        QVERIFY(m_engine->waitForRunsInProgress(10, 10000));
        QVERIFY(ConcurrentQueue::userInitiated().threadCount() >= 10);

        m_engine->answer(ScriptedEngine::text(QStringLiteral("true")));
        // A thread at once: well inside a short time-out, however loaded the machine.
        const ScriptResult eleventh = m_service->execute(source, 2.0);
        QVERIFY(eleventh.isSuccess());
        QCOMPARE(eleventh.text(), std::optional<QString>(QStringLiteral("true")));
        QCOMPARE(m_engine->runsInProgress(), 10);
        QVERIFY(ConcurrentQueue::userInitiated().threadCount() >= 11);
    }

    void manyThreadsShareOneObjectPerSource() {
        m_engine->respond([](const QString& text) { return ScriptedEngine::text(text); });
        std::atomic<int> wrong{0};
        std::vector<std::thread> callers;
        for (int t = 0; t < 8; ++t) {
            callers.emplace_back([this, &wrong, t] {
                for (int i = 0; i < 40; ++i) {
                    const QString each = source + QString::number((t + i) % 5);
                    const ScriptResult result = m_service->execute(each, 30.0);
                    if (!result.isSuccess() || result.text() != each) {
                        ++wrong;
                    }
                }
            });
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        QCOMPARE(wrong.load(), 0);
        QCOMPARE(m_engine->runs().size(), 8 * 40);
        for (int s = 0; s < 5; ++s) {
            QCOMPARE(m_engine->builds(source + QString::number(s)), 1);
        }
    }
};

QTEST_GUILESS_MAIN(TestAppleScriptService)
#include "tst_applescriptservice.moc"
