#include "X11HotkeyService.h"

#include "X11KeySymbols.h"
#include "models/KeyTable.h"
#include "utilities/Logger.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <X11/keysym.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

namespace {

// Everything the server puts into a key event's state that is a modifier and not a button.
constexpr std::uint16_t kModifierStateBits = 0xff;

// The keyboard extension's own event types, in the second byte of its events. A new keymap
// (setxkbmap) comes as the first, a change of some keys (xmodmap) as the second.
constexpr std::uint8_t kXkbNewKeyboardNotify = 0;
constexpr std::uint8_t kXkbMapNotify = 1;

// Long enough to take in every notification of one layout switch, short enough that the
// hotkeys work again before a person reaches for them.
constexpr int kMappingSettleMs = 150;

// A keyboard repeats a held key after a delay that desktops let people set no shorter than
// 100 ms. A release and a press of the same moment sooner than this after the key went down
// are two quick presses (xdotool sends them so), not the first repeat.
constexpr xcb_timestamp_t kShortestRepeatDelayMs = 80;

// The server sends a repeat's release and press together; the toolkit reads them in one go, so
// the press is here well within this. Also how late the end of a hold may be noticed.
constexpr int kReleaseSettleMs = 30;

struct FreeDeleter {
    void operator()(void* pointer) const { std::free(pointer); }
};
template <class Reply>
using ReplyPtr = std::unique_ptr<Reply, FreeDeleter>;

xcb_connection_t* toolkitConnection() {
    auto* application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (application == nullptr) {
        return nullptr;
    }
    auto* x11 = application->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

} // namespace

// The server's keyboard mapping, read once for everything one registration needs of it.
class X11HotkeyService::KeyboardMapping {
public:
    explicit KeyboardMapping(xcb_connection_t* connection) {
        const xcb_setup_t* setup = xcb_get_setup(connection);
        m_first = setup->min_keycode;
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - m_first + 1);
        m_reply.reset(xcb_get_keyboard_mapping_reply(
            connection, xcb_get_keyboard_mapping(connection, m_first, count), nullptr));
    }

    std::optional<xcb_keycode_t> keyCodeFor(std::uint32_t keySymbol) const {
        if (!m_reply || m_reply->keysyms_per_keycode == 0) {
            return std::nullopt;
        }
        const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(m_reply.get());
        const int perKey = m_reply->keysyms_per_keycode;
        const int keys = xcb_get_keyboard_mapping_keysyms_length(m_reply.get()) / perKey;
        // The key that has the symbol unshifted first, so that a letter is not found on a key
        // that yields it only with a modifier. A keypad symbol is looked for first where Num
        // Lock puts it, in the shifted column: the keypad's point has KP_Decimal there, while
        // the extra keypad key of some keyboards (a Brazilian one's second point) has it
        // unshifted, and pressing the point must not miss the grab.
        const bool keypad = keySymbol >= XK_KP_Space && keySymbol <= XK_KP_Equal && perKey > 1;
        for (int step = 0; step < perKey; ++step) {
            const int column = keypad && step < 2 ? 1 - step : step;
            for (int key = 0; key < keys; ++key) {
                if (symbols[key * perKey + column] == keySymbol) {
                    return static_cast<xcb_keycode_t>(m_first + key);
                }
            }
        }
        return std::nullopt;
    }

private:
    xcb_keycode_t m_first = 0;
    ReplyPtr<xcb_get_keyboard_mapping_reply_t> m_reply;
};

X11HotkeyService::X11HotkeyService(KeyTable::ModifierStyle style, QObject* parent)
    : HotkeyService(parent)
    , m_style(style)
    , m_connection(toolkitConnection()) {
    m_mappingChanged.setSingleShot(true);
    m_mappingChanged.setInterval(kMappingSettleMs);
    connect(&m_mappingChanged, &QTimer::timeout, this, &X11HotkeyService::followMappingChange);
    m_releaseSettle.setSingleShot(true);
    m_releaseSettle.setInterval(kReleaseSettleMs);
    m_releaseSettle.setTimerType(Qt::PreciseTimer);
    connect(&m_releaseSettle, &QTimer::timeout, this, &X11HotkeyService::releaseHeldKey);
    if (m_connection == nullptr) {
        return;
    }
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    m_root = xcb_setup_roots_iterator(setup).data->root;
    m_modifierBits = readModifierBits(KeyboardMapping(m_connection));
    constexpr std::string_view xkbName = "XKEYBOARD";
    const ReplyPtr<xcb_query_extension_reply_t> xkb(xcb_query_extension_reply(
        m_connection,
        xcb_query_extension(m_connection, static_cast<std::uint16_t>(xkbName.size()),
                            xkbName.data()),
        nullptr));
    if (xkb && xkb->present != 0) {
        m_xkbFirstEvent = xkb->first_event;
    }
}

