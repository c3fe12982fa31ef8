#include "models/KeyTable.h"

#include <QtTest>

#include <array>

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

namespace {

void addQtKeyRow(Qt::Key qtKey, int keyCode) {
    QTest::addRow("0x%x to %d", unsigned(qtKey), keyCode) << qtKey << keyCode;
}

constexpr int refused = -1;

// A key press as the toolkit reports it on a US keyboard, and the code it records.
struct Press {
    QByteArray name;
    Qt::Key qtKey;
    Qt::KeyboardModifiers modifiers;
    int keyCode;
};

std::vector<Press> usPresses();

} // namespace

class TestKeyTable : public QObject {
    Q_OBJECT

private slots:
    // Where the toolkit flags the arrow keys as keypad keys (macOS), a flagged key outside the
    // keypad is the key itself; keypad keys stay keypad keys.
    void whereTheFlagMeansTheKeyItselfAnArrowIsAnArrow() {
        const auto itself = KeyTable::KeypadFlag::keyItself;
        const auto read = [itself](Qt::Key key, Qt::KeyboardModifiers modifiers) {
            const auto found = KeyTable::forKeyPress(key, modifiers, itself);
            return found ? int(found->keyCode) : -1;
        };
        QCOMPARE(read(Qt::Key_Left, Qt::KeypadModifier), 123);
        QCOMPARE(read(Qt::Key_Up, Qt::KeypadModifier | Qt::ControlModifier), 126);
        QCOMPARE(read(Qt::Key_PageUp, Qt::KeypadModifier), 116);
        QCOMPARE(read(Qt::Key_5, Qt::KeypadModifier), 87);
        QCOMPARE(read(Qt::Key_Enter, Qt::KeypadModifier), 76);
        // The same presses read the other way.
        QCOMPARE(KeyTable::forKeyPress(Qt::Key_Left, Qt::KeypadModifier)->keyCode, 86);
    }

    void keysAreAscendingAndNamed() {
        const auto keys = KeyTable::keys();
        QCOMPARE(keys.size(), std::size_t(100));
        int previous = -1;
        for (const KeyTable::Key& key : keys) {
            QVERIFY2(key.keyCode > previous, qPrintable(QString::number(key.keyCode)));
            previous = key.keyCode;
            QCOMPARE(KeyTable::keyName(key.keyCode), QString::fromUtf8(key.name));
            QVERIFY(KeyTable::forKeyCode(key.keyCode).has_value());
        }
    }

    // As a PC desktop writes them: words joined by "+", and the keys a Mac shows as glyphs by
    // what a PC keyboard prints on them; the arrows stay arrows.
    void combinationsInWords() {
        constexpr auto glyphs = KeyTable::ModifierStyle::glyphs;
        constexpr auto words = KeyTable::ModifierStyle::words;
        QCOMPARE(KeyTable::displayString(124, 6400, glyphs),
                 QStringLiteral("\u2303\u2325\u2318\u2192"));
        QCOMPARE(KeyTable::displayString(124, 6400, words),
                 QStringLiteral("Ctrl+Alt+Super+\u2192"));
        QCOMPARE(
            KeyTable::displayString(116, CarbonModifier::control | CarbonModifier::shift, words),
            QStringLiteral("Ctrl+Shift+PgUp"));
        QCOMPARE(KeyTable::displayString(53, CarbonModifier::option, words),
                 QStringLiteral("Alt+Esc"));
        QCOMPARE(KeyTable::displayString(36, CarbonModifier::command, words),
                 QStringLiteral("Super+Enter"));
        QCOMPARE(KeyTable::displayString(0, 0, words), QStringLiteral("A"));
        // Every key has a name without a Mac glyph.
        for (const KeyTable::Key& key : KeyTable::keys()) {
            const QString text = KeyTable::displayString(key.keyCode, 0, words);
            for (const QChar glyph : {QChar(0x21A9), QChar(0x21E5), QChar(0x232B), QChar(0x238B),
                                      QChar(0x2196), QChar(0x2326), QChar(0x2198)}) {
                QVERIFY2(!text.contains(glyph), qPrintable(text));
            }
        }
    }

