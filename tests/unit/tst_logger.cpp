#include <QtTest>
class Placeholder : public QObject { Q_OBJECT };
QTEST_GUILESS_MAIN(Placeholder)
#include "tst_logger.moc"
