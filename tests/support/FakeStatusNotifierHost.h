#pragma once

#include "FakeStatusNotifierWatcher.h"

#include <QDBusConnection>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// The part of a desktop's panel that shows StatusNotifierItems, as far as a test needs it: it
// registers with the watcher under a bus name of its own, reads an item's properties
// (org.kde.StatusNotifierItem) and its menu (com.canonical.dbusmenu), and clicks the item or
// a menu entry the way a panel does. Its calls wait for their answers while running the event
// loop, so that an item in the test's own process can answer them.
class FakeStatusNotifierHost {
public:
    using Item = FakeStatusNotifierWatcher::Item;

    // One of an item's pictures: ARGB32 pixels in network byte order, row by row.
    struct Picture {
        int width = 0;
        int height = 0;
        QByteArray pixels;
        // How many of its pixels are not wholly transparent.
        int drawnPixels() const;
    };
    // What a panel draws of an item: its properties, with the pictures and tooltip unpacked.
    struct Properties {
        QVariantMap raw;
        QList<Picture> icons;
        QString toolTipTitle;
        QString value(const char* name) const {
            return raw.value(QString::fromLatin1(name)).toString();
        }
    };

    FakeStatusNotifierHost();
    ~FakeStatusNotifierHost();
    FakeStatusNotifierHost(const FakeStatusNotifierHost&) = delete;
    FakeStatusNotifierHost& operator=(const FakeStatusNotifierHost&) = delete;

    // Takes a host's bus name and registers it with the watcher; false when either failed.
    bool registerWithWatcher();
    // Lets go of the bus name, as a panel that quit; the watcher notices by itself.
    void quit();

    // The items the watcher lists now, as a panel reads them when it starts.
    QList<Item> registeredItems();
    // Reads every property of the item; empty `raw` when it does not answer.
    Properties properties(const Item& item);
    // A left click on the item, and a right click where the panel leaves the menu to it.
    bool activate(const Item& item, int x, int y);
    bool contextMenu(const Item& item, int x, int y);
    // The labels of the item's menu entries, top level first, as the panel shows them.
    QStringList menuLabels(const Item& item);
    // Clicks the first menu entry with this label; false when there is none or the call failed.
    bool clickMenuEntry(const Item& item, const QString& label);

private:
    struct MenuEntry {
        int id;
        QString label;
    };
    QDBusMessage call(const QDBusMessage& message);
    QList<MenuEntry> menu(const Item& item);
    QString menuPath(const Item& item);

    QDBusConnection m_bus;
    QString m_name;
};
