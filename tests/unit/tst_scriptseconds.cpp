#include "scripting/ScriptSeconds.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cmath>
#include <limits>

class TestScriptSeconds : public QObject {
    Q_OBJECT

private slots:
    void printsTheShortestDecimal_data() {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("10") << 10.0 << "10.0";
        QTest::newRow("-10") << -10.0 << "-10.0";
        QTest::newRow("2.5") << 2.5 << "2.5";
        QTest::newRow("-2.5") << -2.5 << "-2.5";
        QTest::newRow("0.1") << 0.1 << "0.1";
        QTest::newRow("7.5") << 7.5 << "7.5";
        QTest::newRow("300") << 300.0 << "300.0";
        QTest::newRow("100000") << 100000.0 << "100000.0";
        QTest::newRow("1") << 1.0 << "1.0";
        QTest::newRow("0") << 0.0 << "0.0";
        QTest::newRow("-0") << -0.0 << "-0.0";
        QTest::newRow("0.1+0.2") << 0.1 + 0.2 << "0.30000000000000004";
        QTest::newRow("1/3") << 1.0 / 3.0 << "0.3333333333333333";
        QTest::newRow("smallest plain") << 0.0001 << "0.0001";
        QTest::newRow("below plain") << 0.00001 << "1e-05";
        QTest::newRow("largest plain") << 1e15 << "1000000000000000.0";
        QTest::newRow("2^53") << 9007199254740992.0 << "9007199254740992.0";
        QTest::newRow("above plain") << 1e16 << "1e+16";
        QTest::newRow("-above plain") << -1e16 << "-1e+16";
    }

    void printsTheShortestDecimal() {
        QFETCH(double, seconds);
        QFETCH(QString, text);
        QCOMPARE(scriptSeconds(seconds), text);
    }

    void readsBackAsTheSameValue() {
        QRandomGenerator random(20261122);
        for (int i = 0; i < 100000; ++i) {
            // Quarters and tenths of everyday steps, and arbitrary values across the plain range.
            const double seconds = i % 3 == 0   ? (random.bounded(4000) - 2000) / 4.0
                                   : i % 3 == 1 ? (random.bounded(40000) - 20000) / 10.0
                                                : (random.generateDouble() - 0.5) * 2e6;
            const QString text = scriptSeconds(seconds);
            bool ok = false;
            const double back = text.toDouble(&ok);
            QVERIFY2(ok && back == seconds, qPrintable(text));
            QVERIFY2(text.contains(QLatin1Char('.')), qPrintable(text));
            QVERIFY2(!text.contains(QLatin1Char('e')), qPrintable(text));
            // Nothing can be dropped and still read back the same.
            if (text.endsWith(QStringLiteral(".0"))) {
                QCOMPARE(std::trunc(seconds), seconds);
            } else {
                bool shorterOk = false;
                const double shorter = text.chopped(1).toDouble(&shorterOk);
                QVERIFY2(!shorterOk || shorter != seconds, qPrintable(text));
            }
        }
    }

    void sameValueSameText() {
        QCOMPARE(scriptSeconds(30.0), scriptSeconds(60.0 / 2));
        QCOMPARE(scriptSeconds(-15.0), QStringLiteral("-15.0"));
    }
};

QTEST_GUILESS_MAIN(TestScriptSeconds)
#include "tst_scriptseconds.moc"
