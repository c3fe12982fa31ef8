#include "PortalTrigger.h"

#include <QHash>
#include <QLatin1String>
#include <QStringList>

#include <array>
#include <utility>

namespace {

std::optional<Qt::KeyboardModifier> modifierNamed(const QString& name) {
    static const QHash<QString, Qt::KeyboardModifier> modifiers{
        {QStringLiteral("CTRL"), Qt::ControlModifier},
        {QStringLiteral("CONTROL"), Qt::ControlModifier},
        {QStringLiteral("PRIMARY"), Qt::ControlModifier},
        {QStringLiteral("ALT"), Qt::AltModifier},
        {QStringLiteral("OPTION"), Qt::AltModifier},
        {QStringLiteral("SHIFT"), Qt::ShiftModifier},
        {QStringLiteral("LOGO"), Qt::MetaModifier},
        {QStringLiteral("META"), Qt::MetaModifier},
        {QStringLiteral("SUPER"), Qt::MetaModifier},
        {QStringLiteral("WIN"), Qt::MetaModifier},
    };
    const auto found = modifiers.constFind(name.trimmed().toUpper());
    if (found == modifiers.constEnd()) {
        return std::nullopt;
    }
    return *found;
}

QString canonicalKey(const QString& key) {
    static const QHash<QString, QString> keys{
        {QStringLiteral("PAGE_UP"), QStringLiteral("PRIOR")},
        {QStringLiteral("PGUP"), QStringLiteral("PRIOR")},
        {QStringLiteral("PAGE UP"), QStringLiteral("PRIOR")},
        {QStringLiteral("PAGEUP"), QStringLiteral("PRIOR")},
        {QStringLiteral("PAGE_DOWN"), QStringLiteral("NEXT")},
        {QStringLiteral("PGDOWN"), QStringLiteral("NEXT")},
        {QStringLiteral("PAGE DOWN"), QStringLiteral("NEXT")},
        {QStringLiteral("PAGEDOWN"), QStringLiteral("NEXT")},
        {QStringLiteral("RETURN"), QStringLiteral("ENTER")},
        {QStringLiteral("ESC"), QStringLiteral("ESCAPE")},
        {QStringLiteral("DEL"), QStringLiteral("DELETE")},
    };
    const QString upper = key.trimmed().toUpper();
    return keys.value(upper, upper);
}

} // namespace

std::optional<PortalTrigger> PortalTrigger::parse(const QString& description) {
    PortalTrigger trigger;
    const qsizetype bracket = description.indexOf(QLatin1Char('<'));
    if (bracket >= 0) {
        // GNOME's form: modifiers in angle brackets, the key after the last one, behind a
        // word of its own ("Press") in the user's language.
        qsizetype at = bracket;
        while (at < description.size() && description[at] == QLatin1Char('<')) {
            const qsizetype close = description.indexOf(QLatin1Char('>'), at);
            if (close < 0) {
                return std::nullopt;
            }
            const auto modifier = modifierNamed(description.mid(at + 1, close - at - 1));
            if (!modifier) {
                return std::nullopt;
            }
            trigger.m_modifiers |= *modifier;
            at = close + 1;
        }
        trigger.m_keyText = description.mid(at).trimmed();
    } else {
        QStringList parts = description.split(QLatin1Char('+'));
        // A combination of the plus key itself ends in an empty part after the last "+".
        if (parts.size() >= 2 && parts.last().isEmpty() && parts[parts.size() - 2].isEmpty()) {
            parts.removeLast();
            parts.last() = QStringLiteral("+");
        }
        trigger.m_keyText = parts.takeLast().trimmed();
        for (const QString& part : parts) {
            const auto modifier = modifierNamed(part);
            if (!modifier) {
                return std::nullopt;
            }
            trigger.m_modifiers |= *modifier;
        }
    }
    if (trigger.m_keyText.isEmpty() || modifierNamed(trigger.m_keyText)) {
        return std::nullopt;
    }
    trigger.m_key = canonicalKey(trigger.m_keyText);
    return trigger;
}

bool PortalTrigger::sameKeys(const QString& description, const QString& other) {
    const auto first = parse(description);
    const auto second = parse(other);
    return first && second && *first == *second;
}

QString PortalTrigger::modifierPrefix(Qt::KeyboardModifiers modifiers, Spelling spelling) {
    // In the order desktops write them.
    static constexpr std::array<std::pair<Qt::KeyboardModifier, std::array<const char*, 2>>, 4>
        names{{
            {Qt::ControlModifier, {"Ctrl+", "CTRL+"}},
            {Qt::AltModifier, {"Alt+", "ALT+"}},
            {Qt::ShiftModifier, {"Shift+", "SHIFT+"}},
            {Qt::MetaModifier, {"Super+", "LOGO+"}},
        }};
    QString text;
    for (const auto& [modifier, spelled] : names) {
        if (modifiers.testFlag(modifier)) {
            text += QLatin1String(spelled[spelling == Spelling::shown ? 0 : 1]);
        }
    }
    return text;
}

QString PortalTrigger::displayText() const {
    // Desktops write single letters in either case; the shortcut format writes them as typed.
    return modifierPrefix(m_modifiers, Spelling::shown) +
           (m_keyText.size() == 1 ? m_keyText.toUpper() : m_keyText);
}
