#include "views/settings/ActionRowHeader.h"

#include "views/widgets/PaletteFollower.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolButton.h"
#include "views/widgets/SymbolView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

namespace {

constexpr int padding = 6;
constexpr int spacing = 8;
constexpr int chevronSize = 10;
constexpr int chevronFrame = 12;
constexpr int directionSize = 16;
constexpr int directionFrame = 22;
constexpr int conflictSize = 12;
constexpr int trashSize = 14;
constexpr qreal groundRadius = 6;
constexpr qreal keyCapRadius = 5;
constexpr int groundFadeMs = 100;
constexpr int deleteFadeMs = 150;

QColor withAlpha(QColor color, qreal alpha) {
    color.setAlphaF(color.alphaF() * alpha);
    return color;
}

void fade(QVariantAnimation& animation, bool in, int durationMs) {
    const qreal from = animation.currentValue().isValid() ? animation.currentValue().toReal() : 0;
    const qreal to = in ? 1.0 : 0.0;
    animation.stop();
    if (from == to) {
        return;
    }
    animation.setDuration(durationMs);
    animation.setStartValue(from);
    animation.setEndValue(to);
    animation.start();
}

} // namespace

ActionRowHeader::ActionRowHeader(QWidget* parent)
    : QAbstractButton(parent) {
    setObjectName(QStringLiteral("actionRowHeader"));
    // Tab reaches the line and Space opens it; a click does not take the focus from a field.
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(spacing);

    // The parts only show; the line itself takes every click but the delete button's.
    const auto passive = [](QWidget* widget) {
        widget->setAttribute(Qt::WA_TransparentForMouseEvents);
        // Drawn as text on the window, not in the button-text colour a button's parts inherit.
        widget->setForegroundRole(QPalette::WindowText);
        return widget;
    };
    m_chevron = new SymbolView(QStringLiteral("chevron.right"), chevronSize, this);
    m_chevron->setObjectName(QStringLiteral("chevron"));
    m_chevron->setFixedWidth(chevronFrame);
    m_chevron->setTone(SymbolView::Tone::tertiary);
    layout->addWidget(passive(m_chevron));

    m_direction = new SymbolView(QStringLiteral("goforward.10"), directionSize, this);
    m_direction->setObjectName(QStringLiteral("directionSymbol"));
    m_direction->setFixedWidth(directionFrame);
    m_direction->setTone(SymbolView::Tone::accent);
    layout->addWidget(passive(m_direction));

    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    m_label = new TintedLabel(Style::Role::primary, this);
    m_label->setObjectName(QStringLiteral("actionLabel"));
    m_label->setTextFormat(Qt::PlainText);
    texts->addWidget(passive(m_label));
    m_note = new TintedLabel(Style::Role::warningText, this);
    m_note->setObjectName(QStringLiteral("actionNote"));
    m_note->setTextFormat(Qt::PlainText);
    m_note->setFont(Style::captionFont());
    m_note->hide();
    texts->addWidget(passive(m_note));
    layout->addLayout(texts, 1);

    m_conflict =
        new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), conflictSize, this);
    m_conflict->setObjectName(QStringLiteral("conflictMark"));
    m_conflict->setTone(SymbolView::Tone::warning);
    m_conflict->hide();
    layout->addWidget(passive(m_conflict));

    m_hotkey = new TintedLabel(Style::Role::tertiary, this);
    m_hotkey->setObjectName(QStringLiteral("hotkeyLabel"));
    m_hotkey->setTextFormat(Qt::PlainText);
    layout->addWidget(passive(m_hotkey));

    m_delete = new SymbolButton(QStringLiteral("trash"), trashSize, this);
    m_delete->setObjectName(QStringLiteral("deleteButton"));
    m_delete->setFixedSize(trashSize + 6, trashSize + 6);
    m_delete->setCursor(Qt::ArrowCursor);
    layout->addWidget(m_delete);
    connect(m_delete, &SymbolButton::clicked, this, &ActionRowHeader::deleteRequested);

    m_groundFade.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_groundFade, &QVariantAnimation::valueChanged, this, [this] { update(); });
    m_deleteFade.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_deleteFade, &QVariantAnimation::valueChanged, this, [this] { applyColors(); });
    new PaletteFollower(*this, [this] { applyColors(); });

    setAccessibleDescription(QStringLiteral("Double-tap to edit"));
    showDeleteButton();
    applyColors();
}

