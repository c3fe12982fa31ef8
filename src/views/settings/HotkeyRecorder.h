#pragma once

#include "models/KeyTable.h"

#include <QAbstractButton>
#include <QKeyCombination>

#include <cstdint>
#include <optional>

class QKeyEvent;

// The control with which the user sets one hotkey: click it, press a combination with at least
// one modifier, and the key code and modifier mask it holds are replaced. While it records, every
// key press delivered to this program is taken, so typing goes nowhere else; Escape, a second
// click or the control going away end recording and keep the old combination.
class HotkeyRecorder : public QAbstractButton {
    Q_OBJECT

public:
    // Which of the toolkit's modifiers is the keyboard's Control key and which its Command
    // (Super, Windows) key. The default is how Qt reports them on X11 and Wayland; on macOS Qt
    // swaps the two (ControlModifier is Command there), so the shell passes swapped() there.
    // Shift and Alt (Option) mean the same everywhere.
    struct ModifierMapping {
        Qt::KeyboardModifier control = Qt::ControlModifier;
        Qt::KeyboardModifier command = Qt::MetaModifier;
        // What the keypad flag on a key outside the keypad means there.
        KeyTable::KeypadFlag keypadFlag = KeyTable::KeypadFlag::numLockOffKeypad;

        // macOS: its toolkit swaps Control and Command, and flags the arrow keys as keypad keys.
        static ModifierMapping swapped() {
            return {Qt::MetaModifier, Qt::ControlModifier, KeyTable::KeypadFlag::keyItself};
        }
    };

    // `style`: how the combination is written, as the desktop writes it.
    explicit HotkeyRecorder(KeyTable::ModifierStyle style, QWidget* parent = nullptr);
    ~HotkeyRecorder() override;

    std::uint16_t keyCode() const { return m_keyCode; }
    std::uint32_t carbonModifiers() const { return m_carbonModifiers; }
    // Sets the shown combination without announcing it: the owner is the one who knows.
    void setKeyCode(std::uint16_t keyCode);
    void setCarbonModifiers(std::uint32_t carbonModifiers);
    void setModifierMapping(const ModifierMapping& mapping) { m_mapping = mapping; }

    // What a screen reader calls the control, such as "Hotkey for forward 15 seconds".
    void setAccessibleLabel(const QString& label);

    bool isRecording() const { return m_recording; }
    bool isHovered() const { return m_hovered; }
    // What the control shows when it is not recording.
    QString displayText() const;

    void startRecording();
    void stopRecording();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    // A combination was recorded; the owner stores both values.
    void changed(std::uint16_t keyCode, std::uint32_t carbonModifiers);
    // Recording began or ended. While it records, the global hotkeys should be let go, or
    // pressing one that is already taken would seek instead of being recorded.
    void recordingChanged(bool recording);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    // The modifiers held that a hotkey may use, named as a PC keyboard names them whatever the
    // toolkit reports.
    Qt::KeyboardModifiers hotkeyModifiers(Qt::KeyboardModifiers modifiers) const;
    // The combination pressed, if a hotkey can be made of its key.
    std::optional<QKeyCombination> keysFor(const QKeyEvent& event) const;
    void record(const QKeyEvent& event);
    void refresh();

    std::uint16_t m_keyCode = 0;
    std::uint32_t m_carbonModifiers = 0;
    bool m_recording = false;
    bool m_hovered = false;
    ModifierMapping m_mapping;
    QString m_accessibleLabel;
    KeyTable::ModifierStyle m_style;
};
