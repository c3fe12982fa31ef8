#pragma once

#include <QString>
#include <QtCore/qnamespace.h>

#include <optional>

// A trigger as a desktop describes it back to the program, read into its keys. Desktops write
// the same combination in their own words: the shortcut format "CTRL+ALT+LOGO+Right" that
// programs ask in, Plasma's "Meta+Ctrl+Alt+Right", GNOME's "Press <Control><Alt><Super>Right".
class PortalTrigger {
public:
    // Nothing for a text that names no key.
    static std::optional<PortalTrigger> parse(const QString& description);

    // Whether two descriptions, in any of the desktops' forms, name the same keys.
    static bool sameKeys(const QString& description, const QString& other);

    // The modifiers, among Control, Alt, Shift and Meta (Super).
    Qt::KeyboardModifiers modifiers() const { return m_modifiers; }
    // The key, in one spelling whatever the desktop wrote: upper case, the paging keys as
    // "PRIOR" and "NEXT".
    const QString& key() const { return m_key; }

    // The combination written as Linux desktops show it, "Ctrl+Alt+Super+Right".
    QString displayText() const;

    // How the modifiers are written before the key: as desktops show them ("Ctrl+Alt+"), or in
    // the shortcut format programs ask in ("CTRL+ALT+").
    enum class Spelling { shown, shortcutFormat };
    static QString modifierPrefix(Qt::KeyboardModifiers modifiers, Spelling spelling);

    friend bool operator==(const PortalTrigger& a, const PortalTrigger& b) {
        return a.m_modifiers == b.m_modifiers && a.m_key == b.m_key;
    }

private:
    Qt::KeyboardModifiers m_modifiers;
    QString m_key;
    // The key as the desktop wrote it, for showing.
    QString m_keyText;
};
