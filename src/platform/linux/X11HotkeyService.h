#pragma once

#include "models/KeyTable.h"
#include "platform/HotkeyService.h"

#include <QAbstractNativeEventFilter>
#include <QKeyCombination>
#include <QTimer>

#include <cstdint>
#include <optional>
#include <vector>

#include <xcb/xcb.h>

// Global hotkeys as key grabs on the root window, over the toolkit's own X connection, so that
// presses arrive with the toolkit's other events on the GUI thread. Without an X connection
// (a Wayland session) nothing can be grabbed. Grabs are of the server's key codes, so when the
// keyboard mapping changes (a layout switch) every hotkey is looked up again, and grabbed again
// where its key moved.
//
// A held key repeats, and how the server sends the repeats depends on the client: one more
// press each time where the client asked for detectable auto-repeat, else a release and a press
// with the same time stamp. Either way a hotkey held down is one press and one release: a press
// of the key already down is dropped, and a release is passed on only once no press of the same
// moment has followed it. Two presses quicker than any keyboard
// repeats (a program's) are two presses.
class X11HotkeyService final : public HotkeyService, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    // `style`: how the log writes a combination, as the desktop writes it.
    explicit X11HotkeyService(KeyTable::ModifierStyle style, QObject* parent = nullptr);
    ~X11HotkeyService() override;

    bool start() override;
    void stop() override;
    void bind(const HotkeyBindings& bindings) override;
    QString mechanism() const override;

private:
    class KeyboardMapping;
    // One key with its modifiers, lock modifiers left out.
    struct Combination {
        xcb_keycode_t keyCode;
        std::uint16_t modifiers;
        friend bool operator==(const Combination&, const Combination&) = default;
    };
    struct Registration {
        QString id;
        QKeyCombination keys;
        // What this binding holds, alone or with others; nothing while another program holds
        // it or the keyboard has no such key since a mapping change.
        std::optional<Combination> grabbed;
    };
    // Where the server puts the modifiers whose bit depends on its keymap.
    struct ModifierBits {
        std::uint16_t alt = XCB_MOD_MASK_1;
        std::uint16_t super = XCB_MOD_MASK_4;
        std::uint16_t numLock = 0;
        friend bool operator==(const ModifierBits&, const ModifierBits&) = default;
    };

    // The hotkey whose key is down now.
    struct HeldKey {
        xcb_keycode_t keyCode;
        QString id;
        xcb_timestamp_t pressedAt;
        // Whether the keyboard has repeated it yet.
        bool repeating = false;
    };
    // A release that may yet turn out to be half of a repeat.
    struct PendingRelease {
        xcb_keycode_t keyCode;
        xcb_timestamp_t time;
    };

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    bool filterPress(const xcb_key_press_event_t* press);
    bool filterRelease(const xcb_key_release_event_t* release);
    // Passes on the release of the held key, if it has one waiting.
    void releaseHeldKey();

    bool isMappingChange(const xcb_generic_event_t* event) const;
    void followMappingChange();

    ModifierBits readModifierBits(const KeyboardMapping& mapping) const;
    std::optional<Combination> combinationFor(const KeyboardMapping& mapping,
                                              QKeyCombination keys) const;
    std::uint16_t modifiersFor(Qt::KeyboardModifiers modifiers) const;
    std::vector<std::uint16_t> lockVariants() const;
    bool isGrabbed(const Combination& combination) const;
    bool grab(const Combination& combination);
    void ungrab(const Combination& combination);

    KeyTable::ModifierStyle m_style;
    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    bool m_filtering = false;
    // Every grab held was made under these bits, lock variants included: when they change, so
    // does every grab.
    ModifierBits m_modifierBits;
    // The first event of the keyboard extension, through which the toolkit's connection hears
    // of mapping changes instead of the core MappingNotify.
    std::optional<std::uint8_t> m_xkbFirstEvent;
    // One layout switch sends several notifications; the grabs are redone once they stop.
    QTimer m_mappingChanged;
    std::optional<HeldKey> m_held;
    std::optional<PendingRelease> m_pendingRelease;
    // Runs out when no press came with a release: the key really came up.
    QTimer m_releaseSettle;
    // The bindings held, in the order of the set: the first of a combination held twice is the
    // one its presses go to.
    std::vector<Registration> m_registrations;
};
