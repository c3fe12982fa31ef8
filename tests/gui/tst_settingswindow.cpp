#include "app/SettingsWindowController.h"
#include "platform/Platform.h"
#include "settings/SettingsStore.h"
#include "support/RecordingDesktop.h"
#include "support/TempHome.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>
#include <QVBoxLayout>
#include <QtTest>

#include <memory>

namespace {

QList<SettingsView*> settingsWindows() {
    QList<SettingsView*> windows;
    for (QWidget* each : QApplication::topLevelWidgets()) {
        if (auto* view = qobject_cast<SettingsView*>(each); view != nullptr && view->isVisible()) {
            windows << view;
        }
    }
    return windows;
}

} // namespace

class TestSettingsWindow : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<SettingsStore> m_defaults;
    std::unique_ptr<RecordingDesktop> m_desktop;
    std::unique_ptr<SettingsWindowController> m_controller;
    int m_made = 0;

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_defaults = std::make_unique<SettingsStore>(std::make_unique<QSettings>(
            m_home->path() + QStringLiteral("/settings.conf"), QSettings::IniFormat));
        m_desktop =
            std::make_unique<RecordingDesktop>(Platform::createDesktopIntegration()->texts());
        m_made = 0;
        m_controller = std::make_unique<SettingsWindowController>(
            [this] {
                ++m_made;
                auto* view = new SettingsView(*m_defaults);
                view->setPage(QStringLiteral("general"), new QLabel(QStringLiteral("general")));
                view->setPage(QStringLiteral("about"), new QLabel(QStringLiteral("about")));
                return view;
            },
            *m_desktop);
    }
    void cleanup() {
        m_controller.reset();
        m_desktop.reset();
        m_defaults.reset();
        m_home.reset();
    }

    // Known by the window it made, not by words: a window named and titled like it is another.
    void aLookAlikeIsNotTheSettingsWindowAndTheRealOneIs() {
        QLabel lookAlike(QStringLiteral("settings"));
        lookAlike.setObjectName(SettingsView::identifier);
        lookAlike.setWindowTitle(QStringLiteral("Settings"));
        lookAlike.show();
        lookAlike.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&lookAlike));
        lookAlike.close();
        QCOMPARE(m_desktop->calls(), QStringList());

        m_controller->showSettingsWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_controller->window()));
        QCOMPARE(m_desktop->calls().value(0), QStringLiteral("regular"));
        m_desktop->clear();
        m_controller->window()->close();
        QCOMPARE(m_desktop->calls(), QStringList{QStringLiteral("accessory")});
    }

    void openingTwiceGivesOneWindowRaised() {
        m_controller->showSettingsWindow();
        SettingsView* first = m_controller->window();
        QVERIFY(first != nullptr);
        QVERIFY(QTest::qWaitForWindowActive(first));
        QLineEdit other;
        other.show();
        other.activateWindow();
        QTRY_VERIFY(other.isActiveWindow());
        m_controller->showSettingsWindow();
        QCOMPARE(m_controller->window(), first);
        QCOMPARE(m_made, 1);
        QCOMPARE(settingsWindows().size(), 1);
        QTRY_VERIFY(first->isActiveWindow());
    }

    void aClosedWindowIsMadeAnewOnTheStoredTab() {
        m_controller->showSettingsWindow();
        m_controller->window()->selectTab(QStringLiteral("about"));
        QPointer<SettingsView> first = m_controller->window();
        first->close();
        QTRY_VERIFY(first.isNull());
        m_controller->showSettingsWindow();
        QCOMPARE(m_made, 2);
        QCOMPARE(m_controller->window()->selectedTab(), QStringLiteral("about"));
    }

    void ctrlCommaOpensTheSettingsFromAnyWindow() {
        QLineEdit other;
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        QTest::keyClick(&other, Qt::Key_Comma, Qt::ControlModifier);
        QVERIFY(m_controller->window() != nullptr);
        QCOMPARE(settingsWindows().size(), 1);
        // Swallowed: the field never saw it.
        QCOMPARE(other.text(), QString());
        // Again, with the window open: still one.
        QTest::keyClick(&other, Qt::Key_Comma, Qt::ControlModifier);
        QCOMPARE(m_made, 1);
    }

    void ctrlPeriodAndAPlainCommaPassThrough() {
        QLineEdit other;
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        QTest::keyClick(&other, Qt::Key_Period, Qt::ControlModifier);
        QTest::keyClicks(&other, QStringLiteral(","));
        QCOMPARE(m_controller->window(), nullptr);
        QCOMPARE(m_made, 0);
        QCOMPARE(other.text(), QStringLiteral(","));
    }

    // Regular while open, above others for a moment, an accessory again once closed.
    void theWindowFloatsBrieflyAndTheProgramIsRegularWhileItIsOpen() {
        m_controller->showSettingsWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_controller->window()));
        QTRY_COMPARE(m_desktop->calls().size(), 3);
        QCOMPARE(m_desktop->calls(),
                 QStringList({QStringLiteral("regular"), QStringLiteral("float"),
                              QStringLiteral("unfloat")}));
        m_desktop->clear();
        m_controller->window()->close();
        QCOMPARE(m_desktop->calls(), QStringList{QStringLiteral("accessory")});
    }

    void otherWindowsChangeNothing() {
        QLabel overlay(QStringLiteral("overlay"));
        overlay.setObjectName(QStringLiteral("overlayPanel"));
        overlay.setWindowTitle(QStringLiteral("Scrubline Overlay"));
        overlay.show();
        overlay.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&overlay));
        overlay.close();
        QTest::qWait(50);
        QCOMPARE(m_desktop->calls(), QStringList());
    }
};

QTEST_MAIN(TestSettingsWindow)
#include "tst_settingswindow.moc"
