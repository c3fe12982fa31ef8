#pragma once

#include "models/KeyTable.h"
#include "views/settings/ActionBinding.h"
#include "views/settings/HotkeyRecorder.h"

#include <QWidget>

#include <span>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class SegmentedControl;

// The editor under an open row of the Hotkeys tab: the direction, the step in seconds (a preset
// or a custom value), the hotkey and a Test button. Every edit goes straight into the store.
class ActionEditor : public QWidget {
    Q_OBJECT

public:
    // The width of the control column of the editor's rows.
    static constexpr int controlWidth = 230;
    // The seconds picker's tag for "Custom"; it never reaches an action.
    static constexpr double customTag = -1.0;

    ActionEditor(ActionBinding binding, std::span<const double> presetSeconds,
                 KeyTable::ModifierStyle style, QWidget* parent = nullptr);
    ~ActionEditor() override;

    // What the seconds picker shows: a preset, or the custom tag.
    double pickerSelection() const;
    // As a choice in the seconds picker: the custom tag opens the custom field on the whole
    // seconds of the action without changing it; a preset is stored.
    void setPickerSelection(double value);
    // Stores the custom field's number when it is one from 1 to 300; anything else is ignored
    // and the action keeps its step.
    void applyCustomValue();

    bool useCustom() const { return m_useCustom; }
    QString customText() const;

    // Shows the action as the store holds it now.
    void showAction();
    void setModifierMapping(const HotkeyRecorder::ModifierMapping& mapping);
    HotkeyRecorder* recorder() const { return m_recorder; }

signals:
    // The Test button: the signed step of the action as edited.
    void testRequested(double seconds);
    void recordingChanged(bool recording);

protected:
    void showEvent(QShowEvent* event) override;

private:
    // A title in the secondary style at its natural size, then the control right-aligned in a
    // column `controlWidth` wide.
    QWidget* row(const QString& title, QWidget* control);
    void showCustom(bool on, const QString& text);

    ActionBinding m_binding;
    std::span<const double> m_presets;
    bool m_useCustom = false;
    SegmentedControl* m_direction = nullptr;
    QWidget* m_secondsRow = nullptr;
    QComboBox* m_secondsPicker = nullptr;
    QLineEdit* m_customField = nullptr;
    QLabel* m_customUnit = nullptr;
    HotkeyRecorder* m_recorder = nullptr;
    QPushButton* m_test = nullptr;
};

// The custom field's text as a step, if it is a number from 1 to 300 written in full: no
// leading or trailing white space, nothing after the number.
std::optional<double> customSeconds(const QString& text);
