// The triggers desktops describe back to the program, in each desktop's own words.
#include "platform/linux/PortalTrigger.h"

#include <QtTest>

namespace {

const Qt::KeyboardModifiers hyper = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
const Qt::KeyboardModifiers control = Qt::ControlModifier;

} // namespace

class TestPortalTrigger : public QObject {
    Q_OBJECT

private slots:
    void eachDesktopsFormIsRead_data() {
        QTest::addColumn<QString>("description");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("shown");
        QTest::newRow("the shortcut format")
            << QStringLiteral("CTRL+ALT+LOGO+Right") << hyper << QStringLiteral("RIGHT")
            << QStringLiteral("Ctrl+Alt+Super+Right");
        QTest::newRow("Plasma") << QStringLiteral("Meta+Ctrl+Alt+Right") << hyper
                                << QStringLiteral("RIGHT")
                                << QStringLiteral("Ctrl+Alt+Super+Right");
        QTest::newRow("GNOME") << QStringLiteral("Press <Control><Alt><Super>Right") << hyper
                               << QStringLiteral("RIGHT") << QStringLiteral("Ctrl+Alt+Super+Right");
        QTest::newRow("GNOME in another language")
            << QStringLiteral("Drücken Sie <Control><Shift>a")
            << (Qt::ControlModifier | Qt::ShiftModifier) << QStringLiteral("A")
            << QStringLiteral("Ctrl+Shift+A");
        QTest::newRow("GNOME, primary")
            << QStringLiteral("<Primary>Page_Up") << control << QStringLiteral("PRIOR")
            << QStringLiteral("Ctrl+Page_Up");
        QTest::newRow("Plasma's paging key")
            << QStringLiteral("Ctrl+PgDown") << control << QStringLiteral("NEXT")
            << QStringLiteral("Ctrl+PgDown");
        QTest::newRow("the plus key") << QStringLiteral("Ctrl++") << control << QStringLiteral("+")
                                      << QStringLiteral("Ctrl++");
        QTest::newRow("no modifier") << QStringLiteral("F9") << Qt::KeyboardModifiers()
                                     << QStringLiteral("F9") << QStringLiteral("F9");
    }

    void eachDesktopsFormIsRead() {
        QFETCH(QString, description);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(QString, key);
        QFETCH(QString, shown);
        const auto trigger = PortalTrigger::parse(description);
        QVERIFY(trigger.has_value());
        QCOMPARE(trigger->modifiers(), modifiers);
        QCOMPARE(trigger->key(), key);
        QCOMPARE(trigger->displayText(), shown);
    }

    void whatNamesNoKeyIsNotATrigger_data() {
        QTest::addColumn<QString>("description");
        QTest::newRow("empty") << QString();
        QTest::newRow("modifiers only") << QStringLiteral("Ctrl+Alt");
        QTest::newRow("GNOME, modifiers only") << QStringLiteral("Press <Control><Alt>");
        QTest::newRow("unknown modifier") << QStringLiteral("Hyper+Right");
        QTest::newRow("unclosed bracket") << QStringLiteral("Press <Control");
        QTest::newRow("unknown bracket") << QStringLiteral("<Hyper>Right");
    }

    void whatNamesNoKeyIsNotATrigger() {
        QFETCH(QString, description);
        QCOMPARE(PortalTrigger::parse(description), std::nullopt);
    }

    void triggersAreComparedByTheirKeys() {
        const QString preferred = QStringLiteral("CTRL+ALT+LOGO+Right");
        QVERIFY(PortalTrigger::sameKeys(preferred, preferred));
        QVERIFY(PortalTrigger::sameKeys(QStringLiteral("Ctrl+Alt+Meta+Right"), preferred));
        QVERIFY(PortalTrigger::sameKeys(QStringLiteral("Meta+Ctrl+Alt+Right"), preferred));
        QVERIFY(
            PortalTrigger::sameKeys(QStringLiteral("Press <Control><Alt><Super>Right"), preferred));
        QVERIFY(PortalTrigger::sameKeys(QStringLiteral("Super+Control+Alt+right"), preferred));
        QVERIFY(PortalTrigger::sameKeys(QStringLiteral("Ctrl+PgUp"), QStringLiteral("CTRL+Prior")));
        QVERIFY(PortalTrigger::sameKeys(QStringLiteral("<Control>Page_Up"),
                                        QStringLiteral("CTRL+Prior")));
        QVERIFY(!PortalTrigger::sameKeys(QStringLiteral("Ctrl+Alt+Right"), preferred));
        QVERIFY(!PortalTrigger::sameKeys(QStringLiteral("Ctrl+Alt+Meta+Left"), preferred));
        QVERIFY(!PortalTrigger::sameKeys(QStringLiteral("Press <Control><Alt>Right"), preferred));
        QVERIFY(!PortalTrigger::sameKeys(QString(), preferred));
        QVERIFY(!PortalTrigger::sameKeys(QString(), QString()));
    }
};

QTEST_GUILESS_MAIN(TestPortalTrigger)
#include "tst_portaltrigger.moc"
