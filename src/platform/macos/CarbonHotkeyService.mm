#include "CarbonHotkeyService.h"

// The event this service listens for, and what it answers without one.
static_assert(kEventClassKeyboard == 0x6B657962, "'keyb'");
static_assert(kEventHotKeyPressed == 5);
static_assert(kEventHotKeyReleased == 6);
static_assert(eventNotHandledErr == -9874);

CarbonHotkeyService::~CarbonHotkeyService() {
    for (const auto& [handle, ref] : m_hotKeyRefs) {
        UnregisterEventHotKey(ref);
    }
    m_hotKeyRefs.clear();
    removeHandler();
}

bool CarbonHotkeyService::installHandler(PressHandler handler) {
    m_handler = std::move(handler);
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

void CarbonHotkeyService::removeHandler() {
    if (m_eventHandlerRef != nullptr) {
        RemoveEventHandler(m_eventHandlerRef);
        m_eventHandlerRef = nullptr;
    }
    m_handler = nullptr;
}

std::optional<HotkeyService::Handle>
CarbonHotkeyService::registerHotkey(std::uint32_t keyCode, std::uint32_t carbonModifiers,
                                    std::uint32_t signature, std::uint32_t id) {
    const EventHotKeyID hotKeyID{signature, id};
    EventHotKeyRef ref = nullptr;
    // The status says why a combination was refused; the caller only needs whether.
    RegisterEventHotKey(keyCode, carbonModifiers, hotKeyID, GetApplicationEventTarget(), 0, &ref);
    if (ref == nullptr) {
        return std::nullopt;
    }
    const Handle handle = m_nextHandle++;
    m_hotKeyRefs.emplace(handle, ref);
    return handle;
}

void CarbonHotkeyService::unregisterHotkey(Handle handle) {
    const auto found = m_hotKeyRefs.find(handle);
    if (found == m_hotKeyRefs.end()) {
        return;
    }
    UnregisterEventHotKey(found->second);
    m_hotKeyRefs.erase(found);
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
    if (service->m_handler) {
        const PressHandler handler = service->m_handler;
        handler(hotKeyID.id, GetEventKind(event) == kEventHotKeyReleased ? KeyEvent::released
                                                                         : KeyEvent::pressed);
    }
    return noErr;
}
