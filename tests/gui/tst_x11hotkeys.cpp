// Global hotkeys as the X server sees them: grabs on the root window of the test's own Xvfb,
// pressed through xdotool (XTEST), with a second X client standing for another program.
#include "models/KeyTable.h"
#include "platform/linux/X11HotkeyService.h"
#include "platform/linux/X11KeySymbols.h"
#include "support/Desktop.h"
#include "support/LogCapture.h"

#include <QAbstractEventDispatcher>
#include <QtTest>

#include <X11/keysym.h>
#include <sys/uio.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace {

constexpr std::uint32_t controlOptionCommand =
    CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;
constexpr std::uint16_t rightArrow = 124;
constexpr std::uint16_t leftArrow = 123;

void xdotool(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral("xdotool"), arguments);
    QVERIFY(tool.waitForFinished(10000));
    QCOMPARE(tool.exitCode(), 0);
}

void press(const QString& keys) {
    xdotool({QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("0"), keys});
}

// Loads another keyboard layout into the server, as a person switching layouts does.
void setLayout(const QString& layout) {
    QProcess tool;
    tool.start(QStringLiteral("setxkbmap"), {layout});
    QVERIFY2(tool.waitForFinished(10000), "setxkbmap runs (Debian package x11-xkb-utils)");
    QCOMPARE(tool.exitCode(), 0);
}

const QString reGrabbed =
    QStringLiteral("Keyboard mapping changed; hotkeys grabbed again where they moved");

int reGrabs(const LogCapture& log) {
    return log.count(QStringLiteral("com.scrubline.app.general"), QtInfoMsg, reGrabbed);
}

// Another program on the same display, with grabs of its own.
class OtherClient {
public:
    OtherClient()
        : m_connection(xcb_connect(nullptr, nullptr)) {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    }
    ~OtherClient() { xcb_disconnect(m_connection); }
    OtherClient(const OtherClient&) = delete;
    OtherClient& operator=(const OtherClient&) = delete;

    bool connected() const { return xcb_connection_has_error(m_connection) == 0; }

    xcb_keycode_t keyCode(xcb_keysym_t symbol) const {
        const xcb_setup_t* setup = xcb_get_setup(m_connection);
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        auto* reply = xcb_get_keyboard_mapping_reply(
            m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count),
            nullptr);
        xcb_keycode_t found = 0;
        const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply);
        const int total = xcb_get_keyboard_mapping_keysyms_length(reply);
        for (int i = 0; i < total && found == 0; ++i) {
            if (symbols[i] == symbol) {
                found =
                    static_cast<xcb_keycode_t>(setup->min_keycode + i / reply->keysyms_per_keycode);
            }
        }
        std::free(reply);
        return found;
    }

    // Every column of the key's row in the core keymap.
    std::vector<xcb_keysym_t> symbolsOf(xcb_keycode_t key) const {
        auto* reply = xcb_get_keyboard_mapping_reply(
            m_connection, xcb_get_keyboard_mapping(m_connection, key, 1), nullptr);
        const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply);
        std::vector<xcb_keysym_t> row(symbols, symbols + reply->keysyms_per_keycode);
        std::free(reply);
        return row;
    }

    // The highest key code with no symbol at all.
    xcb_keycode_t spareKey() const {
        for (int key = xcb_get_setup(m_connection)->max_keycode; key > 8; --key) {
            const auto row = symbolsOf(static_cast<xcb_keycode_t>(key));
            if (std::all_of(row.begin(), row.end(), [](xcb_keysym_t s) { return s == 0; })) {
                return static_cast<xcb_keycode_t>(key);
            }
        }
        return 0;
    }

    // As xmodmap does it, with the core request.
    void setSymbols(xcb_keycode_t key, const std::vector<xcb_keysym_t>& row) {
        xcb_change_keyboard_mapping(m_connection, 1, key, static_cast<std::uint8_t>(row.size()),
                                    row.data());
        xcb_flush(m_connection);
    }

    // The modifier bit the server gives the key with this symbol, 0 when none.
    std::uint16_t modifierOf(xcb_keysym_t symbol) const {
        const xcb_keycode_t key = keyCode(symbol);
        auto* reply = xcb_get_modifier_mapping_reply(
            m_connection, xcb_get_modifier_mapping(m_connection), nullptr);
        const xcb_keycode_t* keys = xcb_get_modifier_mapping_keycodes(reply);
        std::uint16_t bit = 0;
        for (int i = 0; i < 8 * reply->keycodes_per_modifier && bit == 0; ++i) {
            if (key != 0 && keys[i] == key) {
                bit = static_cast<std::uint16_t>(1U << (i / reply->keycodes_per_modifier));
            }
        }
        std::free(reply);
        return bit;
    }

    // Control+Alt+Super as the server maps them.
    std::uint16_t controlAltSuper() const {
        return static_cast<std::uint16_t>(XCB_MOD_MASK_CONTROL | modifierOf(XK_Alt_L) |
                                          modifierOf(XK_Super_L));
    }

    bool grab(xcb_keysym_t symbol, std::uint16_t modifiers) {
        return grabKey(keyCode(symbol), modifiers);
    }

    void ungrab(xcb_keysym_t symbol, std::uint16_t modifiers) {
        ungrabKey(keyCode(symbol), modifiers);
    }

    // By the server's key code, whatever symbol the keymap puts on it now.
    bool grabKey(xcb_keycode_t key, std::uint16_t modifiers) {
        xcb_generic_error_t* error = xcb_request_check(
            m_connection, xcb_grab_key_checked(m_connection, 0, m_root, modifiers, key,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::free(error);
        return error == nullptr;
    }

    void ungrabKey(xcb_keycode_t key, std::uint16_t modifiers) {
        xcb_ungrab_key(m_connection, key, m_root, modifiers);
        xcb_flush(m_connection);
    }

    // The state of the modifiers and locks now.
    std::uint16_t lockState() const {
        auto* reply =
            xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, m_root), nullptr);
        const std::uint16_t mask = reply != nullptr ? reply->mask : 0;
        std::free(reply);
        return mask;
    }

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
};

