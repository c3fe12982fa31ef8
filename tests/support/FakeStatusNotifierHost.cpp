#include "FakeStatusNotifierHost.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDateTime>

#include <functional>

namespace {

const QString connectionName = QStringLiteral("fake-status-notifier-host");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");

// An item's pictures as the interface sends them.
QList<FakeStatusNotifierHost::Picture> pictures(const QVariant& value) {
    QList<FakeStatusNotifierHost::Picture> found;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::ArrayType) {
        return found;
    }
    argument.beginArray();
    while (!argument.atEnd()) {
        FakeStatusNotifierHost::Picture picture;
        argument.beginStructure();
        argument >> picture.width >> picture.height >> picture.pixels;
        argument.endStructure();
        if (picture.width > 0 && picture.height > 0 &&
            picture.pixels.size() == qsizetype(picture.width) * picture.height * 4) {
            found << picture;
        }
    }
    argument.endArray();
    return found;
}

// The tooltip's (icon name, pictures, title, text): its title.
QString toolTipTitle(const QVariant& value) {
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::StructureType) {
        return {};
    }
    QString iconName;
    QString title;
    argument.beginStructure();
    argument >> iconName;
    argument.beginArray();
    while (!argument.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray pixels;
        argument.beginStructure();
        argument >> width >> height >> pixels;
        argument.endStructure();
    }
    argument.endArray();
    argument >> title;
    argument.endStructure();
    return title;
}

} // namespace

int FakeStatusNotifierHost::Picture::drawnPixels() const {
    int drawn = 0;
    // The alpha byte comes first.
    for (qsizetype at = 0; at < pixels.size(); at += 4) {
        drawn += pixels.at(at) != 0 ? 1 : 0;
    }
    return drawn;
}

FakeStatusNotifierHost::FakeStatusNotifierHost()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName))
    , m_name(
          QStringLiteral("org.kde.StatusNotifierHost-%1").arg(QCoreApplication::applicationPid())) {
}

FakeStatusNotifierHost::~FakeStatusNotifierHost() {
    quit();
    QDBusConnection::disconnectFromBus(connectionName);
}

QDBusMessage FakeStatusNotifierHost::call(const QDBusMessage& message) {
    return m_bus.call(message, QDBus::BlockWithGui, 10000);
}

bool FakeStatusNotifierHost::registerWithWatcher() {
    if (!m_bus.registerService(m_name)) {
        return false;
    }
    QDBusMessage registration =
        QDBusMessage::createMethodCall(QString::fromLatin1(FakeStatusNotifierWatcher::service),
                                       QString::fromLatin1(FakeStatusNotifierWatcher::path),
                                       QString::fromLatin1(FakeStatusNotifierWatcher::interface),
                                       QStringLiteral("RegisterStatusNotifierHost"));
    registration << m_name;
    return call(registration).type() == QDBusMessage::ReplyMessage;
}

void FakeStatusNotifierHost::quit() {
    m_bus.unregisterService(m_name);
}

QList<FakeStatusNotifierHost::Item> FakeStatusNotifierHost::registeredItems() {
    QDBusMessage get = QDBusMessage::createMethodCall(
        QString::fromLatin1(FakeStatusNotifierWatcher::service),
        QString::fromLatin1(FakeStatusNotifierWatcher::path),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QString::fromLatin1(FakeStatusNotifierWatcher::interface)
        << QStringLiteral("RegisteredStatusNotifierItems");
    const QDBusMessage reply = call(get);
    QList<Item> items;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return items;
    }
    // Each is the bus name followed by the object path.
    const QStringList ids =
        reply.arguments().constFirst().value<QDBusVariant>().variant().toStringList();
    for (const QString& id : ids) {
        const qsizetype slash = id.indexOf(QLatin1Char('/'));
        if (slash > 0) {
            items.append({id.left(slash), id.mid(slash)});
        }
    }
    return items;
}