    void everyKeyComesBackFromItsQtKey() {
        // A recorded key press must store the very code that is shown and grabbed.
        std::set<std::pair<int, bool>> qtKeys;
        for (const KeyTable::Key& key : KeyTable::keys()) {
            const QString code = QString::number(key.keyCode);
            QVERIFY2(key.qtKey != Qt::Key_unknown, qPrintable(code));
            QVERIFY2(qtKeys.insert({key.qtKey, key.keypad}).second, qPrintable(code));
            QCOMPARE(KeyTable::forKeyCode(key.keyCode)->qtKey, key.qtKey);
            QCOMPARE(KeyTable::forKeyCode(key.keyCode)->keypad, key.keypad);
            const Qt::KeyboardModifiers keypad = key.keypad ? Qt::KeypadModifier : Qt::NoModifier;
            // Whatever modifiers make the combination, the key is the same.
            for (const Qt::KeyboardModifiers modifiers :
                 {Qt::KeyboardModifiers(Qt::NoModifier),
                  Qt::KeyboardModifiers(Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier),
                  Qt::KeyboardModifiers(Qt::ShiftModifier | Qt::ControlModifier)}) {
                const auto pressed = KeyTable::forKeyPress(key.qtKey, modifiers | keypad);
                QVERIFY2(pressed.has_value(), qPrintable(code));
                QCOMPARE(pressed->keyCode, key.keyCode);
            }
            const auto found = KeyTable::forQtKey(key.qtKey);
            if (key.keypad) {
                // Without the flag the toolkit's key is the main block's, or none.
                QVERIFY2(!found || !found->keypad, qPrintable(code));
                QVERIFY2(!found || found->keyCode != key.keyCode, qPrintable(code));
            } else {
                QVERIFY2(found.has_value(), qPrintable(code));
                QCOMPARE(found->keyCode, key.keyCode);
            }
        }
    }

    void usKeyboard_data() {
        QTest::addColumn<Qt::Key>("qtKey");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<int>("keyCode");
        for (const Press& press : usPresses()) {
            QTest::newRow(press.name.constData())
                << press.qtKey << press.modifiers << press.keyCode;
        }
    }

    void usKeyboard() {
        QFETCH(Qt::Key, qtKey);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(int, keyCode);

        const auto key = KeyTable::forKeyPress(qtKey, modifiers);
        QCOMPARE(key ? int(key->keyCode) : refused, keyCode);
    }

    void theUsKeyboardReachesEveryKeyOfTheTable() {
        // The presses above record every key of the table: none is left that nothing records.
        std::set<int> recorded;
        for (const Press& press : usPresses()) {
            recorded.insert(press.keyCode);
        }
        for (const KeyTable::Key& key : KeyTable::keys()) {
            QVERIFY2(recorded.count(key.keyCode) == 1, qPrintable(QString::number(key.keyCode)));
        }
    }

    void qtKeys_data() {
        QTest::addColumn<Qt::Key>("qtKey");
        QTest::addColumn<int>("keyCode");

        addQtKeyRow(Qt::Key_A, 0);
        addQtKeyRow(Qt::Key_Z, 6);
        addQtKeyRow(Qt::Key_K, 40);
        addQtKeyRow(Qt::Key_0, 29);
        addQtKeyRow(Qt::Key_5, 23);
        addQtKeyRow(Qt::Key_QuoteLeft, 50);
        addQtKeyRow(Qt::Key_Backslash, 42);
        addQtKeyRow(Qt::Key_Return, 36);
        addQtKeyRow(Qt::Key_Space, 49);
        // macOS's delete is the toolkit's backspace; forward delete is delete.
        addQtKeyRow(Qt::Key_Backspace, 51);
        addQtKeyRow(Qt::Key_Delete, 117);
        addQtKeyRow(Qt::Key_PageUp, 116);
        addQtKeyRow(Qt::Key_PageDown, 121);
        addQtKeyRow(Qt::Key_F1, 122);
        addQtKeyRow(Qt::Key_F12, 111);
        addQtKeyRow(Qt::Key_Left, 123);
        addQtKeyRow(Qt::Key_Right, 124);
        addQtKeyRow(Qt::Key_Down, 125);
        addQtKeyRow(Qt::Key_Up, 126);
    }