X11HotkeyService::~X11HotkeyService() {
    stop();
}

bool X11HotkeyService::start() {
    if (m_connection == nullptr) {
        qCWarning(Log::general(), "Global hotkeys need an X11 session for now; the tray menu and "
                                  "its buttons still work");
        return false;
    }
    if (!m_filtering) {
        QCoreApplication::instance()->installNativeEventFilter(this);
        m_filtering = true;
    }
    return true;
}

void X11HotkeyService::stop() {
    for (auto& registration : m_registrations) {
        if (const auto held = std::exchange(registration.grabbed, std::nullopt)) {
            if (!isGrabbed(*held)) {
                ungrab(*held);
            }
        }
    }
    m_registrations.clear();
    if (m_filtering && QCoreApplication::instance() != nullptr) {
        QCoreApplication::instance()->removeNativeEventFilter(this);
    }
    m_filtering = false;
    m_releaseSettle.stop();
    m_pendingRelease.reset();
    m_held.reset();
}

void X11HotkeyService::bind(const HotkeyBindings& bindings) {
    Results results;
    std::vector<Registration> next;
    const auto heldBy = [](const std::vector<Registration>& registrations,
                           const Combination& combination) {
        return std::any_of(
            registrations.begin(), registrations.end(),
            [&combination](const Registration& held) { return held.grabbed == combination; });
    };
    std::optional<KeyboardMapping> mapping;
    if (m_connection != nullptr) {
        mapping.emplace(m_connection);
    }
    for (const HotkeyBinding& binding : bindings) {
        const auto combination =
            mapping ? combinationFor(*mapping, binding.keys) : std::optional<Combination>();
        // A combination held already, by this set or the last, keeps its grab: one the user
        // did not touch never goes without it.
        if (combination && (heldBy(next, *combination) || heldBy(m_registrations, *combination) ||
                            grab(*combination))) {
            next.push_back({binding.id, binding.keys, combination});
            results.insert(binding.id, {Status::bound, {}});
        } else {
            results.insert(binding.id, {Status::taken, {}});
        }
    }
    std::vector<Combination> letGo;
    for (const Registration& registration : m_registrations) {
        const auto& held = registration.grabbed;
        if (held && !heldBy(next, *held) &&
            std::find(letGo.begin(), letGo.end(), *held) == letGo.end()) {
            letGo.push_back(*held);
            ungrab(*held);
        }
    }
    m_registrations = std::move(next);
    emit resultsChanged(results);
}

QString X11HotkeyService::mechanism() const {
    return m_connection != nullptr ? QStringLiteral("X11 key grabs") : QString();
}

bool X11HotkeyService::nativeEventFilter(const QByteArray& eventType, void* message,
                                         qintptr* /*result*/) {
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if (isMappingChange(event)) {
        m_mappingChanged.start();
        return false; // the toolkit follows the change as well
    }
    const auto type = static_cast<std::uint8_t>(event->response_type & ~0x80);
    if (!m_filtering) {
        return false;
    }
    if (type == XCB_KEY_PRESS) {
        return filterPress(static_cast<const xcb_key_press_event_t*>(message));
    }
    if (type == XCB_KEY_RELEASE) {
        return filterRelease(static_cast<const xcb_key_release_event_t*>(message));
    }
    return false;
}

bool X11HotkeyService::filterPress(const xcb_key_press_event_t* press) {
    if (press->event != m_root) {
        return false;
    }
    if (m_held && m_held->keyCode == press->detail) {
        // The key is still down: a repeat, whichever way the server sends it. A release of
        // the same moment was its other half, once the key has been down long enough to
        // repeat at all. The clock wraps, and the difference with it.
        const bool repeatDue =
            m_held->repeating ||
            xcb_timestamp_t(press->time - m_held->pressedAt) >= kShortestRepeatDelayMs;
        if (m_pendingRelease && m_pendingRelease->time == press->time && repeatDue) {
            m_pendingRelease.reset();
            m_releaseSettle.stop();
            m_held->repeating = true;
            return true;
        }
        if (!m_pendingRelease) {
            m_held->repeating = true;
            return true;
        }
    }
    // A press of another moment: whatever was held came up before it.
    releaseHeldKey();
    const auto locks = static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK | m_modifierBits.numLock);
    const Combination down{press->detail,
                           static_cast<std::uint16_t>(press->state & kModifierStateBits & ~locks)};
    const auto found =
        std::find_if(m_registrations.begin(), m_registrations.end(),
                     [&down](const Registration& held) { return held.grabbed == down; });
    if (found == m_registrations.end()) {
        return false;
    }
    m_held = HeldKey{press->detail, found->id, press->time};
    // A copy: whoever hears it may bind anew, which replaces the table read here.
    const QString id = found->id;
    emit pressed(id);
    return true;
}

