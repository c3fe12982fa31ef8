#include "models/UserAlert.h"
#include "scripting/ChromeYouTubeController.h"
#include "views/widgets/AlertBox.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QtTest>

namespace {

QList<QMessageBox*> visibleBoxes() {
    QList<QMessageBox*> boxes;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget); box != nullptr && box->isVisible()) {
            boxes << box;
        }
    }
    return boxes;
}

} // namespace

class TestAlertBox : public QObject {
    Q_OBJECT

private slots:
    void cleanup() {
        for (QMessageBox* box : visibleBoxes()) {
            box->close();
        }
        QTRY_VERIFY(visibleBoxes().isEmpty());
    }

    void theChromeAlertReadsAsWritten() {
        AlertBox::show(ChromeYouTubeController::jsPermissionAlert());
        QCOMPARE(visibleBoxes().size(), 1);

        QMessageBox* box = visibleBoxes().first();
        QCOMPARE(box->text(), QStringLiteral("Chrome JavaScript Access Required"));
        QCOMPARE(
            box->informativeText(),
            QStringLiteral("To control YouTube, enable JavaScript from Apple Events in "
                           "Chrome:\n\nView > Developer > Allow JavaScript from Apple Events"));
        QCOMPARE(box->icon(), QMessageBox::Information);
        const QList<QAbstractButton*> buttons = box->buttons();
        QCOMPARE(buttons.size(), 1);
        QCOMPARE(buttons.first()->text(), QStringLiteral("OK"));
        QCOMPARE(box->buttonRole(buttons.first()), QMessageBox::AcceptRole);
        QCOMPARE(box->windowModality(), Qt::ApplicationModal);
    }

    // Nothing waits for the user: showing returns with the box already open.
    void theAlertDoesNotBlock() {
        AlertBox::show({QStringLiteral("Title"), QStringLiteral("Text"), QStringLiteral("OK")});
        QCOMPARE(visibleBoxes().size(), 1);
        QCOMPARE(visibleBoxes().first()->text(), QStringLiteral("Title"));
    }

    void okClosesAndFreesTheBox() {
        AlertBox::show(ChromeYouTubeController::jsPermissionAlert());
        QTRY_COMPARE(visibleBoxes().size(), 1);
        QPointer<QMessageBox> box = visibleBoxes().first();
        box->buttons().first()->click();
        QTRY_VERIFY(box.isNull());
    }

    // No once-only guard: each refusal shows its own alert.
    void eachRequestShowsItsOwnAlert() {
        for (int i = 0; i < 3; ++i) {
            AlertBox::show(ChromeYouTubeController::jsPermissionAlert());
        }
        QTRY_COMPARE(visibleBoxes().size(), 3);
    }
};

QTEST_MAIN(TestAlertBox)
#include "tst_alertbox.moc"