    void qtKeys() {
        QFETCH(Qt::Key, qtKey);
        QFETCH(int, keyCode);

        const auto key = KeyTable::forQtKey(qtKey);
        QVERIFY(key.has_value());
        QCOMPARE(int(key->keyCode), keyCode);
    }

    // The stored form and the combination turn into each other and back for every key of the
    // table under every set of the four modifiers.
    void everyStoredHotkeyRoundTripsThroughItsCombination() {
        const std::array<std::uint32_t, 4> bits{CarbonModifier::control, CarbonModifier::option,
                                                CarbonModifier::shift, CarbonModifier::command};
        for (const KeyTable::Key& key : KeyTable::keys()) {
            for (std::uint32_t set = 0; set < 16; ++set) {
                std::uint32_t mask = 0;
                for (std::size_t bit = 0; bit < bits.size(); ++bit) {
                    mask |= (set & (1U << bit)) != 0 ? bits[bit] : 0;
                }
                const KeyTable::StoredKeys stored{key.keyCode, mask};
                const auto keys = KeyTable::toKeyCombination(stored);
                QVERIFY2(keys.has_value(), key.name);
                QCOMPARE(keys->key(), key.qtKey);
                QCOMPARE(keys->keyboardModifiers().testFlag(Qt::KeypadModifier), key.keypad);
                QCOMPARE(KeyTable::toStoredKeys(*keys), std::optional(stored));
                for (const auto style :
                     {KeyTable::ModifierStyle::glyphs, KeyTable::ModifierStyle::words}) {
                    QCOMPARE(KeyTable::displayString(*keys, style),
                             KeyTable::displayString(key.keyCode, mask, style));
                }
            }
        }
    }

    void theModifiersAreNamedAsOnAPcKeyboard_data() {
        QTest::addColumn<std::uint32_t>("mask");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::newRow("none") << std::uint32_t{0} << Qt::KeyboardModifiers();
        QTest::newRow("control") << CarbonModifier::control
                                 << Qt::KeyboardModifiers(Qt::ControlModifier);
        QTest::newRow("option") << CarbonModifier::option << Qt::KeyboardModifiers(Qt::AltModifier);
        QTest::newRow("shift") << CarbonModifier::shift << Qt::KeyboardModifiers(Qt::ShiftModifier);
        QTest::newRow("command") << CarbonModifier::command
                                 << Qt::KeyboardModifiers(Qt::MetaModifier);
        QTest::newRow("all four") << std::uint32_t{6912}
                                  << (Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier |
                                      Qt::MetaModifier);
    }

    void theModifiersAreNamedAsOnAPcKeyboard() {
        QFETCH(std::uint32_t, mask);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QCOMPARE(KeyTable::toQtModifiers(mask), modifiers);
        QCOMPARE(KeyTable::toCarbonModifiers(modifiers), mask);
        QCOMPARE(KeyTable::toKeyCombination({124, mask}),
                 std::optional(QKeyCombination(modifiers, Qt::Key_Right)));
    }

