#include "support/Screenshots.h"
#include "views/widgets/PaletteFollower.h"
#include "views/widgets/Style.h"
#include "views/widgets/TintedLabel.h"

#include <QApplication>
#include <QPushButton>
#include <QVBoxLayout>
#include <QtTest>

Q_DECLARE_METATYPE(Style::Role)

class TestTintedLabel : public QObject {
    Q_OBJECT

private:
    static QColor textColor(const QWidget& widget) {
        return widget.palette().color(QPalette::WindowText);
    }

private slots:
    void init() { QApplication::setPalette(Screenshots::lightPalette()); }
    void cleanup() { QApplication::setPalette(QPalette()); }

    void eachRoleHasItsStyleColour_data() {
        QTest::addColumn<Style::Role>("role");
        QTest::addColumn<QColor>("light");
        QTest::addColumn<QColor>("dark");
        const QPalette light = Screenshots::lightPalette();
        const QPalette dark = Screenshots::darkPalette();
        QTest::newRow("primary") << Style::Role::primary << Style::primary(light)
                                 << Style::primary(dark);
        QTest::newRow("secondary")
            << Style::Role::secondary << Style::secondary(light) << Style::secondary(dark);
        QTest::newRow("tertiary") << Style::Role::tertiary << Style::tertiary(light)
                                  << Style::tertiary(dark);
        QTest::newRow("quaternary")
            << Style::Role::quaternary << Style::quaternary(light) << Style::quaternary(dark);
        QTest::newRow("accent") << Style::Role::accent << Style::accent(light)
                                << Style::accent(dark);
        QTest::newRow("success") << Style::Role::success << Style::success(light)
                                 << Style::success(dark);
        QTest::newRow("warning") << Style::Role::warning << Style::warning(light)
                                 << Style::warning(dark);
        QTest::newRow("warning text")
            << Style::Role::warningText << Style::warningText(light) << Style::warningText(dark);
        QTest::newRow("error") << Style::Role::error << Style::destructive(light)
                               << Style::destructive(dark);
    }
    // Made in the light, then the palette turns dark under it: the colour follows.
    void eachRoleHasItsStyleColour() {
        QFETCH(Style::Role, role);
        QFETCH(QColor, light);
        QFETCH(QColor, dark);
        QWidget window;
        auto* label = new TintedLabel(QStringLiteral("text"), role, &window);
        QCOMPARE(textColor(*label), light);
        // The application tells its windows on the next turn of the event loop.
        QApplication::setPalette(Screenshots::darkPalette());
        QTRY_COMPARE(textColor(*label), dark);
        QApplication::setPalette(Screenshots::lightPalette());
        QTRY_COMPARE(textColor(*label), light);
    }

    void aNewRoleTintsAtOnce() {
        QWidget window;
        TintedLabel label(Style::Role::success, &window);
        label.setRole(Style::Role::error);
        QCOMPARE(label.role(), Style::Role::error);
        QCOMPARE(textColor(label), Style::destructive(Screenshots::lightPalette()));
    }

    // Worked out from the ground it stands on, not from its own earlier colour.
    void itTakesTheColoursOfWhereItIsPut() {
        QWidget light;
        QWidget dark;
        dark.setPalette(Screenshots::darkPalette());
        auto* label = new TintedLabel(Style::Role::secondary);
        auto* layout = new QVBoxLayout(&dark);
        layout->addWidget(label);
        QCOMPARE(textColor(*label), Style::secondary(Screenshots::darkPalette()));
        label->setParent(&light);
        QCOMPARE(textColor(*label), Style::secondary(Screenshots::lightPalette()));
    }

    // Any colour of any widget can be kept in a role the same way.
    void aButtonKeepsItsColourThroughAPaletteChange() {
        QWidget window;
        auto* button = new QPushButton(QStringLiteral("Reset"), &window);
        PaletteFollower::keepColor(*button, QPalette::ButtonText, Style::Role::error);
        QCOMPARE(button->palette().color(QPalette::ButtonText),
                 Style::destructive(Screenshots::lightPalette()));
        QApplication::setPalette(Screenshots::darkPalette());
        QTRY_COMPARE(button->palette().color(QPalette::ButtonText),
                     Style::destructive(Screenshots::darkPalette()));
    }

    // Once for each change, and not again for the change the callback makes to the widget itself.
    void aFollowerIsCalledOncePerChange() {
        QWidget window;
        auto* widget = new QWidget(&window);
        int calls = 0;
        new PaletteFollower(*widget, [&calls, widget] {
            ++calls;
            QPalette palette = widget->palette();
            palette.setColor(QPalette::Link, Style::accent(widget->parentWidget()->palette()));
            widget->setPalette(palette);
        });
        QCOMPARE(calls, 0);
        QApplication::setPalette(Screenshots::darkPalette());
        QTRY_COMPARE(calls, 1);
        QCOMPARE(widget->palette().color(QPalette::Link),
                 Screenshots::darkPalette().color(QPalette::Highlight));
        QApplication::setPalette(Screenshots::lightPalette());
        QTRY_COMPARE(calls, 2);
        QCOMPARE(widget->palette().color(QPalette::Link),
                 Screenshots::lightPalette().color(QPalette::Highlight));
    }
};

QTEST_MAIN(TestTintedLabel)
#include "tst_tintedlabel.moc"
