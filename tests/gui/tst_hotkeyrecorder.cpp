#include "models/KeyTable.h"
#include "support/Screenshots.h"
#include "views/settings/HotkeyRecorder.h"
#include "views/widgets/Style.h"

#include <QAccessible>
#include <QApplication>
#include <QEnterEvent>
#include <QImage>
#include <QLineEdit>
#include <QShortcut>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QtTest>

#include <memory>

namespace {

const QString emptyText = QStringLiteral("Click to record");
const QString recordingText = QStringLiteral("Recording...");

// Command-F, a combination the user had before recording.
constexpr std::uint16_t oldKeyCode = 3;
constexpr std::uint32_t oldModifiers = CarbonModifier::command;

int redPixels(const QImage& image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor color = image.pixelColor(x, y);
            const int hue = color.hslHue();
            if (color.hslSaturation() > 150 && color.lightness() > 80 &&
                (hue <= 10 || hue >= 350)) {
                ++count;
            }
        }
    }
    return count;
}

QString accessibleText(QWidget* widget, QAccessible::Text which) {
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    return face != nullptr ? face->text(which) : QString();
}

} // namespace

class TestHotkeyRecorder : public QObject {
    Q_OBJECT

    std::unique_ptr<QWidget> m_window;
    QLineEdit* m_field = nullptr;
    HotkeyRecorder* m_recorder = nullptr;

    // A field the user was typing in, and the recorder below it holding Command-F.
    void openWindow() {
        m_window = std::make_unique<QWidget>();
        auto* layout = new QVBoxLayout(m_window.get());
        layout->setContentsMargins(16, 16, 16, 16);
        m_field = new QLineEdit(m_window.get());
        m_field->setAccessibleName(QStringLiteral("Notes"));
        layout->addWidget(m_field);
        m_recorder = new HotkeyRecorder(KeyTable::ModifierStyle::glyphs, m_window.get());
        m_recorder->setKeyCode(oldKeyCode);
        m_recorder->setCarbonModifiers(oldModifiers);
        layout->addWidget(m_recorder, 0, Qt::AlignLeft);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        m_field->setFocus();
        QVERIFY(m_field->hasFocus());
    }

    void startByClick() {
        QTest::mouseClick(m_recorder, Qt::LeftButton);
        QVERIFY(m_recorder->isRecording());
    }

    void verifyOldCombinationKept() {
        QCOMPARE(m_recorder->keyCode(), oldKeyCode);
        QCOMPARE(m_recorder->carbonModifiers(), oldModifiers);
        QCOMPARE(m_recorder->text(), KeyTable::displayString(oldKeyCode, oldModifiers,
                                                             KeyTable::ModifierStyle::glyphs));
    }

    static QList<bool> states(const QSignalSpy& spy) {
        QList<bool> result;
        for (const QList<QVariant>& each : spy) {
            result << each.at(0).toBool();
        }
        return result;
    }

private slots:
    void init() {
        openWindow();
        // Away from where the recorder will be, so that moving onto it enters it.
        QTest::mouseMove(m_window.get(), QPoint(2, 2));
    }

    void cleanup() {
        m_window.reset();
        m_recorder = nullptr;
        m_field = nullptr;
        QApplication::setPalette(QPalette());
    }

    void showsTheCombinationItHolds() {
        QCOMPARE(m_recorder->text(), KeyTable::displayString(oldKeyCode, oldModifiers,
                                                             KeyTable::ModifierStyle::glyphs));
        QVERIFY(!m_recorder->isRecording());
        QVERIFY(m_recorder->width() >= 100);
        QVERIFY(m_recorder->sizeHint().width() >= 100);
        QVERIFY(m_recorder->minimumSizeHint().width() >= 100);
    }