    void whatNoStoredHotkeyCanBeHasNoOtherForm() {
        // A code outside the table, and bits beyond the four.
        QVERIFY(!KeyTable::toKeyCombination({10, CarbonModifier::control}).has_value());
        QVERIFY(!KeyTable::toKeyCombination({124, CarbonModifier::control | 0x1}).has_value());
        // A key the table has no code for, a keypad key that is none, another modifier.
        QVERIFY(
            !KeyTable::toStoredKeys(QKeyCombination(Qt::ControlModifier, Qt::Key_F21)).has_value());
        QVERIFY(!KeyTable::toStoredKeys(
                     QKeyCombination(Qt::ControlModifier | Qt::KeypadModifier, Qt::Key_A))
                     .has_value());
        QVERIFY(!KeyTable::toStoredKeys(
                     QKeyCombination(Qt::ControlModifier | Qt::GroupSwitchModifier, Qt::Key_A))
                     .has_value());
        // Shown all the same, in case a log line names one.
        QCOMPARE(KeyTable::displayString(QKeyCombination(Qt::ControlModifier, Qt::Key_F21),
                                         KeyTable::ModifierStyle::words),
                 QStringLiteral("Ctrl+Key?"));
        // The keypad's point and the main block's are two keys.
        QCOMPARE(KeyTable::toStoredKeys(QKeyCombination(Qt::AltModifier, Qt::Key_Period)),
                 std::optional(KeyTable::StoredKeys{47, CarbonModifier::option}));
        QCOMPARE(KeyTable::toStoredKeys(
                     QKeyCombination(Qt::AltModifier | Qt::KeypadModifier, Qt::Key_Period)),
                 std::optional(KeyTable::StoredKeys{65, CarbonModifier::option}));
    }

    void keysOutsideTheTableHaveNoCode() {
        // Keypad keys and the keys that stand for others are found only through forKeyPress.
        for (const Qt::Key qtKey :
             {Qt::Key_unknown, Qt::Key_Enter, Qt::Key_Backtab, Qt::Key_Asterisk, Qt::Key_Plus,
              Qt::Key_Exclam, Qt::Key_Shift, Qt::Key_Control, Qt::Key_Meta, Qt::Key_Alt,
              Qt::Key_CapsLock, Qt::Key_NumLock, Qt::Key_MediaPlay, Qt::Key_Help}) {
            QVERIFY2(!KeyTable::forQtKey(qtKey).has_value(), qPrintable(QString::number(qtKey)));
        }
        QVERIFY(!KeyTable::forKeyCode(10).has_value());
        QVERIFY(!KeyTable::forKeyCode(52).has_value());
        for (const int keyCode :
             {66, 68, 70, 72, 73, 74, 77, 93, 94, 95, 102, 104, 108, 110, 112}) {
            QVERIFY2(!KeyTable::forKeyCode(std::uint16_t(keyCode)).has_value(),
                     qPrintable(QString::number(keyCode)));
        }
        QVERIFY(!KeyTable::forKeyCode(127).has_value());
        QVERIFY(!KeyTable::forKeyCode(65535).has_value());
    }
};

