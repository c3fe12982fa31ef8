#include "views/settings/HotkeyRecorder.h"

#include "models/KeyTable.h"
#include "views/widgets/Style.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

const QString emptyText = QStringLiteral("Click to record");
const QString recordingText = QStringLiteral("Recording...");
const QString defaultLabel = QStringLiteral("Hotkey");

constexpr int leastWidth = 100;
constexpr int horizontalPadding = 10;
constexpr int verticalPadding = 4;
constexpr qreal cornerRadius = 6;
constexpr int dotSize = 6;
constexpr int dotGap = 5;

QColor withAlpha(QColor color, qreal alpha) {
    color.setAlphaF(alpha);
    return color;
}

} // namespace

HotkeyRecorder::HotkeyRecorder(KeyTable::ModifierStyle style, QWidget* parent)
    : QAbstractButton(parent)
    , m_accessibleLabel(defaultLabel)
    , m_style(style) {
    setFont(Style::calloutFont());
    // Tab reaches it and Space starts it; a click does not take the focus from the field the
    // user was in.
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (m_recording) {
            stopRecording();
        } else {
            startRecording();
        }
    });
    refresh();
}

HotkeyRecorder::~HotkeyRecorder() {
    // No filter may outlive the control, and the shell must take the global hotkeys back.
    stopRecording();
}

void HotkeyRecorder::setKeyCode(std::uint16_t keyCode) {
    if (keyCode != m_keyCode) {
        m_keyCode = keyCode;
        refresh();
    }
}

void HotkeyRecorder::setCarbonModifiers(std::uint32_t carbonModifiers) {
    if (carbonModifiers != m_carbonModifiers) {
        m_carbonModifiers = carbonModifiers;
        refresh();
    }
}

void HotkeyRecorder::setAccessibleLabel(const QString& label) {
    m_accessibleLabel = label;
    refresh();
}

QString HotkeyRecorder::displayText() const {
    // Key code 0 is A, but with no modifiers it is the mark of an action never recorded.
    if (m_keyCode == 0 && m_carbonModifiers == 0) {
        return emptyText;
    }
    return KeyTable::displayString(m_keyCode, m_carbonModifiers, m_style);
}

void HotkeyRecorder::startRecording() {
    if (m_recording) {
        return;
    }
    m_recording = true;
    // Only key presses this program receives; the shell lets go of the global grabs meanwhile.
    qApp->installEventFilter(this);
    refresh();
    emit recordingChanged(true);
}

void HotkeyRecorder::stopRecording() {
    if (!m_recording) {
        return;
    }
    m_recording = false;
    if (QCoreApplication* app = QCoreApplication::instance()) {
        app->removeEventFilter(this);
    }
    refresh();
    emit recordingChanged(false);
}

bool HotkeyRecorder::eventFilter(QObject* watched, QEvent* event) {
    if (!m_recording) {
        return QAbstractButton::eventFilter(watched, event);
    }
    if (event->type() == QEvent::ShortcutOverride) {
        // Accepted, no shortcut of the program fires and the press comes as a plain key press,
        // which is taken below.
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        record(*static_cast<QKeyEvent*>(event));
        return true;
    }
    return QAbstractButton::eventFilter(watched, event);
}

void HotkeyRecorder::record(const QKeyEvent& event) {
    // The key before the modifiers, so that Shift+Escape cancels too and Escape is never a
    // hotkey.
    if (event.key() == Qt::Key_Escape) {
        stopRecording();
        return;
    }
    if (hotkeyModifiers(event.modifiers()) == Qt::NoModifier) {
        // A bare key would take a letter away from every program; it is refused silently.
        return;
    }
    const std::optional<QKeyCombination> keys = keysFor(event);
    const auto stored = keys ? KeyTable::toStoredKeys(*keys) : std::nullopt;
    if (!stored) {
        // A modifier on its own, or a key no hotkey can be made of: wait for the next.
        return;
    }
    m_keyCode = stored->keyCode;
    m_carbonModifiers = stored->carbonModifiers;
    emit changed(m_keyCode, m_carbonModifiers);
    stopRecording();
}

Qt::KeyboardModifiers HotkeyRecorder::hotkeyModifiers(Qt::KeyboardModifiers modifiers) const {
    // Keypad and group-switch modifiers are dropped: they are not part of a combination.
    Qt::KeyboardModifiers held;
    if (modifiers & Qt::ShiftModifier) {
        held |= Qt::ShiftModifier;
    }
    if (modifiers & m_mapping.control) {
        held |= Qt::ControlModifier;
    }
    if (modifiers & Qt::AltModifier) {
        held |= Qt::AltModifier;
    }
    if (modifiers & m_mapping.command) {
        held |= Qt::MetaModifier;
    }
    return held;
}

