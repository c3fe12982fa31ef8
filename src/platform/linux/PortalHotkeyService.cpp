#include "PortalHotkeyService.h"

#include "PortalTrigger.h"
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

#include <algorithm>
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

// What the user can do where the portal does not know the program, as with a copy run from its
// build folder: the desktop may then refuse the shortcuts without asking.
const char* const unknownAppMessage =
    "The desktop portal does not know the app id \"com.scrubline.app\" (%s), and the desktop may "
    "refuse the global hotkeys. Install Scrubline, or start a build with scripts/run.sh, which "
    "gives it a desktop entry";

// Errors of a portal too old to have a host registry, which needs none.
bool isMissingRegistry(const QString& error) {
    return error == QLatin1String("org.freedesktop.DBus.Error.UnknownMethod") ||
           error == QLatin1String("org.freedesktop.DBus.Error.UnknownInterface") ||
           error == QLatin1String("org.freedesktop.DBus.Error.UnknownObject") ||
           error == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown");
}

PortalShortcuts shortcutsIn(const QVariantMap& results) {
    PortalShortcuts shortcuts;
    const QVariant value = results.value(QStringLiteral("shortcuts"));
    if (value.canConvert<QDBusArgument>()) {
        value.value<QDBusArgument>() >> shortcuts;
    } else if (value.canConvert<PortalShortcuts>()) {
        shortcuts = value.value<PortalShortcuts>();
    }
    return shortcuts;
}

// Two sets are the same binding when they name the same shortcuts with the same preferred
// keys; a changed description alone is not worth asking the desktop again.
bool sameBinding(const PortalShortcuts& a, const PortalShortcuts& b) {
    if (a.size() != b.size()) {
        return false;
    }
    const QString trigger = QStringLiteral("preferred_trigger");
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a[i].id != b[i].id ||
            a[i].properties.value(trigger) != b[i].properties.value(trigger)) {
            return false;
        }
    }
    return true;
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
    m_askAgain.setSingleShot(true);
    m_askAgain.setInterval(askAgainMs);
    connect(&m_askAgain, &QTimer::timeout, this, [this] {
        if (m_pending == Pending::askAgain) {
            createSession();
        }
    });
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                // A portal that went took its sessions along; one that came back knows nothing
                // of this program yet.
                // A shortcut down now will never be said to come up.
                releaseHeld();
                m_session.clear();
                m_sessionSet.clear();
                m_answered = false;
                m_askAgain.stop();
                ++m_generation;
                m_pending = Pending::none;
                m_bindAgain = false;
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
        m_bus.connect(serviceName(), rootPath(), shortcutsInterface, QStringLiteral("Deactivated"),
                      this, SLOT(onDeactivated(QDBusMessage)));
        start();
    }
    return true;
}

void PortalHotkeyService::removeHandler() {
    if (m_installed) {
        m_bus.disconnect(serviceName(), rootPath(), shortcutsInterface, QStringLiteral("Activated"),
                         this, SLOT(onActivated(QDBusMessage)));
        m_bus.disconnect(serviceName(), rootPath(), shortcutsInterface,
                         QStringLiteral("Deactivated"), this, SLOT(onDeactivated(QDBusMessage)));
    }
    m_heldName.clear();
    m_installed = false;
    m_handler = nullptr;
    m_bindSoon.stop();
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
        if (registration.id == id &&
            PortalTrigger::sameKeys(assigned->second, registration.trigger)) {
            return {};
        }
    }
    // Shown in the program's own words where the desktop's can be read.
    const auto parsed = PortalTrigger::parse(assigned->second);
    return (parsed ? parsed->displayText() : assigned->second).toStdString();
}

void PortalHotkeyService::setTriggersHandler(std::function<void()> handler) {
    m_triggersHandler = std::move(handler);
}

bool PortalHotkeyService::answerBinds(uint response, const PortalShortcuts& shortcuts) {
    return response == 0 || !shortcuts.isEmpty();
}

std::string PortalHotkeyService::mechanism() const {
    if (!m_available) {
        return {};
    }
    if (!m_boundCount || m_boundCount->second == 0) {
        return "Desktop portal";
    }
    // Two short lines, so that the Permissions row has room for them beside its description.
    return QStringLiteral("Desktop portal\n%1 of %2 bound")
        .arg(m_boundCount->first)
        .arg(m_boundCount->second)
        .toStdString();
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
    return PortalTrigger::modifierPrefix(carbonModifiers, PortalTrigger::Spelling::shortcutFormat) +
           QString::fromLatin1(name.data());
}

