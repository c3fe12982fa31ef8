#pragma once

#include "platform/HotkeyService.h"

#include <QList>

#include <algorithm>

#include <memory>

// Stands for the system's hotkey service: records each call, refuses the combinations a test
// says another program holds, and lets the test press a registered hotkey by its id.
class RecordingHotkeyService final : public HotkeyService {
public:
    struct Registration {
        std::uint32_t keyCode;
        std::uint32_t modifiers;
        std::uint32_t signature;
        std::uint32_t id;
        friend bool operator==(const Registration&, const Registration&) = default;
    };
    struct Record {
        bool installed = false;
        int installs = 0;
        int removals = 0;
        // Every registration tried, granted or not, in call order.
        QList<Registration> attempts;
        // The handles given out and not yet taken back, in registration order.
        QList<std::pair<Handle, Registration>> live;
        QList<Handle> unregistered;
        // Combinations held elsewhere: (key code, modifiers).
        QList<std::pair<std::uint32_t, std::uint32_t>> heldElsewhere;
        // Whether a combination this program holds already is refused, as Carbon does.
        bool refusesRepeats = false;
        // Whether the session gives no global hotkeys at all.
        bool refusesHandler = false;
        PressHandler handler;

        // A tap of the hotkey registered under `id`, as the system would deliver it: down and
        // up at once.
        void press(std::uint32_t id) const {
            keyDown(id);
            keyUp(id);
        }
        // The two halves of a press, for a test that holds the hotkey down between them.
        void keyDown(std::uint32_t id) const {
            if (handler) {
                handler(id, KeyEvent::pressed);
            }
        }
        void keyUp(std::uint32_t id) const {
            if (handler) {
                handler(id, KeyEvent::released);
            }
        }
        QList<std::uint32_t> liveIds() const {
            QList<std::uint32_t> ids;
            for (const auto& entry : live) {
                ids.append(entry.second.id);
            }
            return ids;
        }
    };

    explicit RecordingHotkeyService(std::shared_ptr<Record> record)
        : m_record(std::move(record)) {}

    bool installHandler(PressHandler handler) override {
        if (m_record->refusesHandler) {
            return false;
        }
        m_record->installed = true;
        ++m_record->installs;
        m_record->handler = std::move(handler);
        return true;
    }

    void removeHandler() override {
        m_record->installed = false;
        ++m_record->removals;
        m_record->handler = nullptr;
    }

    std::optional<Handle> registerHotkey(std::uint32_t keyCode, std::uint32_t carbonModifiers,
                                         std::uint32_t signature, std::uint32_t id) override {
        const Registration registration{keyCode, carbonModifiers, signature, id};
        m_record->attempts.append(registration);
        if (m_record->heldElsewhere.contains(std::pair{keyCode, carbonModifiers})) {
            return std::nullopt;
        }
        const bool repeat = std::any_of(m_record->live.begin(), m_record->live.end(),
                                        [&registration](const auto& entry) {
                                            return entry.second.keyCode == registration.keyCode &&
                                                   entry.second.modifiers == registration.modifiers;
                                        });
        if (repeat && m_record->refusesRepeats) {
            return std::nullopt;
        }
        const Handle handle = m_nextHandle++;
        m_record->live.append({handle, registration});
        return handle;
    }

    void unregisterHotkey(Handle handle) override {
        m_record->unregistered.append(handle);
        m_record->live.removeIf([handle](const auto& entry) { return entry.first == handle; });
    }

private:
    std::shared_ptr<Record> m_record;
    Handle m_nextHandle = 1;
};