constexpr std::uint16_t keypad5 = 87;
constexpr std::uint16_t keypadPoint = 65;
constexpr std::uint16_t keypadEnter = 76;
constexpr std::uint16_t pageUp = 116;
constexpr std::uint16_t f13 = 105;
constexpr std::uint16_t insert = 114; // help, on a Mac keyboard

int xcbErrors(const LogCapture& log) {
    int count = 0;
    for (const LogCapture::Entry& entry : log.entries()) {
        count += entry.message.contains(QStringLiteral("XCB error")) ? 1 : 0;
    }
    return count;
}

// Sets the server's keyboard repeat as a user would, with xset.
void xset(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral("xset"), arguments);
    QVERIFY2(tool.waitForFinished(10000), "xset runs (Debian package x11-xserver-utils)");
    QCOMPARE(tool.exitCode(), 0);
}

// Asks the server for detectable auto-repeat on the toolkit's connection, or for the usual
// repeat: with it a held key repeats as presses alone, without it as a release and a press of
// the same moment each time. The keyboard extension's PerClientFlags request, put together as
// its protocol describes it, for want of the extension's client headers here. Answers whether
// the server now does as asked.
bool setDetectableAutoRepeat(bool detectable) {
    static xcb_extension_t keyboardExtension = {"XKEYBOARD", 0};
    constexpr std::uint8_t perClientFlags = 21;
    constexpr std::uint16_t useCoreKeyboard = 0x0100;
    constexpr std::uint32_t detectableAutoRepeat = 1;
    struct {
        std::uint8_t major = 0;
        std::uint8_t minor = 0;
        std::uint16_t length = 0;
        std::uint16_t deviceSpec = useCoreKeyboard;
        std::uint16_t pad = 0;
        std::uint32_t change = detectableAutoRepeat;
        std::uint32_t value = 0;
        std::uint32_t controlsToChange = 0;
        std::uint32_t autoControls = 0;
        std::uint32_t autoControlValues = 0;
    } request;
    static_assert(sizeof(request) == 28);
    request.value = detectable ? detectableAutoRepeat : 0;
    xcb_connection_t* connection =
        qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    iovec parts[3];
    parts[2].iov_base = &request;
    parts[2].iov_len = sizeof(request);
    const xcb_protocol_request_t header{1, &keyboardExtension, perClientFlags, 0};
    const unsigned int sequence =
        xcb_send_request(connection, XCB_REQUEST_CHECKED, parts + 2, &header);
    xcb_generic_error_t* error = nullptr;
    auto* reply = static_cast<std::uint8_t*>(xcb_wait_for_reply(connection, sequence, &error));
    std::free(error);
    if (reply == nullptr) {
        return false;
    }
    // The flags in force, after the reply's header and the supported flags.
    std::uint32_t value = 0;
    std::memcpy(&value, reply + 12, sizeof(value));
    std::free(reply);
    return ((value & detectableAutoRepeat) != 0) == detectable;
}

// Holds the keys down for a while and lets them up, as a person holding a hotkey does.
void hold(const QString& keys, int ms) {
    xdotool({QStringLiteral("keydown"), keys});
    QTest::qWait(ms);
    xdotool({QStringLiteral("keyup"), keys});
}

