#pragma once

#include "platform/HotkeyService.h"

#include <Carbon/Carbon.h>

#include <vector>

// Global hotkeys through the Carbon event manager's hot-key service, the one way an
// application without a key window hears a key combination. Presses arrive on the main run
// loop, which is the GUI thread.
class CarbonHotkeyService final : public HotkeyService {
public:
    // The owner signature of every hot key: the four characters "SCR1".
    static constexpr OSType signature = 0x53435231;

    explicit CarbonHotkeyService(QObject* parent = nullptr);
    ~CarbonHotkeyService() override;

    bool start() override;
    void stop() override;
    void bind(const HotkeyBindings& bindings) override;

private:
    struct Registration {
        QString id;
        // The number the event manager reports presses under.
        UInt32 number;
        UInt32 keyCode;
        UInt32 modifiers;
        // Nothing for the second binding of keys the first one holds already.
        EventHotKeyRef ref;
    };

    static OSStatus handleHotKey(EventHandlerCallRef next, EventRef event, void* userData);
    void unregisterAll();

    EventHandlerRef m_eventHandlerRef = nullptr;
    std::vector<Registration> m_registrations;
    UInt32 m_nextNumber = 1;
};