FakeStatusNotifierHost::Properties FakeStatusNotifierHost::properties(const Item& item) {
    QDBusMessage getAll = QDBusMessage::createMethodCall(
        item.service, item.path, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("GetAll"));
    getAll << itemInterface;
    const QDBusMessage reply = call(getAll);
    Properties properties;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return properties;
    }
    reply.arguments().constFirst().value<QDBusArgument>() >> properties.raw;
    properties.icons = pictures(properties.raw.value(QStringLiteral("IconPixmap")));
    properties.toolTipTitle = toolTipTitle(properties.raw.value(QStringLiteral("ToolTip")));
    return properties;
}

bool FakeStatusNotifierHost::activate(const Item& item, int x, int y) {
    QDBusMessage click = QDBusMessage::createMethodCall(item.service, item.path, itemInterface,
                                                        QStringLiteral("Activate"));
    click << x << y;
    return call(click).type() == QDBusMessage::ReplyMessage;
}

bool FakeStatusNotifierHost::contextMenu(const Item& item, int x, int y) {
    QDBusMessage click = QDBusMessage::createMethodCall(item.service, item.path, itemInterface,
                                                        QStringLiteral("ContextMenu"));
    click << x << y;
    return call(click).type() == QDBusMessage::ReplyMessage;
}

QString FakeStatusNotifierHost::menuPath(const Item& item) {
    QDBusMessage get = QDBusMessage::createMethodCall(
        item.service, item.path, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    get << itemInterface << QStringLiteral("Menu");
    const QDBusMessage reply = call(get);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return {};
    }
    return reply.arguments()
        .constFirst()
        .value<QDBusVariant>()
        .variant()
        .value<QDBusObjectPath>()
        .path();
}

QList<FakeStatusNotifierHost::MenuEntry> FakeStatusNotifierHost::menu(const Item& item) {
    QList<MenuEntry> entries;
    const QString path = menuPath(item);
    if (path.isEmpty()) {
        return entries;
    }
    // As a panel does before it shows the menu.
    QDBusMessage aboutToShow = QDBusMessage::createMethodCall(item.service, path, menuInterface,
                                                              QStringLiteral("AboutToShow"));
    aboutToShow << 0;
    call(aboutToShow);
    QDBusMessage getLayout = QDBusMessage::createMethodCall(item.service, path, menuInterface,
                                                            QStringLiteral("GetLayout"));
    getLayout << 0 << -1 << QStringList();
    const QDBusMessage reply = call(getLayout);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 2) {
        return entries;
    }
    // The layout is (id, properties, children), each child a variant holding the same.
    const std::function<void(const QDBusArgument&)> walk = [&entries,
                                                            &walk](const QDBusArgument& node) {
        int id = 0;
        QVariantMap properties;
        node.beginStructure();
        node >> id >> properties;
        if (properties.contains(QStringLiteral("label"))) {
            entries.append({id, properties.value(QStringLiteral("label")).toString()});
        }
        node.beginArray();
        while (!node.atEnd()) {
            QDBusVariant child;
            node >> child;
            walk(child.variant().value<QDBusArgument>());
        }
        node.endArray();
        node.endStructure();
    };
    walk(reply.arguments().at(1).value<QDBusArgument>());
    return entries;
}

QStringList FakeStatusNotifierHost::menuLabels(const Item& item) {
    QStringList labels;
    for (const MenuEntry& entry : menu(item)) {
        labels << entry.label;
    }
    return labels;
}

bool FakeStatusNotifierHost::clickMenuEntry(const Item& item, const QString& label) {
    const QString path = menuPath(item);
    for (const MenuEntry& entry : menu(item)) {
        if (entry.label != label) {
            continue;
        }
        QDBusMessage event = QDBusMessage::createMethodCall(item.service, path, menuInterface,
                                                            QStringLiteral("Event"));
        event << entry.id << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant(0))
              << uint(QDateTime::currentSecsSinceEpoch());
        return call(event).type() == QDBusMessage::ReplyMessage;
    }
    return false;
}
