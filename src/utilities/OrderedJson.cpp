#include "OrderedJson.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace {

void writeString(QByteArray& out, const QString& text) {
    out += '"';
    for (const char c : text.toUtf8()) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        default:
            if (byte < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
                out += escaped;
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

// Shortest text that reads back as the same double ("10", "2.5", "1e+16").
bool writeNumber(QByteArray& out, double value) {
    if (!std::isfinite(value)) {
        return false;
    }
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr - buffer);
    return true;
}

void newline(QByteArray& out, int depth) {
    out += '\n';
    out += QByteArray(depth * 2, ' ');
}

} // namespace

std::optional<QByteArray> OrderedJson::serialize(Style style) const {
    QByteArray out;
    if (!write(out, style, 0)) {
        return std::nullopt;
    }
    return out;
}

bool OrderedJson::write(QByteArray& out, Style style, int depth) const {
    const bool pretty = style == Style::PrettySorted;
    if (std::holds_alternative<std::nullptr_t>(m_value)) {
        out += "null";
    } else if (const auto* flag = std::get_if<bool>(&m_value)) {
        out += *flag ? "true" : "false";
    } else if (const auto* integer = std::get_if<std::int64_t>(&m_value)) {
        out += QByteArray::number(static_cast<qlonglong>(*integer));
    } else if (const auto* real = std::get_if<double>(&m_value)) {
        return writeNumber(out, *real);
    } else if (const auto* text = std::get_if<QString>(&m_value)) {
        writeString(out, *text);
    } else if (const auto* array = std::get_if<Array>(&m_value)) {
        out += '[';
        for (size_t i = 0; i < array->size(); ++i) {
            if (i > 0) {
                out += ',';
            }
            if (pretty) {
                newline(out, depth + 1);
            }
            if (!(*array)[i].write(out, style, depth + 1)) {
                return false;
            }
        }
        if (pretty && !array->empty()) {
            newline(out, depth);
        }
        out += ']';
    } else {
        std::vector<const Member*> members;
        for (const Member& member : std::get<Object>(m_value)) {
            members.push_back(&member);
        }
        if (pretty) {
            std::stable_sort(members.begin(), members.end(),
                             [](const Member* a, const Member* b) { return a->first < b->first; });
        }
        out += '{';
        for (size_t i = 0; i < members.size(); ++i) {
            if (i > 0) {
                out += ',';
            }
            if (pretty) {
                newline(out, depth + 1);
            }
            writeString(out, members[i]->first);
            out += pretty ? " : " : ":";
            if (!members[i]->second.write(out, style, depth + 1)) {
                return false;
            }
        }
        if (pretty && !members.empty()) {
            newline(out, depth);
        }
        out += '}';
    }
    return true;
}