void ActionRowHeader::setContent(const Content& content) {
    m_content = content;
    m_label->setText(content.label);
    m_direction->setSymbolName(content.directionIcon);
    m_direction->setTone(content.forward ? SymbolView::Tone::accent : SymbolView::Tone::warning);
    m_conflict->setVisible(content.conflict);
    m_note->setText(content.note);
    m_note->setVisible(!content.note.isEmpty());
    m_note->setRole(content.noteIsInformation ? Style::Role::secondary : Style::Role::warningText);
    const bool none = content.hotkey.isEmpty();
    m_hotkey->setText(none ? QStringLiteral("No hotkey") : content.hotkey);
    QFont hotkeyFont = Style::calloutFont();
    hotkeyFont.setItalic(none);
    m_hotkey->setFont(hotkeyFont);
    m_hotkey->setRole(none ? Style::Role::tertiary : Style::Role::secondary);
    // A key cap has room around its text for the rounded ground drawn behind it.
    m_hotkey->setContentsMargins(none ? QMargins() : QMargins(8, 3, 8, 3));

    QString name = content.label + QStringLiteral(", hotkey ") +
                   (none ? QStringLiteral("not set") : content.hotkey);
    if (!content.note.isEmpty()) {
        name += QStringLiteral(", ") + content.note;
    }
    setAccessibleName(name);
    m_delete->setAccessibleName(QStringLiteral("Delete ") + content.label);
    applyColors();
}

void ActionRowHeader::setExpanded(bool expanded) {
    m_expanded = expanded;
    m_chevron->setSymbolName(expanded ? QStringLiteral("chevron.down")
                                      : QStringLiteral("chevron.right"));
    QFont labelFont = font();
    labelFont.setWeight(expanded ? QFont::Medium : QFont::Normal);
    m_label->setFont(labelFont);
    setAccessibleDescription(expanded ? QStringLiteral("Double-tap to collapse")
                                      : QStringLiteral("Double-tap to edit"));
    showDeleteButton();
    update();
}

void ActionRowHeader::setHovered(bool hovered) {
    if (hovered == m_hovered) {
        return;
    }
    m_hovered = hovered;
    fade(m_groundFade, hovered, groundFadeMs);
    showDeleteButton();
}

void ActionRowHeader::showDeleteButton() {
    const bool shown = m_hovered || m_expanded;
    m_delete->setEnabled(shown);
    fade(m_deleteFade, shown, deleteFadeMs);
    applyColors();
}

QSize ActionRowHeader::sizeHint() const {
    return layout()->sizeHint();
}

void ActionRowHeader::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    setHovered(true);
}

void ActionRowHeader::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    setHovered(false);
}

void ActionRowHeader::applyColors() {
    // Clear while it cannot be used; red at 60 % once it can.
    const bool shown = m_hovered || m_expanded;
    const qreal faded = m_deleteFade.state() == QAbstractAnimation::Running
                            ? m_deleteFade.currentValue().toReal()
                            : (shown ? 1.0 : 0.0);
    m_delete->setColor(withAlpha(Style::red(palette()), 0.6 * faded));
    update();
}

void ActionRowHeader::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const qreal ground = m_groundFade.state() == QAbstractAnimation::Running
                             ? m_groundFade.currentValue().toReal()
                             : (m_hovered ? 1.0 : 0.0);
    if (!m_expanded && ground > 0) {
        QPainterPath path;
        path.addRoundedRect(whole, groundRadius, groundRadius);
        painter.fillPath(path, withAlpha(palette().color(QPalette::WindowText), 0.04 * ground));
    }
    if (!m_content.hotkey.isEmpty()) {
        QPainterPath cap;
        cap.addRoundedRect(QRectF(m_hotkey->geometry()), keyCapRadius, keyCapRadius);
        painter.fillPath(cap, Style::quaternary(palette()));
    }
    if (hasFocus()) {
        painter.setPen(QPen(Style::accent(palette()), 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(whole.adjusted(0.5, 0.5, -0.5, -0.5), groundRadius, groundRadius);
    }
}