bool X11HotkeyService::filterRelease(const xcb_key_release_event_t* release) {
    // Matched by the key alone: the modifiers may have come up first.
    if (release->event != m_root || !m_held || m_held->keyCode != release->detail) {
        return false;
    }
    m_pendingRelease = PendingRelease{release->detail, release->time};
    m_releaseSettle.start();
    return true;
}

void X11HotkeyService::releaseHeldKey() {
    m_releaseSettle.stop();
    if (!m_pendingRelease || !m_held) {
        return;
    }
    const QString id = m_held->id;
    m_pendingRelease.reset();
    m_held.reset();
    if (m_filtering) {
        emit released(id);
    }
}

bool X11HotkeyService::isMappingChange(const xcb_generic_event_t* event) const {
    const auto type = static_cast<std::uint8_t>(event->response_type & ~0x80);
    if (type == XCB_MAPPING_NOTIFY) {
        const auto* notify = reinterpret_cast<const xcb_mapping_notify_event_t*>(event);
        return notify->request != XCB_MAPPING_POINTER;
    }
    // A client that uses the keyboard extension, as the toolkit does, hears of a new keymap only
    // through it.
    return m_xkbFirstEvent && type == *m_xkbFirstEvent &&
           (event->pad0 == kXkbNewKeyboardNotify || event->pad0 == kXkbMapNotify);
}

void X11HotkeyService::followMappingChange() {
    const KeyboardMapping mapping(m_connection);
    const ModifierBits bits = readModifierBits(mapping);
    // Only what moved is let go, so a hotkey whose key stays where it was is never without its
    // grab. Another keyboard of the same layout taking over (a second keyboard, xdotool) reads
    // as a mapping change too, and moves nothing. When a modifier moves, every grab goes: each
    // was made with the old bits, lock variants included.
    const bool sameBits = bits == m_modifierBits;
    bool regrabbed = false;
    for (auto& registration : m_registrations) {
        if (!registration.grabbed ||
            (sameBits && registration.grabbed == combinationFor(mapping, registration.keys))) {
            continue;
        }
        const Combination held = *std::exchange(registration.grabbed, std::nullopt);
        if (!isGrabbed(held)) {
            ungrab(held);
        }
        regrabbed = true;
    }
    m_modifierBits = bits;
    for (auto& registration : m_registrations) {
        if (registration.grabbed) {
            continue;
        }
        const auto combination = combinationFor(mapping, registration.keys);
        if (combination && (isGrabbed(*combination) || grab(*combination))) {
            registration.grabbed = combination;
            regrabbed = true;
        } else {
            // Kept, so that the next mapping change tries again.
            qCWarning(Log::general(), "Hotkey %s does not work with this keyboard mapping",
                      qPrintable(KeyTable::displayString(registration.keys, m_style)));
        }
    }
    if (regrabbed) {
        qCInfo(Log::general(), "Keyboard mapping changed; hotkeys grabbed again where they moved");
    }
}

