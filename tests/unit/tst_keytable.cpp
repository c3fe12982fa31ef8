#include "models/KeyTable.h"

#include <QtTest>

#include <cstdint>
#include <set>

namespace {

void addQtKeyRow(Qt::Key qtKey, int keyCode) {
    QTest::addRow("0x%x to %d", unsigned(qtKey), keyCode) << qtKey << keyCode;
}

} // namespace

class TestKeyTable : public QObject {
    Q_OBJECT

private slots:
    void keysAreAscendingAndNamed() {
        const auto keys = KeyTable::keys();
        QCOMPARE(keys.size(), std::size_t(73));
        int previous = -1;
        for (const KeyTable::Key& key : keys) {
            QVERIFY2(key.keyCode > previous, qPrintable(QString::number(key.keyCode)));
            previous = key.keyCode;
            QCOMPARE(KeyTable::keyName(key.keyCode), QString::fromUtf8(key.name));
            QVERIFY(KeyTable::forKeyCode(key.keyCode).has_value());
        }
    }

    void everyKeyComesBackFromItsQtKey() {
        // A recorded key press must store the very code that is shown and grabbed.
        std::set<int> qtKeys;
        for (const KeyTable::Key& key : KeyTable::keys()) {
            const QString code = QString::number(key.keyCode);
            QVERIFY2(key.qtKey != Qt::Key_unknown, qPrintable(code));
            QVERIFY2(qtKeys.insert(key.qtKey).second, qPrintable(code));
            const auto found = KeyTable::forQtKey(key.qtKey);
            QVERIFY2(found.has_value(), qPrintable(code));
            QCOMPARE(found->keyCode, key.keyCode);
            QCOMPARE(KeyTable::forKeyCode(key.keyCode)->qtKey, key.qtKey);
        }
    }

    void qtKeys_data() {
        QTest::addColumn<Qt::Key>("qtKey");
        QTest::addColumn<int>("keyCode");

        addQtKeyRow(Qt::Key_A, 0);
        addQtKeyRow(Qt::Key_Z, 6);
        addQtKeyRow(Qt::Key_K, 40);
        addQtKeyRow(Qt::Key_0, 29);
        addQtKeyRow(Qt::Key_5, 23);
        addQtKeyRow(Qt::Key_QuoteLeft, 50);
        addQtKeyRow(Qt::Key_Backslash, 42);
        addQtKeyRow(Qt::Key_Return, 36);
        addQtKeyRow(Qt::Key_Space, 49);
        // The reference platform's delete is the toolkit's backspace; forward delete is delete.
        addQtKeyRow(Qt::Key_Backspace, 51);
        addQtKeyRow(Qt::Key_Delete, 117);
        addQtKeyRow(Qt::Key_PageUp, 116);
        addQtKeyRow(Qt::Key_PageDown, 121);
        addQtKeyRow(Qt::Key_F1, 122);
        addQtKeyRow(Qt::Key_F12, 111);
        addQtKeyRow(Qt::Key_Left, 123);
        addQtKeyRow(Qt::Key_Right, 124);
        addQtKeyRow(Qt::Key_Down, 125);
        addQtKeyRow(Qt::Key_Up, 126);
    }

    void qtKeys() {
        QFETCH(Qt::Key, qtKey);
        QFETCH(int, keyCode);

        const auto key = KeyTable::forQtKey(qtKey);
        QVERIFY(key.has_value());
        QCOMPARE(int(key->keyCode), keyCode);
    }

    void keysOutsideTheTableHaveNoCode() {
        for (const Qt::Key qtKey : {Qt::Key_unknown, Qt::Key_Enter, Qt::Key_Backtab, Qt::Key_F13,
                                    Qt::Key_Shift, Qt::Key_Control, Qt::Key_Meta, Qt::Key_Alt,
                                    Qt::Key_CapsLock, Qt::Key_MediaPlay, Qt::Key_Insert}) {
            QVERIFY2(!KeyTable::forQtKey(qtKey).has_value(), qPrintable(QString::number(qtKey)));
        }
        QVERIFY(!KeyTable::forKeyCode(10).has_value());
        QVERIFY(!KeyTable::forKeyCode(52).has_value());
        QVERIFY(!KeyTable::forKeyCode(127).has_value());
        QVERIFY(!KeyTable::forKeyCode(65535).has_value());
    }
};

QTEST_GUILESS_MAIN(TestKeyTable)
#include "tst_keytable.moc"
