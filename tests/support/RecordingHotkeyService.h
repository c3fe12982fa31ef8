#pragma once

#include "platform/HotkeyService.h"

#include <QHash>
#include <QList>

// Stands for the system's hotkey service: records each call, answers each binding at once,
// refuses the keys a test says another program holds, gives the triggers a test says the
// desktop chose, and lets the test press a binding by its id.
class RecordingHotkeyService final : public HotkeyService {
public:
    using HotkeyService::HotkeyService;

    // Whether the session gives no global hotkeys at all.
    bool refusesStart = false;
    // Keys held elsewhere, which every binding of them finds taken.
    QList<QKeyCombination> heldElsewhere;
    // Triggers the desktop gives in place of the keys asked for, by binding id.
    QHash<QString, QString> reassigned;
    QString mechanismText = QStringLiteral("Test hotkeys");

    bool started = false;
    int starts = 0;
    int stops = 0;
    // Every set bound, in call order.
    QList<HotkeyBindings> binds;

    // The set bound now: the last one asked for while started.
    HotkeyBindings bound() const {
        return started && !binds.isEmpty() ? binds.last() : HotkeyBindings();
    }

    bool start() override {
        if (refusesStart) {
            return false;
        }
        started = true;
        ++starts;
        return true;
    }

    void stop() override {
        started = false;
        ++stops;
    }

    void bind(const HotkeyBindings& bindings) override {
        binds.append(bindings);
        Results results;
        for (const HotkeyBinding& binding : bindings) {
            if (heldElsewhere.contains(binding.keys)) {
                results.insert(binding.id, {Status::taken, {}});
            } else if (reassigned.contains(binding.id)) {
                results.insert(binding.id, {Status::reassigned, reassigned.value(binding.id)});
            } else {
                results.insert(binding.id, {Status::bound, {}});
            }
        }
        emit resultsChanged(results);
    }

    QString mechanism() const override { return started ? mechanismText : QString(); }

    // A tap of the binding with this id, as the system would deliver it: down and up at once.
    void press(const QString& id) {
        keyDown(id);
        keyUp(id);
    }
    // The two halves of a press, for a test that holds the hotkey down between them.
    void keyDown(const QString& id) { emit pressed(id); }
    void keyUp(const QString& id) { emit released(id); }
};
