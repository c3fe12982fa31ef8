#include "PortalHotkeyService.h"

#include "PortalShortcut.h"
#include "X11KeySymbols.h"
#include "models/KeyTable.h"
#include "utilities/Logger.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QSet>

#include <xkbcommon/xkbcommon.h>

#include <array>

namespace {

const QString registryInterface = QStringLiteral("org.freedesktop.host.portal.Registry");
const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

// What the user can do instead, where the desktop has no global shortcuts for programs.
const char* const unavailableMessage =
    "Global hotkeys are not available in this session: the desktop portal offers no global "
    "shortcuts. Bind \"scrubline seek +10\", \"scrubline seek -10\" and \"scrubline play-pause\" "
    "to keys in the desktop's own keyboard settings instead";

QString serviceName() {
    return QString::fromLatin1(PortalHotkeyService::portalService);
}

QString rootPath() {
    return QString::fromLatin1(PortalHotkeyService::portalPath);
}

QDBusMessage portalCall(const QString& interface, const QString& method) {
    return QDBusMessage::createMethodCall(serviceName(), rootPath(), interface, method);
}

// Runs `done` with the reply on the GUI thread once the call answers; the watcher goes with it.
template <class Done>
void whenAnswered(const QDBusConnection& bus, const QDBusMessage& call, QObject* context,
                  Done done) {
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [watcher, done](QDBusPendingCallWatcher*) {
                         watcher->deleteLater();
                         done(QDBusMessage(watcher->reply()));
                     });
}

} // namespace

void registerPortalShortcutTypes() {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<PortalShortcuts>();
}

PortalHotkeyService::PortalHotkeyService(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_watcher(serviceName(), m_bus, QDBusServiceWatcher::WatchForOwnerChange) {
    registerPortalShortcutTypes();
    m_bindSoon.setSingleShot(true);
    m_bindSoon.setInterval(0);
    connect(&m_bindSoon, &QTimer::timeout, this, &PortalHotkeyService::bind);
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                // A portal that went took its sessions along; one that came back knows nothing
                // of this program yet.
                m_session.clear();
                m_pending = Pending::none;
                m_available = false;
                if (!newOwner.isEmpty() && m_installed) {
                    qCInfo(Log::general(), "The desktop portal restarted; binding the global "
                                           "shortcuts again");
                    start();
                }
            });
}

PortalHotkeyService::~PortalHotkeyService() {
    removeHandler();
}

bool PortalHotkeyService::installHandler(PressHandler handler) {
    if (!m_bus.isConnected()) {
        qCWarning(Log::general(), "%s", unavailableMessage);
        return false;
    }
    m_handler = std::move(handler);
    if (!m_installed) {
        m_installed = true;
        m_bus.connect(serviceName(), rootPath(), shortcutsInterface, QStringLiteral("Activated"),
                      this, SLOT(onActivated(QDBusMessage)));
        start();
    }
    return true;
}

void PortalHotkeyService::removeHandler() {
    if (m_installed) {
        m_bus.disconnect(serviceName(), rootPath(), shortcutsInterface, QStringLiteral("Activated"),
                         this, SLOT(onActivated(QDBusMessage)));
    }
    m_installed = false;
    m_handler = nullptr;
    closeSession();
}

void PortalHotkeyService::describeHotkey(std::uint32_t id, const std::string& name,
                                         const std::string& description) {
    m_descriptions.insert(id, {QString::fromStdString(name), QString::fromStdString(description)});
}

std::optional<HotkeyService::Handle>
PortalHotkeyService::registerHotkey(std::uint32_t keyCode, std::uint32_t carbonModifiers,
                                    std::uint32_t /*signature*/, std::uint32_t id) {
    if (keyCode > 0xffff) {
        return std::nullopt;
    }
    const auto trigger = preferredTrigger(static_cast<std::uint16_t>(keyCode), carbonModifiers);
    if (!trigger) {
        return std::nullopt;
    }
    const auto described = m_descriptions.value(id);
    Registration registration{id, described.first, described.second, *trigger};
    if (registration.name.isEmpty()) {
        registration.name = QString::number(id);
    }
    const Handle handle = m_nextHandle++;
    m_registrations.emplace(handle, std::move(registration));
    scheduleBind();
    return handle;
}

std::string PortalHotkeyService::assignedTrigger(std::uint32_t id) const {
    const auto assigned = m_assigned.find(id);
    if (assigned == m_assigned.end() || assigned->second.isEmpty()) {
        return {};
    }
    for (const auto& [handle, registration] : m_registrations) {
        if (registration.id == id && sameTrigger(assigned->second, registration.trigger)) {
            return {};
        }
    }
    return assigned->second.toStdString();
}

void PortalHotkeyService::setTriggersHandler(std::function<void()> handler) {
    m_triggersHandler = std::move(handler);
}

