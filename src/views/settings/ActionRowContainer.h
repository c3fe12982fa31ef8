#pragma once

#include "models/KeyTable.h"
#include "views/settings/ActionBinding.h"
#include "views/settings/HotkeyRecorder.h"

#include <QWidget>

#include <span>

class ActionEditor;
class ActionRowHeader;
class QVBoxLayout;
class SymbolButton;

// One seek action in the Hotkeys tab: its header line and, while it is the open row, the
// editor under it. The tab decides which row is open; the row asks it through its signals.
class ActionRowContainer : public QWidget {
    Q_OBJECT

public:
    // Why an action that has a hotkey is not a global hotkey now, shown in its row.
    enum class Standing { active, unavailable, needsModifier };

    // `style`: how its hotkey is written, as the desktop writes combinations.
    ActionRowContainer(ActionBinding binding, std::span<const double> presetSeconds,
                       KeyTable::ModifierStyle style, QWidget* parent = nullptr);
    ~ActionRowContainer() override;

    const QUuid& id() const { return m_binding.id(); }

    bool isExpanded() const { return m_editor != nullptr; }
    // Opens or closes the editor at once, without animation.
    void setExpanded(bool expanded);
    bool hasConflict() const { return m_hasConflict; }
    void setHasConflict(bool conflict);
    void setUnavailable(bool unavailable);
    // The trigger the desktop gave the action in place of its combination; empty for none.
    void setAssignedTrigger(const QString& trigger);
    Standing standing() const;
    bool isHovered() const;

    // Shows the action as the store holds it now, in the header and the open editor.
    void showAction();
    void setModifierMapping(const HotkeyRecorder::ModifierMapping& mapping);

    ActionRowHeader* header() const { return m_header; }
    SymbolButton* deleteButton() const;
    // The open editor; nothing while the row is closed.
    ActionEditor* editor() const { return m_editor; }

signals:
    void toggleRequested();
    void deleteRequested();
    void testRequested(double seconds);
    void recordingChanged(bool recording);

private:
    void applyColors();

    ActionBinding m_binding;
    std::span<const double> m_presets;
    HotkeyRecorder::ModifierMapping m_mapping;
    bool m_hasConflict = false;
    bool m_unavailable = false;
    QString m_assignedTrigger;
    QVBoxLayout* m_layout = nullptr;
    ActionRowHeader* m_header = nullptr;
    QWidget* m_separator = nullptr;
    ActionEditor* m_editor = nullptr;
    KeyTable::ModifierStyle m_style;
};