namespace {

std::vector<Press> usPresses() {
    std::vector<Press> presses;
    const auto addPressRow = [&presses](const QByteArray& name, Qt::Key qtKey,
                                        Qt::KeyboardModifiers modifiers, int keyCode) {
        presses.push_back({name, qtKey, modifiers, keyCode});
    };

    const Qt::KeyboardModifiers none = Qt::NoModifier;
    const Qt::KeyboardModifiers shift = Qt::ShiftModifier;
    const Qt::KeyboardModifiers keypad = Qt::KeypadModifier;
    const Qt::KeyboardModifiers held = Qt::ControlModifier | Qt::AltModifier;

    // The toolkit names a letter by its capital, with Shift or without.
    const int letters[] = {0,  11, 8,  2,  14, 3, 5,  4,  34, 38, 40, 37, 46,
                           45, 31, 35, 12, 15, 1, 17, 32, 9,  13, 7,  16, 6};
    for (int i = 0; i < 26; ++i) {
        const auto qtKey = Qt::Key(Qt::Key_A + i);
        const QByteArray name = QByteArray(1, char('A' + i));
        addPressRow(name, qtKey, none, letters[i]);
        addPressRow("shift+" + name, qtKey, shift, letters[i]);
    }
    const int digits[] = {29, 18, 19, 20, 21, 23, 22, 26, 28, 25};
    for (int i = 0; i < 10; ++i) {
        addPressRow(QByteArray::number(i), Qt::Key(Qt::Key_0 + i), held, digits[i]);
    }
    // Shift+1 to Shift+0 on a US layout.
    const Qt::Key shiftedDigits[] = {Qt::Key_ParenRight,  Qt::Key_Exclam,    Qt::Key_At,
                                     Qt::Key_NumberSign,  Qt::Key_Dollar,    Qt::Key_Percent,
                                     Qt::Key_AsciiCircum, Qt::Key_Ampersand, Qt::Key_Asterisk,
                                     Qt::Key_ParenLeft};
    for (int i = 0; i < 10; ++i) {
        addPressRow("shift+" + QByteArray::number(i), shiftedDigits[i], shift | held, digits[i]);
    }
    struct Punctuation {
        const char* name;
        Qt::Key plain;
        Qt::Key shifted;
        int keyCode;
    };
    const Punctuation punctuation[] = {
        {"-", Qt::Key_Minus, Qt::Key_Underscore, 27},
        {"=", Qt::Key_Equal, Qt::Key_Plus, 24},
        {"[", Qt::Key_BracketLeft, Qt::Key_BraceLeft, 33},
        {"]", Qt::Key_BracketRight, Qt::Key_BraceRight, 30},
        {"\\", Qt::Key_Backslash, Qt::Key_Bar, 42},
        {";", Qt::Key_Semicolon, Qt::Key_Colon, 41},
        {"'", Qt::Key_Apostrophe, Qt::Key_QuoteDbl, 39},
        {",", Qt::Key_Comma, Qt::Key_Less, 43},
        {".", Qt::Key_Period, Qt::Key_Greater, 47},
        {"/", Qt::Key_Slash, Qt::Key_Question, 44},
        {"`", Qt::Key_QuoteLeft, Qt::Key_AsciiTilde, 50},
    };
    for (const Punctuation& key : punctuation) {
        addPressRow(key.name, key.plain, held, key.keyCode);
        addPressRow(QByteArray("shift+") + key.name, key.plain, shift, key.keyCode);
        addPressRow(QByteArray("shifted ") + key.name, key.shifted, shift | held, key.keyCode);
    }

    const int functionKeys[] = {122, 120, 99,  118, 96,  97,  98, 100, 101, 109,
                                103, 111, 105, 107, 113, 106, 64, 79,  80,  90};
    for (int i = 0; i < 20; ++i) {
        addPressRow("F" + QByteArray::number(i + 1), Qt::Key(Qt::Key_F1 + i), held,
                    functionKeys[i]);
    }

    // The keypad with Num Lock on.
    const int keypadDigits[] = {82, 83, 84, 85, 86, 87, 88, 89, 91, 92};
    for (int i = 0; i < 10; ++i) {
        addPressRow("keypad " + QByteArray::number(i), Qt::Key(Qt::Key_0 + i), keypad | held,
                    keypadDigits[i]);
    }
    addPressRow("keypad .", Qt::Key_Period, keypad, 65);
    addPressRow("keypad *", Qt::Key_Asterisk, keypad, 67);
    addPressRow("keypad +", Qt::Key_Plus, keypad, 69);
    addPressRow("keypad /", Qt::Key_Slash, keypad, 75);
    addPressRow("keypad enter", Qt::Key_Enter, keypad, 76);
    addPressRow("keypad -", Qt::Key_Minus, keypad, 78);
    addPressRow("keypad =", Qt::Key_Equal, keypad, 81);
    addPressRow("shift+keypad *", Qt::Key_Asterisk, keypad | shift, 67);
    addPressRow("shift+keypad +", Qt::Key_Plus, keypad | shift, 69);
    addPressRow("enter", Qt::Key_Enter, none, 76);
    // The keypad with Num Lock off, or with Shift while it is on: the same keys.
    addPressRow("keypad insert", Qt::Key_Insert, keypad, 82);
    addPressRow("keypad end", Qt::Key_End, keypad | shift, 83);
    addPressRow("keypad down", Qt::Key_Down, keypad, 84);
    addPressRow("keypad page down", Qt::Key_PageDown, keypad, 85);
    addPressRow("keypad left", Qt::Key_Left, keypad, 86);
    addPressRow("keypad begin", Qt::Key_Clear, keypad, 87);
    addPressRow("keypad right", Qt::Key_Right, keypad, 88);
    addPressRow("keypad home", Qt::Key_Home, keypad, 89);
    addPressRow("keypad up", Qt::Key_Up, keypad | held, 91);
    addPressRow("keypad page up", Qt::Key_PageUp, keypad, 92);
    addPressRow("keypad delete", Qt::Key_Delete, keypad, 65);
    // No keypad key of a PC keyboard reports these.
    addPressRow("keypad A", Qt::Key_A, keypad, refused);
    addPressRow("keypad tab", Qt::Key_Tab, keypad, refused);

    addPressRow("insert", Qt::Key_Insert, held, 114);
    addPressRow("delete", Qt::Key_Delete, held, 117);
    addPressRow("home", Qt::Key_Home, held, 115);
    addPressRow("end", Qt::Key_End, held, 119);
    addPressRow("page up", Qt::Key_PageUp, held, 116);
    addPressRow("page down", Qt::Key_PageDown, held, 121);
    addPressRow("left", Qt::Key_Left, held, 123);
    addPressRow("right", Qt::Key_Right, held, 124);
    addPressRow("down", Qt::Key_Down, held, 125);
    addPressRow("up", Qt::Key_Up, held, 126);
    addPressRow("return", Qt::Key_Return, held, 36);
    addPressRow("tab", Qt::Key_Tab, held, 48);
    addPressRow("shift+tab", Qt::Key_Backtab, shift | held, 48);
    addPressRow("space", Qt::Key_Space, held, 49);
    addPressRow("shift+space", Qt::Key_Space, shift, 49);
    addPressRow("backspace", Qt::Key_Backspace, held, 51);
    // The recorder itself refuses it as a hotkey; it is a key of the table all the same.
    addPressRow("escape", Qt::Key_Escape, none, 53);
    addPressRow("shift+escape", Qt::Key_Escape, shift, 53);
    addPressRow("clear", Qt::Key_Clear, held, 71);

    // Refused on purpose: a modifier or a lock is no key of a combination, and the other
    // keys have no code to be stored under.
    const std::pair<const char*, Qt::Key> noCode[] = {
        {"shift alone", Qt::Key_Shift},
        {"control alone", Qt::Key_Control},
        {"alt alone", Qt::Key_Alt},
        {"super alone", Qt::Key_Meta},
        {"left super", Qt::Key_Super_L},
        {"right super", Qt::Key_Super_R},
        {"alt gr", Qt::Key_AltGr},
        {"caps lock", Qt::Key_CapsLock},
        {"num lock", Qt::Key_NumLock},
        {"scroll lock", Qt::Key_ScrollLock},
        {"print", Qt::Key_Print},
        {"pause", Qt::Key_Pause},
        {"menu", Qt::Key_Menu},
        {"help", Qt::Key_Help},
        {"play", Qt::Key_MediaPlay},
        {"volume up", Qt::Key_VolumeUp},
        {"F21", Qt::Key_F21},
        {"unknown", Qt::Key_unknown},
        // Within the range of the enumeration (up to Key_unknown), so the value itself is valid.
        {"not a key", Qt::Key(0x01234567)},
        {"shift+- alone", Qt::Key_Underscore},
    };
    for (const auto& [name, qtKey] : noCode) {
        // Underscore without Shift is no key press a US keyboard makes.
        addPressRow(name, qtKey, qtKey == Qt::Key_Underscore ? none : shift | held, refused);
    }
    return presses;
}

} // namespace

QTEST_GUILESS_MAIN(TestKeyTable)
#include "tst_keytable.moc"