bool PortalHotkeyService::sameTrigger(const QString& description, const QString& preferred) {
    // Modifiers as a set under one name each, and the key without regard to case or to the
    // names desktops give the paging keys.
    const auto normalized = [](const QString& trigger) {
        QStringList parts = trigger.toUpper().split(QLatin1Char('+'), Qt::SkipEmptyParts);
        if (parts.isEmpty()) {
            return QStringList();
        }
        QString key = parts.takeLast().trimmed();
        static const QHash<QString, QString> keys{
            {QStringLiteral("PAGE_UP"), QStringLiteral("PRIOR")},
            {QStringLiteral("PGUP"), QStringLiteral("PRIOR")},
            {QStringLiteral("PAGE UP"), QStringLiteral("PRIOR")},
            {QStringLiteral("PAGE_DOWN"), QStringLiteral("NEXT")},
            {QStringLiteral("PGDOWN"), QStringLiteral("NEXT")},
            {QStringLiteral("PAGE DOWN"), QStringLiteral("NEXT")},
            {QStringLiteral("RETURN"), QStringLiteral("ENTER")},
            {QStringLiteral("ESC"), QStringLiteral("ESCAPE")},
            {QStringLiteral("DEL"), QStringLiteral("DELETE")},
        };
        key = keys.value(key, key);
        static const QHash<QString, QString> modifiers{
            {QStringLiteral("CONTROL"), QStringLiteral("CTRL")},
            {QStringLiteral("META"), QStringLiteral("LOGO")},
            {QStringLiteral("SUPER"), QStringLiteral("LOGO")},
            {QStringLiteral("WIN"), QStringLiteral("LOGO")},
            {QStringLiteral("OPTION"), QStringLiteral("ALT")},
        };
        QStringList names;
        for (const QString& part : parts) {
            const QString name = part.trimmed();
            names << modifiers.value(name, name);
        }
        names.sort();
        names.removeDuplicates();
        return names << key;
    };
    return normalized(description) == normalized(preferred);
}

std::string PortalHotkeyService::mechanism() const {
    return m_available ? "Desktop portal" : std::string();
}

void PortalHotkeyService::unregisterHotkey(Handle handle) {
    if (m_registrations.erase(handle) > 0) {
        scheduleBind();
    }
}

std::optional<QString> PortalHotkeyService::preferredTrigger(std::uint16_t keyCode,
                                                             std::uint32_t carbonModifiers) {
    const auto symbol = X11KeySymbols::forKeyCode(keyCode);
    if (!symbol) {
        return std::nullopt;
    }
    std::array<char, 64> name{};
    if (xkb_keysym_get_name(*symbol, name.data(), name.size()) <= 0) {
        return std::nullopt;
    }
    QString trigger;
    if ((carbonModifiers & CarbonModifier::control) != 0) {
        trigger += QStringLiteral("CTRL+");
    }
    if ((carbonModifiers & CarbonModifier::option) != 0) {
        trigger += QStringLiteral("ALT+");
    }
    if ((carbonModifiers & CarbonModifier::shift) != 0) {
        trigger += QStringLiteral("SHIFT+");
    }
    if ((carbonModifiers & CarbonModifier::command) != 0) {
        trigger += QStringLiteral("LOGO+");
    }
    return trigger + QString::fromLatin1(name.data());
}

void PortalHotkeyService::start() {
    // Newer portals take a host program's word for its app id only through the registry, and
    // only before its first other call; older ones have no registry, which is no matter.
    QDBusMessage call = portalCall(registryInterface, QStringLiteral("Register"));
    call << QString::fromLatin1(appID) << QVariantMap();
    whenAnswered(m_bus, call, this, [this](const QDBusMessage&) { queryVersion(); });
}

void PortalHotkeyService::queryVersion() {
    QDBusMessage call = portalCall(propertiesInterface, QStringLiteral("Get"));
    call << shortcutsInterface << QStringLiteral("version");
    whenAnswered(m_bus, call, this, [this](const QDBusMessage& reply) {
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
            m_available = false;
            if (!m_saidUnavailable) {
                m_saidUnavailable = true;
                qCWarning(Log::general(), "%s", unavailableMessage);
                if (m_triggersHandler) {
                    m_triggersHandler();
                }
            }
            return;
        }
        const uint version =
            reply.arguments().constFirst().value<QDBusVariant>().variant().toUInt();
        qCInfo(Log::general(),
               "Global hotkeys through the desktop portal (global shortcuts, "
               "version %u)",
               version);
        m_available = true;
        bind();
    });
}

void PortalHotkeyService::scheduleBind() {
    m_bindSoon.start();
}

void PortalHotkeyService::bind() {
    if (!m_available || !m_installed) {
        return;
    }
    if (m_pending != Pending::none) {
        m_bindAgain = true;
        return;
    }
    // A session binds its shortcuts once: a changed list takes a new session.
    closeSession();
    m_assigned.clear();
    if (m_registrations.empty()) {
        emit shortcutsBound();
        return;
    }
    const QString token = nextToken();
    const QString sessionToken = nextToken();
    expectResponse(token, Pending::createSession);
    QDBusMessage call = portalCall(shortcutsInterface, QStringLiteral("CreateSession"));
    call << QVariantMap{{QStringLiteral("handle_token"), token},
                        {QStringLiteral("session_handle_token"), sessionToken}};
    sendRequest(call, "The desktop portal refused a global shortcuts session");
}