// A key event on the root window as the server sends it, handed to the toolkit's event filters
// as the toolkit hands on what it reads: for the orders of events this server does not send.
bool deliverKey(std::uint8_t type, xcb_keycode_t key, std::uint16_t state, xcb_timestamp_t time) {
    xcb_key_press_event_t event{};
    event.response_type = type;
    event.detail = key;
    event.time = time;
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    event.root = event.event =
        xcb_setup_roots_iterator(xcb_get_setup(x11->connection())).data->root;
    event.state = state;
    event.same_screen = 1;
    qintptr result = 0;
    return QAbstractEventDispatcher::instance()->filterNativeEvent(
        QByteArrayLiteral("xcb_generic_event_t"), &event, &result);
}

} // namespace

class TestX11Hotkeys : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<X11HotkeyService> m_service;
    QList<std::uint32_t> m_pressed;
    QList<std::uint32_t> m_released;
    bool m_layoutChanged = false;
    // The set bound now: each hotkey a test adds is bound with the ones before it, as the
    // program binds its whole list, under its number as id.
    HotkeyBindings m_bindings;
    HotkeyService::Results m_results;

    // Adds a hotkey, stored as the settings store it, to the set and binds the set; answers the
    // id where the hotkey is bound, and leaves it out of the set where it is not.
    std::optional<std::uint32_t> bindHotkey(std::uint32_t keyCode, std::uint32_t carbonModifiers,
                                            std::uint32_t id) {
        const auto keys = KeyTable::toKeyCombination({std::uint16_t(keyCode), carbonModifiers});
        if (!keys) {
            return std::nullopt;
        }
        m_bindings.append({QString::number(id), *keys, QString()});
        m_service->bind(m_bindings);
        if (m_results.value(QString::number(id)).status != HotkeyService::Status::bound) {
            m_bindings.removeLast();
            return std::nullopt;
        }
        return id;
    }

    // Binds the set without the hotkey with this id.
    void unbindHotkey(std::uint32_t id) {
        m_bindings.removeIf(
            [id](const HotkeyBinding& binding) { return binding.id == QString::number(id); });
        m_service->bind(m_bindings);
    }

    static std::optional<std::uint32_t> symbolOf(std::uint16_t keyCode) {
        const auto keys = KeyTable::toKeyCombination({keyCode, 0});
        return keys ? X11KeySymbols::forKeys(*keys) : std::nullopt;
    }

    // Long enough for a press that is coming to have come.
    void settle() { QTest::qWait(400); }

