#include "views/widgets/FormSection.h"

#include "views/widgets/Style.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr qreal cornerRadius = 8;
constexpr int horizontalPadding = 12;
constexpr int verticalPadding = 7;
constexpr int rowSpacing = 14;

// A little above the window on a light ground, lighter than it on a dark one, as grouped
// forms draw their cards.
QColor cardColor(const QPalette& palette) {
    const QColor window = palette.color(QPalette::Window);
    if (Style::isDark(palette)) {
        return window.lighter(135);
    }
    const QColor base = palette.color(QPalette::Base);
    return base.lightnessF() > window.lightnessF() ? base : window.lighter(104);
}

} // namespace

FormSection::FormSection(const QString& header, QWidget* parent)
    : QWidget(parent)
    , m_card(new QWidget(this))
    , m_cardLayout(new QVBoxLayout(m_card)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    if (!header.isEmpty()) {
        auto* title = new QLabel(header, this);
        title->setObjectName(QStringLiteral("sectionHeader"));
        QFont font = title->font();
        font.setWeight(QFont::DemiBold);
        title->setFont(font);
        title->setContentsMargins(2, 0, 0, 0);
        layout->addWidget(title);
    }
    m_card->setObjectName(QStringLiteral("sectionCard"));
    m_cardLayout->setContentsMargins(horizontalPadding, verticalPadding, horizontalPadding,
                                     verticalPadding);
    m_cardLayout->setSpacing(rowSpacing);
    layout->addWidget(m_card);
}

void FormSection::addRow(QWidget* row) {
    insertRow(m_rows.size(), row);
}

void FormSection::insertRow(qsizetype index, QWidget* row) {
    if (const qsizetype at = m_rows.indexOf(row); at >= 0) {
        m_rows.removeAt(at);
        m_cardLayout->removeWidget(row);
    }
    index = std::clamp<qsizetype>(index, 0, m_rows.size());
    m_cardLayout->insertWidget(static_cast<int>(index), row);
    m_rows.insert(index, row);
    update();
}

void FormSection::removeRow(QWidget* row) {
    if (m_rows.removeOne(row)) {
        m_cardLayout->removeWidget(row);
        row->setParent(nullptr);
        update();
    }
}

void FormSection::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF card = QRectF(m_card->geometry()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(Style::separator(palette()), 1));
    painter.setBrush(cardColor(palette()));
    painter.drawRoundedRect(card, cornerRadius, cornerRadius);

    // A hairline halfway between each two rows that show.
    painter.setRenderHint(QPainter::Antialiasing, false);
    const QWidget* previous = nullptr;
    for (const QWidget* row : m_rows) {
        if (!row->isVisibleTo(this)) {
            continue;
        }
        if (previous != nullptr) {
            const int y = m_card->y() + (previous->geometry().bottom() + row->y()) / 2 + 1;
            painter.fillRect(
                QRect(m_card->x() + horizontalPadding, y, m_card->width() - horizontalPadding, 1),
                Style::separator(palette()));
        }
        previous = row;
    }
}
