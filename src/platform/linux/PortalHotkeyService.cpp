#include "PortalHotkeyService.h"

#include "PortalTrigger.h"
#include "X11KeySymbols.h"
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

// What the set says of one of its shortcuts.
QString propertyOf(const PortalShortcut& shortcut, const PortalShortcuts& set, const char* key) {
    for (const PortalShortcut& offered : set) {
        if (offered.id == shortcut.id) {
            return offered.properties.value(QString::fromLatin1(key)).toString();
        }
    }
    return {};
}

QString trigger(const PortalShortcut& shortcut, const PortalShortcuts& set) {
    return propertyOf(shortcut, set, "preferred_trigger");
}

QString description(const PortalShortcut& shortcut, const PortalShortcuts& set) {
    return propertyOf(shortcut, set, "description");
}

} // namespace

void registerPortalShortcutTypes() {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<PortalShortcuts>();
}

PortalHotkeyService::PortalHotkeyService(QDBusConnection bus, QObject* parent)
    : HotkeyService(parent)
    , m_bus(std::move(bus))
    , m_watcher(serviceName(), m_bus, QDBusServiceWatcher::WatchForOwnerChange) {
    registerPortalShortcutTypes();
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
                reportMechanism();
                if (!newOwner.isEmpty() && m_started) {
                    qCInfo(Log::general(), "The desktop portal restarted; binding the global "
                                           "shortcuts again");
                    registerHost();
                }
            });
}

PortalHotkeyService::~PortalHotkeyService() {
    stop();
}

bool PortalHotkeyService::start() {
    if (!m_bus.isConnected()) {
        qCWarning(Log::general(), "%s", unavailableMessage);
        return false;
    }
    if (!m_started) {
        m_started = true;
        m_bus.connect(serviceName(), rootPath(), shortcutsInterface, QStringLiteral("Activated"),
                      this, SLOT(onActivated(QDBusMessage)));
        m_bus.connect(serviceName(), rootPath(), shortcutsInterface, QStringLiteral("Deactivated"),
                      this, SLOT(onDeactivated(QDBusMessage)));
        registerHost();
    }
    return true;
}

void PortalHotkeyService::stop() {
    if (m_started) {
        m_bus.disconnect(serviceName(), rootPath(), shortcutsInterface, QStringLiteral("Activated"),
                         this, SLOT(onActivated(QDBusMessage)));
        m_bus.disconnect(serviceName(), rootPath(), shortcutsInterface,
                         QStringLiteral("Deactivated"), this, SLOT(onDeactivated(QDBusMessage)));
    }
    m_heldName.clear();
    m_started = false;
    m_bindings.clear();
    closeSession();
}

void PortalHotkeyService::bind(const HotkeyBindings& bindings) {
    m_bindings = bindings;
    offer();
}

bool PortalHotkeyService::answerBinds(uint response, const PortalShortcuts& shortcuts) {
    return response == 0 || !shortcuts.isEmpty();
}

QString PortalHotkeyService::mechanism() const {
    if (!m_available) {
        return {};
    }
    if (!m_boundCount || m_boundCount->second == 0) {
        return QStringLiteral("Desktop portal");
    }
    // Two short lines, so that the Permissions row has room for them beside its description.
    return QStringLiteral("Desktop portal\n%1 of %2 bound")
        .arg(m_boundCount->first)
        .arg(m_boundCount->second);
}

std::optional<QString> PortalHotkeyService::preferredTrigger(QKeyCombination keys) {
    const auto symbol = X11KeySymbols::forKeys(keys);
    if (!symbol) {
        return std::nullopt;
    }
    std::array<char, 64> name{};
    if (xkb_keysym_get_name(*symbol, name.data(), name.size()) <= 0) {
        return std::nullopt;
    }
    return PortalTrigger::modifierPrefix(keys.keyboardModifiers(),
                                         PortalTrigger::Spelling::shortcutFormat) +
           QString::fromLatin1(name.data());
}

void PortalHotkeyService::registerHost() {
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
                reportMechanism();
                emit unavailable();
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
        reportMechanism();
        offer();
    });
}