private slots:
    void initTestCase() {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs inside with-session");
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
    }

    void init() {
        m_pressed.clear();
        m_released.clear();
        m_bindings.clear();
        m_results.clear();
        m_service = std::make_unique<X11HotkeyService>(KeyTable::ModifierStyle::words);
        connect(m_service.get(), &HotkeyService::pressed, this,
                [this](const QString& id) { m_pressed.append(id.toUInt()); });
        connect(m_service.get(), &HotkeyService::released, this,
                [this](const QString& id) { m_released.append(id.toUInt()); });
        connect(m_service.get(), &HotkeyService::resultsChanged, this,
                [this](const HotkeyService::Results& results) { m_results = results; });
        QVERIFY(m_service->start());
    }

    void cleanup() {
        m_service.reset();
        // A test that failed half-way must not leave the next with another layout either.
        if (std::exchange(m_layoutChanged, false)) {
            setLayout(QStringLiteral("us"));
        }
        // A test that failed half-way must not leave the locks on for the next.
        OtherClient observer;
        if ((observer.lockState() & XCB_MOD_MASK_LOCK) != 0) {
            press(QStringLiteral("Caps_Lock"));
        }
        if ((observer.lockState() & observer.modifierOf(XK_Num_Lock)) != 0) {
            press(QStringLiteral("Num_Lock"));
        }
    }

    void aPressArrivesWithItsId() {
        LogCapture log;
        const auto handle = bindHotkey(rightArrow, controlOptionCommand, 7);
        QVERIFY(handle.has_value());
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, QList<std::uint32_t>{7});
        // Other modifiers, or none, are another combination.
        press(QStringLiteral("ctrl+alt+Right"));
        press(QStringLiteral("Right"));
        press(QStringLiteral("shift+ctrl+alt+super+Right"));
        settle();
        QCOMPARE(m_pressed, QList<std::uint32_t>{7});
        QCOMPARE(xcbErrors(log), 0);
    }

    // With the keyboard's own repeat on and fast, a hotkey held down for a second is still one
    // press, and its release comes once the keys are up; sent either way the server can send
    // a held key's repeats.
    void aHeldHotkeyIsOnePressAndOneRelease_data() {
        QTest::addColumn<bool>("detectable");
        QTest::newRow("release and press") << false;
        QTest::newRow("press only") << true;
    }

    void aHeldHotkeyIsOnePressAndOneRelease() {
        QFETCH(bool, detectable);
        xset({QStringLiteral("r"), QStringLiteral("on")});
        xset({QStringLiteral("r"), QStringLiteral("rate"), QStringLiteral("150"),
              QStringLiteral("40")});
        QVERIFY(setDetectableAutoRepeat(detectable));
        // As the toolkit had it.
        const auto restore = qScopeGuard([] { setDetectableAutoRepeat(false); });
        QVERIFY(bindHotkey(rightArrow, controlOptionCommand, 7));
        hold(QStringLiteral("ctrl+alt+super+Right"), 1000);
        QTRY_COMPARE(m_released, QList<std::uint32_t>{7});
        settle();
        QCOMPARE(m_pressed, QList<std::uint32_t>{7});
        QCOMPARE(m_released, QList<std::uint32_t>{7});
        // Taps are presses, also three sent at once.
        press(QStringLiteral("ctrl+alt+super+Right"));
        xdotool({QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("0"),
                 QStringLiteral("ctrl+alt+super+Right"), QStringLiteral("ctrl+alt+super+Right"),
                 QStringLiteral("ctrl+alt+super+Right")});
        QTRY_COMPARE(m_released, (QList<std::uint32_t>(5, 7)));
        QCOMPARE(m_pressed, (QList<std::uint32_t>(5, 7)));
    }

    // The two ways a server sends a held key's repeats: a release and a press of the same
    // moment each time (the default), or one more press each time (detectable auto-repeat).
    // Either is one press and one release; a real second press is another.
    void bothOrdersOfRepeatsAreOnePress_data() {
        QTest::addColumn<bool>("detectable");
        QTest::newRow("release and press") << false;
        QTest::newRow("press only") << true;
    }

    void bothOrdersOfRepeatsAreOnePress() {
        QFETCH(bool, detectable);
        OtherClient observer;
        const xcb_keycode_t right = observer.keyCode(XK_Right);
        const std::uint16_t held = observer.controlAltSuper();
        QVERIFY(bindHotkey(rightArrow, controlOptionCommand, 5));
        QVERIFY(deliverKey(XCB_KEY_PRESS, right, held, 1000));
        QCOMPARE(m_pressed, QList<std::uint32_t>{5});
        for (xcb_timestamp_t time = 1500; time < 2000; time += 25) {
            if (!detectable) {
                QVERIFY(deliverKey(XCB_KEY_RELEASE, right, held, time));
            }
            QVERIFY(deliverKey(XCB_KEY_PRESS, right, held, time));
        }
        QCOMPARE(m_pressed, QList<std::uint32_t>{5});
        QVERIFY(m_released.isEmpty());
        // The modifiers may come up first: the key's release still ends it.
        QVERIFY(deliverKey(XCB_KEY_RELEASE, right, 0, 2100));
        QTRY_COMPARE(m_released, QList<std::uint32_t>{5});
        settle();
        QCOMPARE(m_pressed, QList<std::uint32_t>{5});
        // A quick second press, of another moment, is a press of its own.
        QVERIFY(deliverKey(XCB_KEY_PRESS, right, held, 3000));
        QVERIFY(deliverKey(XCB_KEY_RELEASE, right, held, 3050));
        QVERIFY(deliverKey(XCB_KEY_PRESS, right, held, 3060));
        QVERIFY(deliverKey(XCB_KEY_RELEASE, right, held, 3100));
        QTRY_COMPARE(m_released, (QList<std::uint32_t>{5, 5, 5}));
        QCOMPARE(m_pressed, (QList<std::uint32_t>{5, 5, 5}));
        // Taps of the same moments, quicker than any keyboard repeats, as a program sends them.
        QVERIFY(deliverKey(XCB_KEY_PRESS, right, held, 4000));
        QVERIFY(deliverKey(XCB_KEY_RELEASE, right, held, 4001));
        QVERIFY(deliverKey(XCB_KEY_PRESS, right, held, 4001));
        QVERIFY(deliverKey(XCB_KEY_RELEASE, right, held, 4001));
        QVERIFY(deliverKey(XCB_KEY_PRESS, right, held, 4001));
        QVERIFY(deliverKey(XCB_KEY_RELEASE, right, held, 4002));
        QTRY_COMPARE(m_released.size(), 6);
        QCOMPARE(m_pressed.size(), 6);
        // A release of a key that is not down is not the service's.
        QVERIFY(!deliverKey(XCB_KEY_RELEASE, right, held, 3200));
    }

    void eachHotkeyGetsItsOwnId() {
        QVERIFY(bindHotkey(rightArrow, controlOptionCommand, 1));
        QVERIFY(bindHotkey(leftArrow, controlOptionCommand, 2));
        QVERIFY(bindHotkey(49, CarbonModifier::shift | CarbonModifier::control, 3));
        press(QStringLiteral("ctrl+alt+super+Left"));
        press(QStringLiteral("shift+ctrl+space"));
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{2, 3, 1}));
    }

    void aPressCountsWithCapsLockAndNumLockOn() {
        OtherClient observer;
        QVERIFY(observer.connected());
        const std::uint16_t numLock = observer.modifierOf(XK_Num_Lock);
        QVERIFY2(numLock != 0, "the server maps Num Lock to a modifier");
        QVERIFY(bindHotkey(rightArrow, controlOptionCommand, 4));

        press(QStringLiteral("Caps_Lock"));
        QTRY_VERIFY((observer.lockState() & XCB_MOD_MASK_LOCK) != 0);
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, QList<std::uint32_t>{4});

        press(QStringLiteral("Num_Lock"));
        QTRY_VERIFY((observer.lockState() & numLock) != 0);
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{4, 4}));

        press(QStringLiteral("Caps_Lock"));
        QTRY_VERIFY((observer.lockState() & XCB_MOD_MASK_LOCK) == 0);
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{4, 4, 4}));

        press(QStringLiteral("Num_Lock"));
        QTRY_VERIFY((observer.lockState() & numLock) == 0);
    }

    void anUnregisteredHotkeyNoLongerArrives() {
        const auto right = bindHotkey(rightArrow, controlOptionCommand, 1);
        const auto left = bindHotkey(leftArrow, controlOptionCommand, 2);
        QVERIFY(right && left);
        unbindHotkey(*right);
        press(QStringLiteral("ctrl+alt+super+Right"));
        press(QStringLiteral("ctrl+alt+super+Left"));
        QTRY_COMPARE(m_pressed, QList<std::uint32_t>{2});
        settle();
        QCOMPARE(m_pressed, QList<std::uint32_t>{2});
        // The grab itself is gone, lock variants included: another program may take it now.
        OtherClient other;
        const std::uint16_t modifiers = other.controlAltSuper();
        QVERIFY(other.grab(XK_Right, modifiers));
        QVERIFY(other.grab(XK_Right, modifiers | XCB_MOD_MASK_LOCK));
    }

    void oneCombinationRegisteredTwiceKeepsItsGrabUntilBothAreGone() {
        const auto first = bindHotkey(rightArrow, controlOptionCommand, 1);
        const auto second = bindHotkey(rightArrow, controlOptionCommand, 2);
        QVERIFY(first && second);
        unbindHotkey(*first);
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, QList<std::uint32_t>{2});
    }

    void aCombinationAnotherProgramHoldsYieldsNoHandleAndNothingElse() {
        OtherClient other;
        QVERIFY(other.connected());
        const std::uint16_t modifiers = other.controlAltSuper();
        // It holds only the Caps Lock variant: the plain one would be granted to us, and must
        // be given back when the other is refused.
        QVERIFY(other.grab(XK_Left, modifiers | XCB_MOD_MASK_LOCK));

        LogCapture log;
        QVERIFY(!bindHotkey(leftArrow, controlOptionCommand, 1));
        QVERIFY(bindHotkey(rightArrow, controlOptionCommand, 2));
        QCOMPARE(xcbErrors(log), 0);
        QVERIFY2(log.entries().isEmpty(), qPrintable(log.entries().value(0).message));

        press(QStringLiteral("ctrl+alt+super+Left"));
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, QList<std::uint32_t>{2});
        settle();
        QCOMPARE(m_pressed, QList<std::uint32_t>{2});

        // Nothing of the refused registration is still held by us.
        OtherClient third;
        QVERIFY(third.grab(XK_Left, modifiers));
        other.ungrab(XK_Left, modifiers | XCB_MOD_MASK_LOCK);
    }

    void everyKeyOfTheTableGrabsWithoutAnError() {
        OtherClient other;
        QVERIFY(other.connected());
        LogCapture log;
        QCOMPARE(KeyTable::keys().size(), std::size_t(100));
        std::set<int> refused;
        for (const KeyTable::Key& key : KeyTable::keys()) {
            const std::uint16_t keyCode = key.keyCode;
            const auto symbol = symbolOf(keyCode);
            QVERIFY2(symbol.has_value(), qPrintable(QString::number(keyCode)));
            const auto handle = bindHotkey(keyCode, controlOptionCommand, keyCode + 1U);
            // Refused only where the keymap has no key with the symbol.
            QCOMPARE(handle.has_value(), other.keyCode(*symbol) != 0);
            if (handle) {
                unbindHotkey(*handle);
            } else {
                refused.insert(keyCode);
            }
        }
        // The server's US keymap has no Clear, and puts the launcher symbols on F13 to F20.
        QCOMPARE(refused, (std::set<int>{64, 71, 79, 80, 90, 105, 106, 107, 113}));
        // Keys no hotkey is made of have no symbol: a media key, a letter said to be on the
        // keypad.
        QVERIFY(!X11KeySymbols::forKeys(QKeyCombination(Qt::Key_VolumeUp)).has_value());
        QVERIFY(
            !X11KeySymbols::forKeys(QKeyCombination(Qt::KeypadModifier, Qt::Key_A)).has_value());
        QCOMPARE(xcbErrors(log), 0);
        QVERIFY(!bindHotkey(10, controlOptionCommand, 1));
    }

    void aKeypadHotkeyCountsWithNumLockOnAndOff() {
        OtherClient observer;
        QVERIFY(observer.connected());
        const std::uint16_t numLock = observer.modifierOf(XK_Num_Lock);
        QVERIFY2(numLock != 0, "the server maps Num Lock to a modifier");
        LogCapture log;
        QVERIFY(bindHotkey(keypad5, controlOptionCommand, 1));
        QVERIFY(bindHotkey(keypadPoint, controlOptionCommand, 2));
        QVERIFY(bindHotkey(keypadEnter, controlOptionCommand, 3));
        // The main block's 5 and period are other keys.
        QVERIFY(bindHotkey(23, controlOptionCommand, 4));
        QVERIFY(bindHotkey(47, controlOptionCommand, 5));

        // Num Lock off: the keys send their navigation symbols.
        QVERIFY((observer.lockState() & numLock) == 0);
        press(QStringLiteral("ctrl+alt+super+KP_Begin"));
        press(QStringLiteral("ctrl+alt+super+KP_Delete"));
        press(QStringLiteral("ctrl+alt+super+KP_Enter"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 3}));

        press(QStringLiteral("Num_Lock"));
        QTRY_VERIFY((observer.lockState() & numLock) != 0);
        press(QStringLiteral("ctrl+alt+super+KP_Begin"));
        press(QStringLiteral("ctrl+alt+super+KP_Delete"));
        press(QStringLiteral("ctrl+alt+super+KP_Enter"));
        press(QStringLiteral("ctrl+alt+super+5"));
        press(QStringLiteral("ctrl+alt+super+period"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 3, 1, 2, 3, 4, 5}));
        settle();
        QCOMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 3, 1, 2, 3, 4, 5}));
        QCOMPARE(xcbErrors(log), 0);
        // cleanup() turns Num Lock off again.
    }

    void navigationAndFunctionKeysBeyondF12Fire() {
        OtherClient other;
        QVERIFY(other.connected());
        QVERIFY(bindHotkey(pageUp, controlOptionCommand, 1));
        QVERIFY(bindHotkey(insert, controlOptionCommand, 2));
        // No key of the server's keymap has F13: it is put on a spare key, as a keymap with
        // function keys up to F24 has it.
        QVERIFY(!bindHotkey(f13, controlOptionCommand, 3));
        const xcb_keycode_t spare = other.spareKey();
        QVERIFY(spare != 0);
        m_layoutChanged = true;
        other.setSymbols(spare, {XK_F13});
        QTRY_COMPARE(other.keyCode(XK_F13), spare);
        QVERIFY(bindHotkey(f13, controlOptionCommand, 3));

        press(QStringLiteral("ctrl+alt+super+Prior"));
        press(QStringLiteral("ctrl+alt+super+Insert"));
        press(QStringLiteral("ctrl+alt+super+F13"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 3}));
        press(QStringLiteral("ctrl+alt+super+Next"));
        press(QStringLiteral("ctrl+alt+super+KP_Prior"));
        settle();
        QCOMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 3}));
    }

    void keySymbols_data() {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<std::uint32_t>("symbol");

        QTest::newRow("A") << 0 << std::uint32_t{XK_a};
        QTest::newRow("Z") << 6 << std::uint32_t{XK_z};
        QTest::newRow("5") << 23 << std::uint32_t{XK_5};
        QTest::newRow("=") << 24 << std::uint32_t{XK_equal};
        QTest::newRow("]") << 30 << std::uint32_t{XK_bracketright};
        QTest::newRow("'") << 39 << std::uint32_t{XK_apostrophe};
        QTest::newRow("\\") << 42 << std::uint32_t{XK_backslash};
        QTest::newRow("`") << 50 << std::uint32_t{XK_grave};
        QTest::newRow("return") << 36 << std::uint32_t{XK_Return};
        QTest::newRow("tab") << 48 << std::uint32_t{XK_Tab};
        QTest::newRow("space") << 49 << std::uint32_t{XK_space};
        QTest::newRow("delete") << 51 << std::uint32_t{XK_BackSpace};
        QTest::newRow("escape") << 53 << std::uint32_t{XK_Escape};
        QTest::newRow("forward delete") << 117 << std::uint32_t{XK_Delete};
        QTest::newRow("home") << 115 << std::uint32_t{XK_Home};
        QTest::newRow("end") << 119 << std::uint32_t{XK_End};
        QTest::newRow("page up") << 116 << std::uint32_t{XK_Prior};
        QTest::newRow("page down") << 121 << std::uint32_t{XK_Next};
        QTest::newRow("F1") << 122 << std::uint32_t{XK_F1};
        QTest::newRow("F3") << 99 << std::uint32_t{XK_F3};
        QTest::newRow("F12") << 111 << std::uint32_t{XK_F12};
        QTest::newRow("left") << 123 << std::uint32_t{XK_Left};
        QTest::newRow("right") << 124 << std::uint32_t{XK_Right};
        QTest::newRow("down") << 125 << std::uint32_t{XK_Down};
        QTest::newRow("up") << 126 << std::uint32_t{XK_Up};
        QTest::newRow("insert") << 114 << std::uint32_t{XK_Insert};
        QTest::newRow("F13") << 105 << std::uint32_t{XK_F13};
        QTest::newRow("F17") << 64 << std::uint32_t{XK_F17};
        QTest::newRow("F20") << 90 << std::uint32_t{XK_F20};
        QTest::newRow("clear") << 71 << std::uint32_t{XK_Clear};
        // The symbols the keypad sends with Num Lock on.
        QTest::newRow("keypad 0") << 82 << std::uint32_t{XK_KP_0};
        QTest::newRow("keypad 7") << 89 << std::uint32_t{XK_KP_7};
        QTest::newRow("keypad 8") << 91 << std::uint32_t{XK_KP_8};
        QTest::newRow("keypad 9") << 92 << std::uint32_t{XK_KP_9};
        QTest::newRow("keypad point") << 65 << std::uint32_t{XK_KP_Decimal};
        QTest::newRow("keypad *") << 67 << std::uint32_t{XK_KP_Multiply};
        QTest::newRow("keypad +") << 69 << std::uint32_t{XK_KP_Add};
        QTest::newRow("keypad /") << 75 << std::uint32_t{XK_KP_Divide};
        QTest::newRow("keypad enter") << 76 << std::uint32_t{XK_KP_Enter};
        QTest::newRow("keypad -") << 78 << std::uint32_t{XK_KP_Subtract};
        QTest::newRow("keypad =") << 81 << std::uint32_t{XK_KP_Equal};
    }

    void keySymbols() {
        QFETCH(int, keyCode);
        QFETCH(std::uint32_t, symbol);

        QCOMPARE(symbolOf(std::uint16_t(keyCode)), std::optional(symbol));
    }

    void theLetterKeysAreTheirPlacesOnAnAnsiKeyboard() {
        QVERIFY(bindHotkey(0, 0, 1));                        // A
        QVERIFY(bindHotkey(13, CarbonModifier::control, 2)); // W
        QVERIFY(bindHotkey(117, CarbonModifier::option, 3)); // Delete
        press(QStringLiteral("ctrl+w"));
        press(QStringLiteral("a"));
        press(QStringLiteral("alt+Delete"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{2, 1, 3}));
    }

    void theHotkeysFollowALayoutSwitch() {
        OtherClient other;
        QVERIFY(other.connected());
        const std::uint16_t modifiers = other.controlAltSuper();
        // On the German layout Y and Z change places.
        const xcb_keycode_t zKey = other.keyCode(XK_z);
        const xcb_keycode_t yKey = other.keyCode(XK_y);
        QVERIFY(zKey != 0 && yKey != 0 && zKey != yKey);

        LogCapture log;
        QVERIFY(bindHotkey(6, controlOptionCommand, 1));  // Z
        QVERIFY(bindHotkey(40, controlOptionCommand, 2)); // K
        QVERIFY(bindHotkey(rightArrow, controlOptionCommand, 3));
        QVERIFY(bindHotkey(49, CarbonModifier::shift | CarbonModifier::control, 4));

        // Loading the layout in use again moves no key, so the grabs stay as they are.
        setLayout(QStringLiteral("us"));
        settle();
        QCOMPARE(reGrabs(log), 0);

        m_layoutChanged = true;
        setLayout(QStringLiteral("de"));
        QTRY_COMPARE(reGrabs(log), 1);
        QCOMPARE(other.keyCode(XK_z), yKey);
        QCOMPARE(other.keyCode(XK_y), zKey);

        // xdotool types a symbol on whichever key the layout has it.
        press(QStringLiteral("ctrl+alt+super+z"));
        press(QStringLiteral("ctrl+alt+super+k"));
        press(QStringLiteral("ctrl+alt+super+Right"));
        press(QStringLiteral("shift+ctrl+space"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 3, 4}));
        // The key that typed Z before now types Y, and is no hotkey of ours.
        press(QStringLiteral("ctrl+alt+super+y"));
        settle();
        QCOMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 3, 4}));
        // Its old grab is gone, lock variants included.
        QVERIFY(other.grabKey(zKey, modifiers));
        QVERIFY(other.grabKey(zKey, modifiers | XCB_MOD_MASK_LOCK));
        other.ungrabKey(zKey, modifiers);
        other.ungrabKey(zKey, modifiers | XCB_MOD_MASK_LOCK);
        // One switch, one round of grabs.
        QCOMPARE(reGrabs(log), 1);
        QCOMPARE(xcbErrors(log), 0);

        setLayout(QStringLiteral("us"));
        m_layoutChanged = false;
        QTRY_COMPARE(reGrabs(log), 2);
        press(QStringLiteral("ctrl+alt+super+z"));
        press(QStringLiteral("ctrl+alt+super+y"));
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 3, 4, 1, 3}));
        QVERIFY(other.grabKey(yKey, modifiers));
        other.ungrabKey(yKey, modifiers);
    }

    void aHotkeyAnotherProgramTookDuringASwitchComesBackWithTheNextSwitch() {
        OtherClient other;
        QVERIFY(other.connected());
        const std::uint16_t modifiers = other.controlAltSuper();
        // Where Z goes on the German layout.
        const xcb_keycode_t yKey = other.keyCode(XK_y);
        QVERIFY(other.grabKey(yKey, modifiers));

        LogCapture log;
        const auto z = bindHotkey(6, controlOptionCommand, 1);
        QVERIFY(z);
        QVERIFY(bindHotkey(40, controlOptionCommand, 2)); // K

        m_layoutChanged = true;
        setLayout(QStringLiteral("de"));
        QTRY_COMPARE(reGrabs(log), 1);
        // Said once: the several notifications of one switch made one try. Counted before any
        // press, since the first key xdotool sends can make its device the keyboard, which
        // reads as a mapping change of its own and makes another try.
        settle();
        const QString refused = QStringLiteral("Hotkey %1 does not work with this keyboard mapping")
                                    .arg(KeyTable::displayString(6, controlOptionCommand,
                                                                 KeyTable::ModifierStyle::words));
        QCOMPARE(log.count(QStringLiteral("com.scrubline.app.general"), QtWarningMsg, refused), 1);
        press(QStringLiteral("ctrl+alt+super+z"));
        press(QStringLiteral("ctrl+alt+super+k"));
        QTRY_COMPARE(m_pressed, QList<std::uint32_t>{2});
        settle();
        QCOMPARE(m_pressed, QList<std::uint32_t>{2});

        // Kept without a grab: the next switch grabs it again.
        other.ungrabKey(yKey, modifiers);
        setLayout(QStringLiteral("us"));
        m_layoutChanged = false;
        QTRY_COMPARE(reGrabs(log), 2);
        press(QStringLiteral("ctrl+alt+super+z"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{2, 1}));
        unbindHotkey(*z);
        QVERIFY(other.grab(XK_z, modifiers));
        other.ungrab(XK_z, modifiers);
        QCOMPARE(xcbErrors(log), 0);
    }

    void aKeyAnotherProgramMovesIsGrabbedWhereItWent() {
        OtherClient other;
        QVERIFY(other.connected());
        const std::uint16_t modifiers = other.controlAltSuper();
        const xcb_keycode_t kKey = other.keyCode(XK_k);
        const xcb_keycode_t spare = other.spareKey();
        QVERIFY(kKey != 0 && spare != 0);

        LogCapture log;
        QVERIFY(bindHotkey(40, controlOptionCommand, 1)); // K
        QVERIFY(bindHotkey(rightArrow, controlOptionCommand, 2));
        // K onto a key that had nothing, and something else onto K's own key.
        m_layoutChanged = true;
        other.setSymbols(spare, other.symbolsOf(kKey));
        other.setSymbols(kKey, {XK_F20});
        QTRY_COMPARE(other.keyCode(XK_k), spare);
        QTRY_COMPARE(reGrabs(log), 1);

        press(QStringLiteral("ctrl+alt+super+k"));
        press(QStringLiteral("ctrl+alt+super+Right"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{1, 2}));
        QVERIFY(other.grabKey(kKey, modifiers));
        other.ungrabKey(kKey, modifiers);
        QCOMPARE(xcbErrors(log), 0);

        setLayout(QStringLiteral("us"));
        m_layoutChanged = false;
        QTRY_COMPARE(reGrabs(log), 2);
        QCOMPARE(other.keyCode(XK_k), kKey);
        press(QStringLiteral("ctrl+alt+super+k"));
        QTRY_COMPARE(m_pressed, (QList<std::uint32_t>{1, 2, 1}));
    }
};

QTEST_MAIN(TestX11Hotkeys)
#include "tst_x11hotkeys.moc"