    void noCombinationShowsClickToRecord() {
        m_recorder->setKeyCode(0);
        m_recorder->setCarbonModifiers(0);
        QCOMPARE(m_recorder->text(), emptyText);
        QCOMPARE(accessibleText(m_recorder, QAccessible::Description), emptyText);
        // Key code 0 is A: with a modifier it is a combination.
        m_recorder->setCarbonModifiers(CarbonModifier::control);
        QCOMPARE(m_recorder->text(), KeyTable::displayString(0, CarbonModifier::control,
                                                             KeyTable::ModifierStyle::glyphs));
        m_recorder->setCarbonModifiers(0);
        m_recorder->setKeyCode(124);
        QCOMPARE(m_recorder->text(),
                 KeyTable::displayString(124, 0, KeyTable::ModifierStyle::glyphs));
    }

    void clickStartsRecording() {
        QSignalSpy recording(m_recorder, &HotkeyRecorder::recordingChanged);
        startByClick();
        QCOMPARE(m_recorder->text(), recordingText);
        QCOMPARE(states(recording), QList<bool>{true});
        // The click leaves the focus where the user was.
        QVERIFY(m_field->hasFocus());
    }

    void bareKeyIsRefusedAndRecordingGoesOn() {
        QSignalSpy changed(m_recorder, &HotkeyRecorder::changed);
        startByClick();
        QTest::keyClick(m_recorder, Qt::Key_A);
        QTest::keyClick(m_recorder, Qt::Key_Right);
        QVERIFY(m_recorder->isRecording());
        QCOMPARE(m_recorder->text(), recordingText);
        QCOMPARE(m_recorder->keyCode(), oldKeyCode);
        QCOMPARE(m_recorder->carbonModifiers(), oldModifiers);
        QCOMPARE(changed.count(), 0);
    }

    void escapeCancels_data() {
        QTest::addColumn<int>("modifiers");
        QTest::newRow("Escape") << int(Qt::NoModifier);
        // The key is tested before the modifiers.
        QTest::newRow("Shift+Escape") << int(Qt::ShiftModifier);
        QTest::newRow("Control+Escape") << int(Qt::ControlModifier);
    }

    void escapeCancels() {
        QFETCH(int, modifiers);
        QSignalSpy changed(m_recorder, &HotkeyRecorder::changed);
        QSignalSpy recording(m_recorder, &HotkeyRecorder::recordingChanged);
        startByClick();
        QTest::keyClick(m_recorder, Qt::Key_Escape, Qt::KeyboardModifiers(modifiers));
        QVERIFY(!m_recorder->isRecording());
        verifyOldCombinationKept();
        QCOMPARE(changed.count(), 0);
        QCOMPARE(states(recording), (QList<bool>{true, false}));
    }