void PortalHotkeyService::start() {
    // Newer portals take a host program's word for its app id only through the registry, and
    // only before its first other call; older ones have no registry, which is no matter.
    QDBusMessage call = portalCall(registryInterface, QStringLiteral("Register"));
    call << QString::fromLatin1(appID) << QVariantMap();
    whenAnswered(m_bus, call, this, [this](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage && !isMissingRegistry(reply.errorName()) &&
            !std::exchange(m_saidUnknownApp, true)) {
            qCWarning(Log::general(), unknownAppMessage, qPrintable(reply.errorMessage()));
        }
        queryVersion();
    });
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
                reportTriggers();
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

PortalShortcuts PortalHotkeyService::offeredShortcuts() const {
    PortalShortcuts shortcuts;
    QSet<QString> named;
    std::map<std::uint32_t, const Registration*> byID;
    for (const auto& [handle, registration] : m_registrations) {
        byID.emplace(registration.id, &registration);
    }
    for (const auto& [id, registration] : byID) {
        // One shortcut per name: the first action with a name is the one presses go to.
        if (named.contains(registration->name)) {
            continue;
        }
        named.insert(registration->name);
        shortcuts.append({registration->name,
                          {{QStringLiteral("description"), registration->description},
                           {QStringLiteral("preferred_trigger"), registration->trigger}}});
    }
    return shortcuts;
}

void PortalHotkeyService::bind() {
    if (!m_available || !m_installed) {
        return;
    }
    if (m_pending != Pending::none) {
        m_bindAgain = true;
        return;
    }
    const PortalShortcuts offered = offeredShortcuts();
    if ((m_answered && sameBinding(offered, m_sessionSet)) ||
        (!m_refusedSet.isEmpty() && sameBinding(offered, m_refusedSet))) {
        // The desktop has answered for this very set: a rebuild that changed nothing asks
        // nothing, neither a second binding at start nor a dialog the user already answered.
        return;
    }
    m_refusedSet.clear();
    m_offeredCount = int(offered.size());
    startBinding(offered);
}

void PortalHotkeyService::startBinding(const PortalShortcuts& shortcuts) {
    m_sessionSet = shortcuts;
    m_answered = false;
    if (shortcuts.isEmpty()) {
        closeSession();
        takeBound({});
        return;
    }
    if (m_session.isEmpty()) {
        createSession();
        return;
    }
    // A session binds its shortcuts once: a changed set takes a new session, under the same
    // token, once the old one is gone.
    m_pending = Pending::closeSession;
    const QDBusMessage call =
        QDBusMessage::createMethodCall(serviceName(), std::exchange(m_session, QString()),
                                       sessionInterface, QStringLiteral("Close"));
    whenAnswered(m_bus, call, this, [this, generation = m_generation](const QDBusMessage&) {
        if (generation != m_generation || m_pending != Pending::closeSession) {
            return; // the portal went meanwhile
        }
        m_pending = Pending::none;
        if (std::exchange(m_bindAgain, false)) {
            bind(); // the set changed again meanwhile
            return;
        }
        createSession();
    });
}

void PortalHotkeyService::createSession() {
    const QString token = nextToken();
    expectResponse(token, Pending::createSession);
    QDBusMessage call = portalCall(shortcutsInterface, QStringLiteral("CreateSession"));
    // The set goes along here too, the first form of the interface, which is the only place
    // Plasma 5.27 reads it from; newer portals leave the option out.
    call << QVariantMap{{QStringLiteral("handle_token"), token},
                        {QStringLiteral("session_handle_token"), QString::fromLatin1(sessionToken)},
                        {QStringLiteral("shortcuts"), QVariant::fromValue(m_sessionSet)}};
    sendRequest(call, "The desktop portal refused a global shortcuts session");
}

void PortalHotkeyService::listShortcuts() {
    const QString token = nextToken();
    expectResponse(token, Pending::listShortcuts);
    QDBusMessage call = portalCall(shortcutsInterface, QStringLiteral("ListShortcuts"));
    call << QVariant::fromValue(QDBusObjectPath(m_session))
         << QVariantMap{{QStringLiteral("handle_token"), token}};
    whenAnswered(m_bus, call, this, [this, path = m_requestPath](const QDBusMessage& reply) {
        if (reply.type() != QDBusMessage::ReplyMessage && path == m_requestPath &&
            m_pending == Pending::listShortcuts) {
            // A portal that cannot list is asked to bind.
            m_pending = Pending::none;
            bindShortcuts();
        }
    });
}