X11HotkeyService::ModifierBits
X11HotkeyService::readModifierBits(const KeyboardMapping& mapping) const {
    ModifierBits bits;
    const ReplyPtr<xcb_get_modifier_mapping_reply_t> modifiers(xcb_get_modifier_mapping_reply(
        m_connection, xcb_get_modifier_mapping(m_connection), nullptr));
    if (!modifiers) {
        return bits;
    }
    const std::optional<xcb_keycode_t> superLeft = mapping.keyCodeFor(XK_Super_L);
    const std::optional<xcb_keycode_t> superRight = mapping.keyCodeFor(XK_Super_R);
    const std::optional<xcb_keycode_t> altLeft = mapping.keyCodeFor(XK_Alt_L);
    const std::optional<xcb_keycode_t> numLock = mapping.keyCodeFor(XK_Num_Lock);
    const xcb_keycode_t* keys = xcb_get_modifier_mapping_keycodes(modifiers.get());
    const int perModifier = modifiers->keycodes_per_modifier;
    std::uint16_t super = 0;
    std::uint16_t alt = 0;
    // Shift, Lock and Control have fixed bits; the five others are the server's to assign.
    for (int modifier = 3; modifier < 8; ++modifier) {
        const auto bit = static_cast<std::uint16_t>(1U << modifier);
        for (int slot = 0; slot < perModifier; ++slot) {
            const xcb_keycode_t key = keys[modifier * perModifier + slot];
            if (key == 0) {
                continue;
            }
            if ((superLeft && key == *superLeft) || (superRight && key == *superRight)) {
                super = super != 0 ? super : bit;
            }
            if (altLeft && key == *altLeft) {
                alt = alt != 0 ? alt : bit;
            }
            if (numLock && key == *numLock) {
                bits.numLock = bits.numLock != 0 ? bits.numLock : bit;
            }
        }
    }
    if (super != 0) {
        bits.super = super;
    }
    if (alt != 0) {
        bits.alt = alt;
    }
    return bits;
}

std::optional<X11HotkeyService::Combination>
X11HotkeyService::combinationFor(const KeyboardMapping& mapping, QKeyCombination keys) const {
    const auto symbol = X11KeySymbols::forKeys(keys);
    if (!symbol) {
        return std::nullopt;
    }
    const auto serverKey = mapping.keyCodeFor(*symbol);
    if (!serverKey) {
        return std::nullopt; // the keyboard has no such key
    }
    return Combination{*serverKey, modifiersFor(keys.keyboardModifiers())};
}

std::uint16_t X11HotkeyService::modifiersFor(Qt::KeyboardModifiers keyboardModifiers) const {
    std::uint16_t modifiers = 0;
    if (keyboardModifiers.testFlag(Qt::ControlModifier)) {
        modifiers |= XCB_MOD_MASK_CONTROL;
    }
    if (keyboardModifiers.testFlag(Qt::AltModifier)) {
        modifiers |= m_modifierBits.alt;
    }
    if (keyboardModifiers.testFlag(Qt::ShiftModifier)) {
        modifiers |= XCB_MOD_MASK_SHIFT;
    }
    if (keyboardModifiers.testFlag(Qt::MetaModifier)) {
        modifiers |= m_modifierBits.super;
    }
    return modifiers;
}

std::vector<std::uint16_t> X11HotkeyService::lockVariants() const {
    // A press counts whatever the state of Caps Lock and Num Lock.
    std::vector<std::uint16_t> variants{0, XCB_MOD_MASK_LOCK};
    if (m_modifierBits.numLock != 0) {
        variants.push_back(m_modifierBits.numLock);
        variants.push_back(static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK | m_modifierBits.numLock));
    }
    return variants;
}

bool X11HotkeyService::isGrabbed(const Combination& combination) const {
    for (const auto& registration : m_registrations) {
        if (registration.grabbed == combination) {
            return true;
        }
    }
    return false;
}

bool X11HotkeyService::grab(const Combination& combination) {
    // Checked requests: a refusal comes back here, never to the toolkit's error output.
    std::vector<std::pair<std::uint16_t, xcb_void_cookie_t>> requests;
    for (const std::uint16_t locks : lockVariants()) {
        const auto modifiers = static_cast<std::uint16_t>(combination.modifiers | locks);
        requests.emplace_back(
            modifiers, xcb_grab_key_checked(m_connection, 0, m_root, modifiers, combination.keyCode,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    std::vector<std::uint16_t> held;
    bool refused = false;
    for (const auto& [modifiers, cookie] : requests) {
        const ReplyPtr<xcb_generic_error_t> error(xcb_request_check(m_connection, cookie));
        if (error) {
            refused = true; // BadAccess: another client holds this combination
        } else {
            held.push_back(modifiers);
        }
    }
    if (refused) {
        for (const std::uint16_t modifiers : held) {
            xcb_ungrab_key(m_connection, combination.keyCode, m_root, modifiers);
        }
        xcb_flush(m_connection);
    }
    return !refused;
}

void X11HotkeyService::ungrab(const Combination& combination) {
    for (const std::uint16_t locks : lockVariants()) {
        xcb_ungrab_key(m_connection, combination.keyCode, m_root,
                       static_cast<std::uint16_t>(combination.modifiers | locks));
    }
    xcb_flush(m_connection);
}
