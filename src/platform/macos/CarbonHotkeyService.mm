#include "CarbonHotkeyService.h"

#include "models/KeyTable.h"

#include <algorithm>
#include <optional>

// The event this service listens for, and what it answers without one.
static_assert(kEventClassKeyboard == 0x6B657962, "'keyb'");
static_assert(kEventHotKeyPressed == 5);
static_assert(kEventHotKeyReleased == 6);
static_assert(eventNotHandledErr == -9874);

// The key table stores keys under the virtual key codes of Events.h, so that its codes are what
// RegisterEventHotKey takes; a few of every kind, to catch a table that drifted.
static_assert(kVK_ANSI_A == 0 && kVK_ANSI_B == 11 && kVK_ANSI_1 == 18 && kVK_ANSI_0 == 29);
static_assert(kVK_Return == 36 && kVK_Tab == 48 && kVK_Space == 49 && kVK_Delete == 51 &&
              kVK_Escape == 53);
static_assert(kVK_ANSI_KeypadDecimal == 65 && kVK_ANSI_KeypadEnter == 76 &&
              kVK_ANSI_Keypad0 == 82 && kVK_ANSI_Keypad9 == 92);
static_assert(kVK_F1 == 122 && kVK_F5 == 96 && kVK_F12 == 111 && kVK_F20 == 90);
static_assert(kVK_Home == 115 && kVK_PageUp == 116 && kVK_ForwardDelete == 117 && kVK_End == 119 &&
              kVK_PageDown == 121);
static_assert(kVK_LeftArrow == 123 && kVK_RightArrow == 124 && kVK_DownArrow == 125 &&
              kVK_UpArrow == 126);

namespace {

// The hot-key modifiers of the combination. Bindings name the keys as a PC keyboard does
// (Meta is the Command key), which is not how the toolkit reports them on a Mac.
UInt32 carbonModifiers(Qt::KeyboardModifiers modifiers) {
    UInt32 mask = 0;
    if (modifiers.testFlag(Qt::MetaModifier)) {
        mask |= cmdKey;
    }
    if (modifiers.testFlag(Qt::ShiftModifier)) {
        mask |= shiftKey;
    }
    if (modifiers.testFlag(Qt::AltModifier)) {
        mask |= optionKey;
    }
    if (modifiers.testFlag(Qt::ControlModifier)) {
        mask |= controlKey;
    }
    return mask;
}

std::optional<UInt32> virtualKeyCode(QKeyCombination keys) {
    if (const auto stored = KeyTable::toStoredKeys(keys)) {
        return UInt32{stored->keyCode};
    }
    return std::nullopt;
}

} // namespace

CarbonHotkeyService::CarbonHotkeyService(QObject* parent)
    : HotkeyService(parent) {}

CarbonHotkeyService::~CarbonHotkeyService() {
    stop();
}

bool CarbonHotkeyService::start() {
    if (m_eventHandlerRef != nullptr) {
        return true;
    }
    // Releases as well, so that a held hotkey can keep seeking until it comes up. A held hot
    // key is one press here: the event manager sends no repeats.
    const EventTypeSpec events[] = {{kEventClassKeyboard, kEventHotKeyPressed},
                                    {kEventClassKeyboard, kEventHotKeyReleased}};
    const OSStatus status =
        InstallEventHandler(GetApplicationEventTarget(), &CarbonHotkeyService::handleHotKey, 2,
                            events, this, &m_eventHandlerRef);
    if (status != noErr) {
        m_eventHandlerRef = nullptr;
    }
    return m_eventHandlerRef != nullptr;
}

void CarbonHotkeyService::stop() {
    unregisterAll();
    if (m_eventHandlerRef != nullptr) {
        RemoveEventHandler(m_eventHandlerRef);
        m_eventHandlerRef = nullptr;
    }
}

void CarbonHotkeyService::bind(const HotkeyBindings& bindings) {
    unregisterAll();
    Results results;
    for (const HotkeyBinding& binding : bindings) {
        const std::optional<UInt32> keyCode = virtualKeyCode(binding.keys);
        if (!keyCode) {
            results.insert(binding.id, {Status::taken, {}});
            continue;
        }
        const UInt32 modifiers = carbonModifiers(binding.keys.keyboardModifiers());
        const UInt32 number = m_nextNumber++;
        // The event manager refuses this program the same keys twice; the first binding of
        // them hears their presses, and the second is no less bound for it.
        const bool heldAlready = std::any_of(
            m_registrations.begin(), m_registrations.end(), [&](const Registration& held) {
                return held.ref != nullptr && held.keyCode == *keyCode &&
                       held.modifiers == modifiers;
            });
        if (heldAlready) {
            m_registrations.push_back({binding.id, number, *keyCode, modifiers, nullptr});
            results.insert(binding.id, {Status::bound, {}});
            continue;
        }
        const EventHotKeyID hotKeyID{signature, number};
        EventHotKeyRef ref = nullptr;
        // The status says why a combination was refused, most often because another program
        // holds it (eventHotKeyExistsErr); the row only says that it cannot be had.
        const OSStatus status = RegisterEventHotKey(*keyCode, modifiers, hotKeyID,
                                                    GetApplicationEventTarget(), 0, &ref);
        if (status != noErr || ref == nullptr) {
            results.insert(binding.id, {Status::taken, {}});
            continue;
        }
        m_registrations.push_back({binding.id, number, *keyCode, modifiers, ref});
        results.insert(binding.id, {Status::bound, {}});
    }
    emit resultsChanged(results);
}

void CarbonHotkeyService::unregisterAll() {
    for (const Registration& registration : m_registrations) {
        if (registration.ref != nullptr) {
            UnregisterEventHotKey(registration.ref);
        }
    }
    m_registrations.clear();
}

OSStatus CarbonHotkeyService::handleHotKey(EventHandlerCallRef /*next*/, EventRef event,
                                           void* userData) {
    if (event == nullptr) {
        return eventNotHandledErr;
    }
    EventHotKeyID hotKeyID{};
    const OSStatus status = GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID,
                                              nullptr, sizeof(hotKeyID), nullptr, &hotKeyID);
    if (status != noErr) {
        return status;
    }
    auto* service = static_cast<CarbonHotkeyService*>(userData);
    // The owner signature is not compared: only this program's hot keys reach its handler.
    const auto found =
        std::find_if(service->m_registrations.begin(), service->m_registrations.end(),
                     [&hotKeyID](const Registration& held) { return held.number == hotKeyID.id; });
    if (found == service->m_registrations.end()) {
        return eventNotHandledErr; // a hot key of a binding since replaced
    }
    // A copy: whoever hears it may bind anew, which replaces the table read here.
    const QString id = found->id;
    if (GetEventKind(event) == kEventHotKeyReleased) {
        emit service->released(id);
    } else {
        emit service->pressed(id);
    }
    return noErr;
}