void PortalHotkeyService::bindShortcuts() {
    const QString token = nextToken();
    expectResponse(token, Pending::bindShortcuts);
    QDBusMessage call = portalCall(shortcutsInterface, QStringLiteral("BindShortcuts"));
    call << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariant::fromValue(m_sessionSet)
         << QString() << QVariantMap{{QStringLiteral("handle_token"), token}};
    sendRequest(call, "The desktop portal did not bind the global shortcuts");
}

void PortalHotkeyService::sendRequest(const QDBusMessage& call, const char* refusal) {
    // The answer comes as the request's Response; a call refused outright ends the request here.
    // Only the request still awaited: the error of a call to a portal that has since restarted
    // must not end the request made to the new one.
    whenAnswered(
        m_bus, call, this, [this, refusal, path = m_requestPath](const QDBusMessage& reply) {
            if (reply.type() != QDBusMessage::ReplyMessage && path == m_requestPath &&
                m_pending != Pending::none) {
                if (!std::exchange(m_saidDeclined, true)) {
                    qCWarning(Log::general(), "%s: %s", refusal, qPrintable(reply.errorMessage()));
                }
                m_pending = Pending::none;
                finishRequest();
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
    const PortalShortcuts listed = shortcutsIn(results);
    switch (pending) {
    case Pending::createSession:
        if (response != 0 && !std::exchange(m_askedAgain, true)) {
            // After a restart of the portal alone, its desktop backend may still hold the
            // session under this handle; the portal closes that one when it refuses (GNOME's
            // backend exits instead, and is started again), so asking again a moment later gets
            // a session.
            qCInfo(Log::general(),
                   "The desktop portal refused a global shortcuts session (%u); "
                   "asking once more",
                   response);
            m_pending = Pending::askAgain;
            m_askAgain.start();
            return;
        }
        if (response != 0) {
            declined(response);
            return;
        }
        {
            const QVariant handle = results.value(QStringLiteral("session_handle"));
            m_session =
                handle.canConvert<QDBusObjectPath>() && handle.userType() != QMetaType::QString
                    ? handle.value<QDBusObjectPath>().path()
                    : handle.toString();
        }
        listShortcuts();
        return;
    case Pending::listShortcuts: {
        // A desktop that already holds every shortcut of the set (from an earlier login, or
        // from CreateSession's list) is not asked again: Plasma would open its shortcut
        // settings, and GNOME its dialog, at every start.
        QSet<QString> held;
        for (const PortalShortcut& shortcut : listed) {
            held.insert(shortcut.id);
        }
        const bool holdsAll =
            response == 0 &&
            std::all_of(m_sessionSet.cbegin(), m_sessionSet.cend(),
                        [&](const PortalShortcut& shortcut) { return held.contains(shortcut.id); });
        if (holdsAll) {
            takeBound(listed);
        } else {
            bindShortcuts();
        }
        return;
    }
    case Pending::bindShortcuts:
        if (!answerBinds(response, listed)) {
            declined(response);
            return;
        }
        takeBound(listed);
        return;
    case Pending::none:
    case Pending::closeSession:
    case Pending::askAgain:
        return;
    }
}

void PortalHotkeyService::takeBound(const PortalShortcuts& bound) {
    m_answered = true;
    m_askedAgain = false;
    m_saidDeclined = false;
    m_assigned.clear();
    QSet<QString> offered;
    for (const PortalShortcut& shortcut : m_sessionSet) {
        offered.insert(shortcut.id);
    }
    int count = 0;
    for (const PortalShortcut& shortcut : bound) {
        if (!offered.remove(shortcut.id)) {
            continue; // a shortcut of an action that is gone, which the desktop still lists
        }
        ++count;
        const QString given =
            shortcut.properties.value(QStringLiteral("trigger_description")).toString();
        for (const auto& [handle, registration] : m_registrations) {
            if (registration.name != shortcut.id) {
                continue;
            }
            m_assigned[registration.id] = given;
            // The desktop keeps the key it gave a shortcut first, whatever is asked later.
            if (!given.isEmpty() && !PortalTrigger::sameKeys(given, registration.trigger)) {
                qCInfo(Log::general(), "The desktop keeps %s on \"%s\" (asked for %s)",
                       qPrintable(given), qPrintable(registration.description),
                       qPrintable(registration.trigger));
            }
        }
    }
    for (const PortalShortcut& shortcut : bound) {
        m_heldIDs.insert(shortcut.id);
    }
    m_boundCount = std::make_pair(count, m_offeredCount);
    qCInfo(Log::general(), "The desktop bound %d of %d global shortcuts", m_boundCount->first,
           m_boundCount->second);
    emit shortcutsBound();
    reportTriggers();
    finishRequest();
}

void PortalHotkeyService::declined(uint response) {
    // 1: the user said no in the portal's dialog; 2: anything else. Said once until a binding
    // succeeds, however often the desktop is asked meanwhile.
    if (!std::exchange(m_saidDeclined, true)) {
        qCWarning(Log::general(), "The desktop portal declined the global shortcuts (%u)",
                  response);
    }
    m_askedAgain = false;
    // GNOME drops every shortcut of a session whose dialog was cancelled, those it approved
    // before included: the ones the desktop bound earlier are bound again without the refused
    // ones, which it does without asking, and the refused set is not offered again until the
    // actions change.
    PortalShortcuts kept;
    for (const PortalShortcut& shortcut : m_sessionSet) {
        if (m_heldIDs.contains(shortcut.id)) {
            kept.append(shortcut);
        }
    }
    if (!kept.isEmpty() && kept.size() < m_sessionSet.size()) {
        qCInfo(Log::general(), "Binding again the %lld global shortcuts the desktop bound before",
               static_cast<long long>(kept.size()));
        m_refusedSet = m_sessionSet;
        startBinding(kept);
        return;
    }
    m_answered = true;
    m_boundCount = std::make_pair(0, m_offeredCount);
    m_assigned.clear();
    reportTriggers();
    finishRequest();
}

void PortalHotkeyService::finishRequest() {
    if (std::exchange(m_bindAgain, false)) {
        bind();
    }
}

void PortalHotkeyService::reportTriggers() {
    if (m_triggersHandler) {
        m_triggersHandler();
    }
}

std::optional<std::uint32_t>
PortalHotkeyService::signalledHotkey(const QDBusMessage& message) const {
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 2 || !m_handler) {
        return std::nullopt;
    }
    if (m_session.isEmpty() || arguments[0].value<QDBusObjectPath>().path() != m_session) {
        return std::nullopt; // a session of ours that is already closed
    }
    const QString name = arguments[1].toString();
    std::optional<std::uint32_t> hotkey;
    for (const auto& [handle, registration] : m_registrations) {
        if (registration.name == name && (!hotkey || registration.id < *hotkey)) {
            hotkey = registration.id;
        }
    }
    return hotkey;
}

void PortalHotkeyService::onActivated(const QDBusMessage& message) {
    const std::optional<std::uint32_t> pressed = signalledHotkey(message);
    if (!pressed) {
        return;
    }
    const QString name = message.arguments().at(1).toString();
    if (!m_heldName.isEmpty() && m_heldName == name) {
        return; // the keyboard's repeat, passed on by the desktop
    }
    // Before the desktop has said it sends releases, a repeat is known by its pace: Plasma and
    // GNOME pass the keyboard's repeat on as Activated every 30 to 40 ms after about half a
    // second, which would otherwise make the first hold of a run a seek per repeat.
    const bool repeated = !m_desktopSendsReleases && name == m_lastActivatedName &&
                          m_lastActivated.isValid() && m_lastActivated.elapsed() < repeatWithinMs;
    m_lastActivatedName = name;
    m_lastActivated.start();
    if (repeated) {
        return;
    }
    // Another shortcut while one is down: that one is over.
    releaseHeld();
    // A copy: the handler may re-register, which replaces the table being read.
    const PressHandler handler = m_handler;
    handler(*pressed, KeyEvent::pressed);
    if (m_desktopSendsReleases) {
        m_heldName = name;
        m_heldId = *pressed;
    } else {
        handler(*pressed, KeyEvent::released);
    }
}

void PortalHotkeyService::onDeactivated(const QDBusMessage& message) {
    if (!signalledHotkey(message)) {
        return;
    }
    m_lastActivatedName.clear();
    if (!m_desktopSendsReleases) {
        m_desktopSendsReleases = true;
        qCInfo(Log::general(), "The desktop says when a shortcut comes up: holding one keeps "
                               "seeking from now on");
    }
    if (message.arguments().at(1).toString() == m_heldName) {
        releaseHeld();
    }
}

void PortalHotkeyService::releaseHeld() {
    if (m_heldName.isEmpty()) {
        return;
    }
    m_heldName.clear();
    if (const PressHandler handler = m_handler) {
        handler(m_heldId, KeyEvent::released);
    }
}
