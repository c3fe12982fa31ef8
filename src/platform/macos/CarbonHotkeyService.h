#pragma once

#include "platform/HotkeyService.h"

#include <Carbon/Carbon.h>

#include <map>

// Global hotkeys through the Carbon event manager's hot-key service, the one way an
// application without a key window hears a key combination. Presses arrive on the main run
// loop, which is the GUI thread.
class CarbonHotkeyService final : public HotkeyService {
public:
    CarbonHotkeyService() = default;
    ~CarbonHotkeyService() override;
    CarbonHotkeyService(const CarbonHotkeyService&) = delete;
    CarbonHotkeyService& operator=(const CarbonHotkeyService&) = delete;

    bool installHandler(PressHandler handler) override;
    void removeHandler() override;
    std::optional<Handle> registerHotkey(std::uint32_t keyCode, std::uint32_t carbonModifiers,
                                         std::uint32_t signature, std::uint32_t id) override;
    void unregisterHotkey(Handle handle) override;

private:
    static OSStatus handleHotKey(EventHandlerCallRef next, EventRef event, void* userData);

    PressHandler m_handler;
    EventHandlerRef m_eventHandlerRef = nullptr;
    std::map<Handle, EventHotKeyRef> m_hotKeyRefs;
    Handle m_nextHandle = 1;
};
