#pragma once

#include <QKeyCombination>
#include <QList>
#include <QString>

// One hotkey the program asks the system for: an id that stays the same across runs (the
// action's, which desktops that list the program's shortcuts remember their choice under), the
// keys, and what it does in words. The keys name the modifiers as a PC keyboard does:
// Qt::MetaModifier is the Command (Super) key and Qt::ControlModifier the Control key on every
// platform, whichever of the two the toolkit of a Mac reports under which name.
struct HotkeyBinding {
    QString id;
    QKeyCombination keys;
    QString description;

    friend bool operator==(const HotkeyBinding&, const HotkeyBinding&) = default;
};
using HotkeyBindings = QList<HotkeyBinding>;