PortalShortcuts PortalHotkeyService::offeredShortcuts() const {
    PortalShortcuts shortcuts;
    QSet<QString> named;
    for (const HotkeyBinding& binding : m_bindings) {
        const auto trigger = preferredTrigger(binding.keys);
        if (!trigger || named.contains(binding.id)) {
            continue;
        }
        named.insert(binding.id);
        shortcuts.append({binding.id,
                          {{QStringLiteral("description"), binding.description},
                           {QStringLiteral("preferred_trigger"), *trigger}}});
    }
    return shortcuts;
}

void PortalHotkeyService::offer() {
    if (!m_available || !m_started) {
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
        // What it answered still stands for the bindings as they are now.
        reportResults();
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
            offer(); // the set changed again meanwhile
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
        m_assigned.insert(shortcut.id, given);
        const QString asked = trigger(shortcut, m_sessionSet);
        // The desktop keeps the key it gave a shortcut first, whatever is asked later.
        if (!given.isEmpty() && !PortalTrigger::sameKeys(given, asked)) {
            qCInfo(Log::general(), "The desktop keeps %s on \"%s\" (asked for %s)",
                   qPrintable(given), qPrintable(description(shortcut, m_sessionSet)),
                   qPrintable(asked));
        }
    }
    for (const PortalShortcut& shortcut : bound) {
        m_heldIDs.insert(shortcut.id);
    }
    m_boundCount = std::make_pair(count, m_offeredCount);
    qCInfo(Log::general(), "The desktop bound %d of %d global shortcuts", m_boundCount->first,
           m_boundCount->second);
    emit shortcutsBound();
    reportResults();
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
    reportResults();
    finishRequest();
}

void PortalHotkeyService::finishRequest() {
    if (std::exchange(m_bindAgain, false)) {
        offer();
    }
}

void PortalHotkeyService::reportResults() {
    reportMechanism();
    if (!m_answered) {
        return;
    }
    Results results;
    for (const HotkeyBinding& binding : m_bindings) {
        const auto asked = preferredTrigger(binding.keys);
        if (!asked) {
            results.insert(binding.id, {Status::taken, {}});
            continue;
        }
        const auto assigned = m_assigned.constFind(binding.id);
        if (assigned == m_assigned.constEnd()) {
            results.insert(binding.id, {Status::refused, {}});
            continue;
        }
        if (assigned->isEmpty() || PortalTrigger::sameKeys(*assigned, *asked)) {
            results.insert(binding.id, {Status::bound, {}});
            continue;
        }
        // Shown in the program's own words where the desktop's can be read.
        const auto parsed = PortalTrigger::parse(*assigned);
        results.insert(binding.id,
                       {Status::reassigned, parsed ? parsed->displayText() : *assigned});
    }
    emit resultsChanged(results);
}

void PortalHotkeyService::reportMechanism() {
    if (const QString now = mechanism(); now != m_mechanism) {
        m_mechanism = now;
        emit mechanismChanged(m_mechanism);
    }
}

std::optional<QString> PortalHotkeyService::signalledBinding(const QDBusMessage& message) const {
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 2 || !m_started) {
        return std::nullopt;
    }
    if (m_session.isEmpty() || arguments[0].value<QDBusObjectPath>().path() != m_session) {
        return std::nullopt; // a session of ours that is already closed
    }
    const QString name = arguments[1].toString();
    const bool known =
        std::any_of(m_bindings.cbegin(), m_bindings.cend(),
                    [&name](const HotkeyBinding& binding) { return binding.id == name; });
    return known ? std::optional<QString>(name) : std::nullopt;
}

void PortalHotkeyService::onActivated(const QDBusMessage& message) {
    const std::optional<QString> activated = signalledBinding(message);
    if (!activated) {
        return;
    }
    const QString& name = *activated;
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
    emit pressed(name);
    if (m_desktopSendsReleases) {
        m_heldName = name;
    } else {
        emit released(name);
    }
}

void PortalHotkeyService::onDeactivated(const QDBusMessage& message) {
    if (!signalledBinding(message)) {
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
    const QString name = std::exchange(m_heldName, QString());
    if (m_started) {
        emit released(name);
    }
}