    void controlOptionRightIsStored() {
        QSignalSpy changed(m_recorder, &HotkeyRecorder::changed);
        QSignalSpy recording(m_recorder, &HotkeyRecorder::recordingChanged);
        startByClick();
        QTest::keyClick(m_recorder, Qt::Key_Right, Qt::ControlModifier | Qt::AltModifier);
        QVERIFY(!m_recorder->isRecording());
        QCOMPARE(m_recorder->keyCode(), std::uint16_t(124));
        QCOMPARE(m_recorder->carbonModifiers(), std::uint32_t(6144));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).value<std::uint16_t>(), std::uint16_t(124));
        QCOMPARE(changed.at(0).at(1).value<std::uint32_t>(), std::uint32_t(6144));
        QCOMPARE(m_recorder->text(),
                 KeyTable::displayString(124, 6144, KeyTable::ModifierStyle::glyphs));
        QCOMPARE(accessibleText(m_recorder, QAccessible::Description),
                 KeyTable::displayString(124, 6144, KeyTable::ModifierStyle::glyphs));
        QCOMPARE(states(recording), (QList<bool>{true, false}));
    }

    void modifiersBecomeHotkeyBits_data() {
        QTest::addColumn<bool>("swapped");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<uint>("expected");
        using namespace CarbonModifier;
        QTest::newRow("Shift") << false << int(Qt::ShiftModifier) << uint(shift);
        QTest::newRow("Control") << false << int(Qt::ControlModifier) << uint(control);
        QTest::newRow("Alt is Option") << false << int(Qt::AltModifier) << uint(option);
        QTest::newRow("Meta is Command") << false << int(Qt::MetaModifier) << uint(command);
        QTest::newRow("all four") << false
                                  << int(Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier |
                                         Qt::MetaModifier)
                                  << uint(shift | control | option | command);
        // Checked on a keypad key below: the flag picks the key, never a modifier bit.
        QTest::newRow("keypad flag dropped")
            << false << int(Qt::MetaModifier | Qt::KeypadModifier) << uint(command);
        QTest::newRow("swapped: Control is Command")
            << true << int(Qt::ControlModifier | Qt::AltModifier) << uint(command | option);
        QTest::newRow("swapped: Meta is Control")
            << true << int(Qt::MetaModifier | Qt::AltModifier) << uint(control | option);
    }

    void modifiersBecomeHotkeyBits() {
        QFETCH(bool, swapped);
        QFETCH(int, modifiers);
        QFETCH(uint, expected);
        if (swapped) {
            m_recorder->setModifierMapping(HotkeyRecorder::ModifierMapping::swapped());
        }
        startByClick();
        const bool keypad = (modifiers & Qt::KeypadModifier) != 0;
        // K, or keypad 5 where the keypad flag is set.
        QTest::keyClick(m_recorder, keypad ? Qt::Key_5 : Qt::Key_K,
                        Qt::KeyboardModifiers(modifiers));
        QVERIFY(!m_recorder->isRecording());
        QCOMPARE(m_recorder->keyCode(), std::uint16_t(keypad ? 87 : 40));
        QCOMPARE(m_recorder->carbonModifiers(), std::uint32_t(expected));
    }

    // The keypad flag means what the given mapping says: on macOS an arrow is flagged as a
    // keypad key and stays an arrow; elsewhere it is the keypad key under it.
    void theKeypadFlagIsReadAsTheMappingSays() {
        m_recorder->setModifierMapping(HotkeyRecorder::ModifierMapping::swapped());
        startByClick();
        QTest::keyClick(m_recorder, Qt::Key_Left, Qt::ControlModifier | Qt::KeypadModifier);
        QCOMPARE(m_recorder->keyCode(), std::uint16_t(123));
        QCOMPARE(m_recorder->carbonModifiers(), CarbonModifier::command);
        m_recorder->setModifierMapping({});
        startByClick();
        QTest::keyClick(m_recorder, Qt::Key_Left, Qt::ControlModifier | Qt::KeypadModifier);
        QCOMPARE(m_recorder->keyCode(), std::uint16_t(86));
        QCOMPARE(m_recorder->carbonModifiers(), CarbonModifier::control);
    }

    void keyNotInTableIsSwallowedAndRecordingGoesOn() {
        QSignalSpy changed(m_recorder, &HotkeyRecorder::changed);
        startByClick();
        // Pressing the modifier itself comes first, and keys no hotkey can be made of.
        QTest::keyClick(m_field, Qt::Key_Control, Qt::ControlModifier);
        QTest::keyClick(m_field, Qt::Key_Launch0, Qt::ControlModifier);
        // A key Qt has no name for, which the field would take as text.
        QKeyEvent unnamed(QEvent::KeyPress, Qt::Key_unknown, Qt::ControlModifier,
                          QStringLiteral("x"));
        QApplication::sendEvent(m_field, &unnamed);
        QVERIFY(m_recorder->isRecording());
        QCOMPARE(changed.count(), 0);
        QCOMPARE(m_field->text(), QString());
        // The next combination that has a code is taken.
        QTest::keyClick(m_field, Qt::Key_Up, Qt::ShiftModifier);
        QVERIFY(!m_recorder->isRecording());
        QCOMPARE(m_recorder->keyCode(), std::uint16_t(126));
        QCOMPARE(m_recorder->carbonModifiers(), CarbonModifier::shift);
    }

    void secondClickCancels() {
        QSignalSpy changed(m_recorder, &HotkeyRecorder::changed);
        QSignalSpy recording(m_recorder, &HotkeyRecorder::recordingChanged);
        startByClick();
        QTest::mouseClick(m_recorder, Qt::LeftButton);
        QVERIFY(!m_recorder->isRecording());
        verifyOldCombinationKept();
        QCOMPARE(changed.count(), 0);
        QCOMPARE(states(recording), (QList<bool>{true, false}));
        // And a third starts again.
        startByClick();
    }

    void typingWhileRecordingDoesNotReachTheFocusedField() {
        QVERIFY(m_field->hasFocus());
        startByClick();
        QTest::keyClicks(m_field, QStringLiteral("abc 12"));
        QTest::keyClick(m_field, Qt::Key_Backspace);
        QCOMPARE(m_field->text(), QString());
        QVERIFY(m_recorder->isRecording());
        // A combination typed into the field is recorded, not pasted.
        QTest::keyClick(m_field, Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(m_field->text(), QString());
        QCOMPARE(m_recorder->keyCode(), std::uint16_t(9));
        QCOMPARE(m_recorder->carbonModifiers(), CarbonModifier::control);
        // Recording over, typing reaches the field again.
        QTest::keyClicks(m_field, QStringLiteral("ab"));
        QCOMPARE(m_field->text(), QStringLiteral("ab"));
    }

    void aShortcutOfTheProgramIsRecordedNotTriggered() {
        auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_S), m_window.get());
        QSignalSpy activated(shortcut, &QShortcut::activated);
        // The shortcut works before recording: the test can tell.
        QTest::keyClick(m_field, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(activated.count(), 1);
        startByClick();
        QTest::keyClick(m_field, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(activated.count(), 1);
        QCOMPARE(m_recorder->keyCode(), std::uint16_t(1));
        QCOMPARE(m_recorder->carbonModifiers(), CarbonModifier::control);
    }

    void hidingStopsRecordingAndLetsKeysThrough() {
        QSignalSpy recording(m_recorder, &HotkeyRecorder::recordingChanged);
        startByClick();
        QTest::keyClick(m_field, Qt::Key_A);
        QCOMPARE(m_field->text(), QString());
        m_recorder->hide();
        QVERIFY(!m_recorder->isRecording());
        QCOMPARE(states(recording), (QList<bool>{true, false}));
        QTest::keyClick(m_field, Qt::Key_A);
        QCOMPARE(m_field->text(), QStringLiteral("a"));
        verifyOldCombinationKept();
    }

    void closingTheWindowStopsRecording() {
        QSignalSpy recording(m_recorder, &HotkeyRecorder::recordingChanged);
        startByClick();
        m_window->close();
        QVERIFY(!m_recorder->isRecording());
        QCOMPARE(states(recording), (QList<bool>{true, false}));
    }

    void destroyingStopsRecordingAndLetsKeysThrough() {
        QList<bool> seen;
        connect(m_recorder, &HotkeyRecorder::recordingChanged, this,
                [&seen](bool recording) { seen << recording; });
        startByClick();
        delete m_recorder;
        m_recorder = nullptr;
        QCOMPARE(seen, (QList<bool>{true, false}));
        QTest::keyClick(m_field, Qt::Key_Z);
        QCOMPARE(m_field->text(), QStringLiteral("z"));
    }

    void spaceStartsRecordingFromTheKeyboard() {
        m_recorder->setFocus(Qt::TabFocusReason);
        QVERIFY(m_recorder->hasFocus());
        QTest::keyClick(m_recorder, Qt::Key_Space);
        QVERIFY(m_recorder->isRecording());
        // Space on its own is a bare key: refused, still recording.
        QTest::keyClick(m_recorder, Qt::Key_Space);
        QVERIFY(m_recorder->isRecording());
        QTest::keyClick(m_recorder, Qt::Key_Space, Qt::MetaModifier);
        QVERIFY(!m_recorder->isRecording());
        QCOMPARE(m_recorder->keyCode(), std::uint16_t(49));
        QCOMPARE(m_recorder->carbonModifiers(), CarbonModifier::command);
    }

    void accessibleNameSaysWhenItRecords() {
        QCOMPARE(accessibleText(m_recorder, QAccessible::Name), QStringLiteral("Hotkey"));
        QCOMPARE(
            accessibleText(m_recorder, QAccessible::Description),
            KeyTable::displayString(oldKeyCode, oldModifiers, KeyTable::ModifierStyle::glyphs));
        startByClick();
        QCOMPARE(accessibleText(m_recorder, QAccessible::Name),
                 QStringLiteral("Hotkey, recording"));
        QCOMPARE(accessibleText(m_recorder, QAccessible::Description), recordingText);
        QTest::keyClick(m_recorder, Qt::Key_Escape);
        QCOMPARE(accessibleText(m_recorder, QAccessible::Name), QStringLiteral("Hotkey"));
        m_recorder->setAccessibleLabel(QStringLiteral("Hotkey for forward 15 seconds"));
        QCOMPARE(accessibleText(m_recorder, QAccessible::Name),
                 QStringLiteral("Hotkey for forward 15 seconds"));
        QCOMPARE(QAccessible::queryAccessibleInterface(m_recorder)->role(), QAccessible::Button);
    }

    void hoverIsTracked() {
        QVERIFY(!m_recorder->isHovered());
        QTest::mouseMove(m_recorder);
        QTRY_VERIFY(m_recorder->isHovered());
        QTest::mouseMove(m_field);
        QTRY_VERIFY(!m_recorder->isHovered());
    }

    void recordingShowsARedDot() {
        QCOMPARE(redPixels(m_recorder->grab().toImage()), 0);
        startByClick();
        const int red = redPixels(m_recorder->grab().toImage());
        // About a 6 by 6 circle, at any device pixel ratio.
        const qreal ratio = m_recorder->devicePixelRatioF();
        QVERIFY2(red >= 12 * ratio * ratio && red <= 40 * ratio * ratio,
                 qPrintable(QString::number(red)));
    }

    void screenshots_data() {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<QString>("state");
        for (const bool dark : {false, true}) {
            for (const char* state : {"combination", "empty", "recording", "hovered"}) {
                QTest::addRow("%s %s", state, dark ? "dark" : "light")
                    << dark << QString::fromLatin1(state);
            }
        }
    }

    void screenshots() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        QFETCH(QString, state);
        m_window.reset();
        Screenshots::usePalette(dark);
        openWindow();
        m_field->hide();
        // The focus ring is for the keyboard; these show the looks of the mouse.
        m_recorder->clearFocus();
        if (state == QStringLiteral("combination")) {
            m_recorder->setKeyCode(124);
            m_recorder->setCarbonModifiers(6144);
        } else if (state == QStringLiteral("empty")) {
            m_recorder->setKeyCode(0);
            m_recorder->setCarbonModifiers(0);
        } else if (state == QStringLiteral("recording")) {
            startByClick();
            QTest::mouseMove(m_window.get(), QPoint(2, 2));
            QTRY_VERIFY(!m_recorder->isHovered());
        } else {
            // The pointer's own crossing is checked in hoverIsTracked; a picture needs only the
            // look, so it does not wait on the pointer of a freshly mapped window.
            const QPointF inside(5, 5);
            QEnterEvent enter(inside, inside, m_recorder->mapToGlobal(inside));
            QApplication::sendEvent(m_recorder, &enter);
            QVERIFY(m_recorder->isHovered());
        }
        m_window->adjustSize();
        QTest::qWait(50);
        QVERIFY(m_recorder->width() >= m_recorder->sizeHint().width());
        const QString name =
            QStringLiteral("hotkey-recorder-%1-%2")
                .arg(state, dark ? QStringLiteral("dark") : QStringLiteral("light"));
        QVERIFY(!Screenshots::save(m_window->grab(), name).isEmpty());
    }
};

QTEST_MAIN(TestHotkeyRecorder)
#include "tst_hotkeyrecorder.moc"
