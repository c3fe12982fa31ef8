#pragma once

#include "models/KeyTable.h"
#include "views/settings/HotkeyRecorder.h"

#include <QHash>
#include <QSet>
#include <QUuid>
#include <QWidget>

#include <array>
#include <optional>
#include <vector>

class ActionRowContainer;
class AppSettings;
class FormSection;
class QLabel;
class QVBoxLayout;
class QToolButton;
class SymbolView;

// The settings tab that lists the seek actions: one row per action, in the store's order, of
// which at most one is open with its editor. Every edit goes straight into the store, whose
// debounced save re-registers the hotkeys.
class HotkeysSettingsTab : public QWidget {
    Q_OBJECT

public:
    static constexpr std::array<double, 6> presetSeconds = {5.0, 10.0, 15.0, 30.0, 45.0, 60.0};

    // `style`: how the rows write their hotkeys, as the desktop writes combinations.
    HotkeysSettingsTab(AppSettings& settings, KeyTable::ModifierStyle style,
                       QWidget* parent = nullptr);
    ~HotkeysSettingsTab() override;

    // How the recorders read the toolkit's modifiers on this platform.
    void setModifierMapping(const HotkeyRecorder::ModifierMapping& mapping);

    // The one action whose editor is open.
    std::optional<QUuid> expandedID() const { return m_expandedID; }
    // The actions that share a combination with another one; actions without a key are left out.
    QSet<QUuid> conflictingActionIDs() const;

    // The actions whose combination could not be had as a global hotkey, most often because
    // another program holds it; their rows say so. The shell keeps this up to date.
    void setUnavailableActionIDs(const QSet<QUuid>& ids);
    const QSet<QUuid>& unavailableActionIDs() const { return m_unavailable; }
    // The triggers the desktop gave actions in place of their own combinations, by action id.
    void setAssignedTriggers(const QHash<QUuid, QString>& triggers);

    // The rows, in the store's order.
    QList<ActionRowContainer*> rows() const;

signals:
    // The Test button of an editor: a signed step, exactly as a hotkey press of the action.
    void seekRequested(double seconds);
    // A recorder in this tab began or stopped recording; while it records, the global hotkeys
    // are let go so that pressing one records it instead of seeking.
    void recordingChanged(bool recording);

private:
    void addAction();
    void toggle(const QUuid& id);
    void remove(const QUuid& id);
    // Matches the rows to the store's list and shows each action's state.
    void refresh();
    // Tab goes through the rows in the order they are shown, then to "Add Action".
    void orderFocus();
    void drawAddSymbol();
    void rowRecordingChanged(const ActionRowContainer* row, bool recording);

protected:
    void changeEvent(QEvent* event) override;

private:
    AppSettings& m_settings;
    HotkeyRecorder::ModifierMapping m_mapping;
    std::optional<QUuid> m_expandedID;
    QSet<QUuid> m_unavailable;
    QHash<QUuid, QString> m_assignedTriggers;
    FormSection* m_section = nullptr;
    QWidget* m_emptyState = nullptr;
    QVBoxLayout* m_rowsLayout = nullptr;
    std::vector<ActionRowContainer*> m_rows;
    QToolButton* m_addAction = nullptr;
    SymbolView* m_emptySymbol = nullptr;
    QLabel* m_emptyText = nullptr;
    QWidget* m_conflictFooter = nullptr;
    SymbolView* m_conflictSymbol = nullptr;
    QLabel* m_conflictText = nullptr;
    QLabel* m_systemWideFooter = nullptr;
    QLabel* m_clickFooter = nullptr;
    // Rows whose recorder is recording now; the global hotkeys come back when none is.
    QSet<const ActionRowContainer*> m_recordingRows;
    KeyTable::ModifierStyle m_style;
};
