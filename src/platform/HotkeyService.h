#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

// System-wide hotkeys: a key code and modifier mask, both as the reference platform numbers
// them (the Carbon virtual key codes and hot-key modifier bits), registered under an owner
// signature and an id. Lives on the GUI thread, and presses and releases arrive there.
class HotkeyService {
public:
    using Handle = std::uint64_t;
    // A hotkey went down or came up. A hotkey held down is one press and, where the system
    // tells, one release: the keyboard's own repeats in between are never passed on.
    enum class KeyEvent { pressed, released };
    using PressHandler = std::function<void(std::uint32_t id, KeyEvent event)>;

    virtual ~HotkeyService() = default;

    // Starts listening for presses of registered hotkeys. Called once, before any registration;
    // false when the session offers no global hotkeys, and then nothing registers. Where the
    // system does not say when a hotkey comes up, the release follows its press at once.
    virtual bool installHandler(PressHandler handler) = 0;
    // Stops listening; registrations should be dropped before.
    virtual void removeHandler() = 0;

    // The means by which presses reach the program, as the Permissions tab names it ("X11 key
    // grabs"), once the session is known to give it; empty where the platform names none, or
    // while there is none.
    virtual std::string mechanism() const { return {}; }

    // The trigger the desktop gave the hotkey with this id, in its own words, where that is not
    // the combination asked for; empty otherwise, and wherever the program has the keys itself.
    virtual std::string assignedTrigger(std::uint32_t /*id*/) const { return {}; }
    // Called on the GUI thread each time the desktop has said which triggers it gave, or that
    // it gives none (mechanism() is empty then).
    virtual void setTriggersHandler(std::function<void()> /*handler*/) {}

    // How a desktop that lists the program's shortcuts in its own settings names the hotkey
    // with this id: a name that stays the same across runs and a description. Given before the
    // registration; key grabs have no use for it.
    virtual void describeHotkey(std::uint32_t /*id*/, const std::string& /*name*/,
                                const std::string& /*description*/) {}

    // Nothing when the combination cannot be had, most often because another program holds
    // it. Says nothing about why.
    virtual std::optional<Handle> registerHotkey(std::uint32_t keyCode,
                                                 std::uint32_t carbonModifiers,
                                                 std::uint32_t signature, std::uint32_t id) = 0;
    virtual void unregisterHotkey(Handle handle) = 0;
};