std::optional<QKeyCombination> HotkeyRecorder::keysFor(const QKeyEvent& event) const {
    // The keypad and the shifted symbols of the top rows are told apart by the modifiers.
    const auto key = KeyTable::forKeyPress(static_cast<Qt::Key>(event.key()), event.modifiers(),
                                           m_mapping.keypadFlag);
    if (!key) {
        return std::nullopt;
    }
    Qt::KeyboardModifiers modifiers = hotkeyModifiers(event.modifiers());
    if (key->keypad) {
        modifiers |= Qt::KeypadModifier;
    }
    return QKeyCombination(modifiers, key->qtKey);
}

void HotkeyRecorder::refresh() {
    const QString shown = m_recording ? recordingText : displayText();
    setText(shown);
    setAccessibleName(m_recording ? m_accessibleLabel + QStringLiteral(", recording")
                                  : m_accessibleLabel);
    setAccessibleDescription(shown);
    updateGeometry();
    update();
}

void HotkeyRecorder::hideEvent(QHideEvent* event) {
    stopRecording();
    QAbstractButton::hideEvent(event);
}

void HotkeyRecorder::enterEvent(QEnterEvent* event) {
    m_hovered = true;
    update();
    QAbstractButton::enterEvent(event);
}

void HotkeyRecorder::leaveEvent(QEvent* event) {
    m_hovered = false;
    update();
    QAbstractButton::leaveEvent(event);
}

QSize HotkeyRecorder::sizeHint() const {
    // Room for both states, so that the row does not shift when recording starts.
    // Fractional widths rounded up, or the painter would elide a text that just fits.
    const QFontMetricsF metrics(font());
    const qreal content = std::max(metrics.horizontalAdvance(displayText()),
                                   dotSize + dotGap + metrics.horizontalAdvance(recordingText));
    return {std::max(leastWidth, int(std::ceil(content)) + 2 * horizontalPadding),
            int(std::ceil(metrics.height())) + 2 * verticalPadding};
}

QSize HotkeyRecorder::minimumSizeHint() const {
    return {leastWidth, sizeHint().height()};
}

void HotkeyRecorder::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& colors = palette();
    const bool dark = Style::isDark(colors);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);

    QColor fill = Qt::transparent;
    if (m_recording) {
        fill = withAlpha(Style::accent(colors), dark ? 0.22 : 0.12);
    } else if (m_hovered) {
        const QColor primary = Style::primary(colors);
        fill = withAlpha(primary, primary.alphaF() * (dark ? 0.12 : 0.07));
    }
    const QColor secondary = Style::secondary(colors);
    const QColor outline =
        m_recording ? Style::accent(colors) : withAlpha(secondary, secondary.alphaF() * 0.5);
    painter.setBrush(fill);
    painter.setPen(QPen(outline, 1));
    painter.drawRoundedRect(frame, cornerRadius, cornerRadius);

    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(withAlpha(Style::accent(colors), 0.55), 2));
        painter.drawRoundedRect(frame.adjusted(1, 1, -1, -1), cornerRadius - 1, cornerRadius - 1);
    }

    const QFontMetrics metrics = fontMetrics();
    const QRect inside = rect().adjusted(horizontalPadding, 0, -horizontalPadding, 0);
    painter.setPen(Style::primary(colors));
    if (!m_recording) {
        painter.drawText(inside, Qt::AlignCenter,
                         metrics.elidedText(text(), Qt::ElideRight, inside.width()));
        return;
    }
    const QString label =
        metrics.elidedText(text(), Qt::ElideRight, inside.width() - dotSize - dotGap);
    const int contentWidth = dotSize + dotGap + metrics.horizontalAdvance(label);
    const qreal left = inside.left() + (inside.width() - contentWidth) / 2.0;
    painter.setPen(Qt::NoPen);
    painter.setBrush(Style::red(colors));
    painter.drawEllipse(QRectF(left, (height() - dotSize) / 2.0, dotSize, dotSize));
    painter.setPen(Style::primary(colors));
    painter.drawText(QRectF(left + dotSize + dotGap, 0, inside.width(), height()),
                     Qt::AlignLeft | Qt::AlignVCenter, label);
}