void PortalHotkeyService::bindShortcuts() {
    PortalShortcuts shortcuts;
    QSet<QString> named;
    for (const auto& [handle, registration] : m_registrations) {
        // One shortcut per name: the first registration of an id is the one presses go to.
        if (named.contains(registration.name)) {
            continue;
        }
        named.insert(registration.name);
        shortcuts.append({registration.name,
                          {{QStringLiteral("description"), registration.description},
                           {QStringLiteral("preferred_trigger"), registration.trigger}}});
    }
    const QString token = nextToken();
    expectResponse(token, Pending::bindShortcuts);
    QDBusMessage call = portalCall(shortcutsInterface, QStringLiteral("BindShortcuts"));
    call << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariant::fromValue(shortcuts)
         << QString() << QVariantMap{{QStringLiteral("handle_token"), token}};
    sendRequest(call, "The desktop portal did not bind the global shortcuts");
}

void PortalHotkeyService::sendRequest(const QDBusMessage& call, const char* refusal) {
    // The answer comes as the request's Response; a call refused outright ends the request here.
    whenAnswered(m_bus, call, this, [this, refusal](const QDBusMessage& reply) {
        if (reply.type() != QDBusMessage::ReplyMessage) {
            qCWarning(Log::general(), "%s: %s", refusal, qPrintable(reply.errorMessage()));
            m_pending = Pending::none;
        }
    });
}

void PortalHotkeyService::closeSession() {
    if (m_session.isEmpty()) {
        return;
    }
    const QDBusMessage call =
        QDBusMessage::createMethodCall(serviceName(), std::exchange(m_session, QString()),
                                       sessionInterface, QStringLiteral("Close"));
    m_bus.call(call, QDBus::NoBlock);
}

QString PortalHotkeyService::expectResponse(const QString& token, Pending pending) {
    if (!m_requestPath.isEmpty()) {
        m_bus.disconnect(serviceName(), m_requestPath, requestInterface, QStringLiteral("Response"),
                         this, SLOT(onResponse(uint, QVariantMap, QDBusMessage)));
    }
    // The portal names the request after the caller's unique name and the token, so the answer
    // can be listened for before the call, and cannot slip past.
    QString sender = m_bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    m_requestPath = rootPath() + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
    m_pending = pending;
    m_bus.connect(serviceName(), m_requestPath, requestInterface, QStringLiteral("Response"), this,
                  SLOT(onResponse(uint, QVariantMap, QDBusMessage)));
    return m_requestPath;
}

QString PortalHotkeyService::nextToken() {
    return QStringLiteral("scrubline%1").arg(++m_tokenCount);
}

void PortalHotkeyService::onResponse(uint response, const QVariantMap& results,
                                     const QDBusMessage& message) {
    if (message.path() != m_requestPath) {
        return;
    }
    const Pending pending = std::exchange(m_pending, Pending::none);
    if (response != 0) {
        // 1: the user said no in the portal's dialog; 2: anything else.
        qCWarning(Log::general(), "The desktop portal declined the global shortcuts (%u)",
                  response);
        if (std::exchange(m_bindAgain, false)) {
            bind();
        }
        return;
    }
    if (pending == Pending::createSession) {
        const QVariant handle = results.value(QStringLiteral("session_handle"));
        m_session = handle.canConvert<QDBusObjectPath>() && handle.userType() != QMetaType::QString
                        ? handle.value<QDBusObjectPath>().path()
                        : handle.toString();
        bindShortcuts();
        return;
    }
    if (pending != Pending::bindShortcuts) {
        return;
    }
    PortalShortcuts bound;
    results.value(QStringLiteral("shortcuts")).value<QDBusArgument>() >> bound;
    for (const PortalShortcut& shortcut : bound) {
        for (const auto& [handle, registration] : m_registrations) {
            if (registration.name == shortcut.id) {
                m_assigned[registration.id] =
                    shortcut.properties.value(QStringLiteral("trigger_description")).toString();
            }
        }
    }
    qCInfo(Log::general(), "The desktop bound %lld global shortcuts",
           static_cast<long long>(bound.size()));
    emit shortcutsBound();
    if (m_triggersHandler) {
        m_triggersHandler();
    }
    if (std::exchange(m_bindAgain, false)) {
        bind();
    }
}

void PortalHotkeyService::onActivated(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 2 || !m_handler) {
        return;
    }
    if (arguments[0].value<QDBusObjectPath>().path() != m_session) {
        return; // a session of ours that is already closed
    }
    const QString name = arguments[1].toString();
    for (const auto& [handle, registration] : m_registrations) {
        if (registration.name == name) {
            // A copy: the handler may re-register, which replaces the table being read.
            const PressHandler handler = m_handler;
            handler(registration.id);
            return;
        }
    }
}
