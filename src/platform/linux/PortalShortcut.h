#pragma once

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

// One shortcut as the desktop portal's global shortcuts pass it: its name and a dictionary of
// what is said about it (description, preferred_trigger, trigger_description). On the bus an
// (sa{sv}) structure, and a list of them a(sa{sv}).
struct PortalShortcut {
    QString id;
    QVariantMap properties;

    friend bool operator==(const PortalShortcut&, const PortalShortcut&) = default;
};
using PortalShortcuts = QList<PortalShortcut>;

inline QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

Q_DECLARE_METATYPE(PortalShortcut)

// Registers the types with the bus layer; safe to call more than once.
void registerPortalShortcutTypes();
