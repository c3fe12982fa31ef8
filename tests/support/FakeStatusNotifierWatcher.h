#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QList>
#include <QString>
#include <QStringList>

// A StatusNotifierItem watcher as a desktop's panel runs one, on the test's private bus under
// the name org.kde.StatusNotifierWatcher, over a connection of its own. It speaks the watcher's
// interface as documented: RegisterStatusNotifierItem and RegisterStatusNotifierHost, the
// properties RegisteredStatusNotifierItems, IsStatusNotifierHostRegistered and ProtocolVersion
// (with their introspection, which the toolkit reads them through), and the signals
// StatusNotifierItemRegistered, StatusNotifierItemUnregistered, StatusNotifierHostRegistered
// and StatusNotifierHostUnregistered. Items and hosts are forgotten when their bus name goes.
class FakeStatusNotifierWatcher : public QDBusVirtualObject {
    Q_OBJECT

public:
    static constexpr const char* service = "org.kde.StatusNotifierWatcher";
    static constexpr const char* path = "/StatusNotifierWatcher";
    static constexpr const char* interface = "org.kde.StatusNotifierWatcher";

    // Where an item lives: the bus name and the object path it was registered with.
    struct Item {
        QString service;
        QString path;
        // How the watcher names it in its property and signals: service and path together.
        QString id() const { return service + path; }
    };

    FakeStatusNotifierWatcher();
    ~FakeStatusNotifierWatcher() override;

    // Takes the watcher's name; false when the bus refused it.
    bool appear();
    // Lets go of the name, as a panel that quit, forgetting every item and host.
    void disappear();

    // The items registered now, in the order they came.
    const QList<Item>& items() const { return m_items; }
    // How many times an item was registered since the watcher was made, again or not.
    int registrations() const { return m_registrations; }
    const QStringList& hosts() const { return m_hosts; }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

signals:
    void itemRegistered(const QString& id);

private:
    QVariant property(const QString& name) const;
    void emitSignal(const char* name, const QVariantList& arguments = {});
    void serviceGone(const QString& name);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_clients;
    QList<Item> m_items;
    QStringList m_hosts;
    int m_registrations = 0;
};
