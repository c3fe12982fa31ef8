#include "views/widgets/SegmentedControl.h"

#include "views/widgets/PaletteFollower.h"
#include "views/widgets/Style.h"

#include <QHBoxLayout>
#include <QStyle>
#include <QToolButton>

namespace {

constexpr int cornerRadius = 6;

QString rgba(const QColor& color) {
    return QStringLiteral("rgba(%1, %2, %3, %4)")
        .arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alphaF(), 0, 'f', 3);
}

} // namespace

SegmentedControl::SegmentedControl(QWidget* parent)
    : QWidget(parent)
    , m_layout(new QHBoxLayout(this)) {
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    new PaletteFollower(*this, [this] { applyStyle(); });
}

QToolButton* SegmentedControl::addSegment(const QString& text) {
    auto* segment = new QToolButton(this);
    segment->setText(text);
    segment->setAccessibleName(text);
    segment->setCheckable(true);
    segment->setCursor(Qt::PointingHandCursor);
    segment->setToolButtonStyle(Qt::ToolButtonTextOnly);
    const qsizetype index = m_segments.size();
    connect(segment, &QToolButton::clicked, this, [this, index] {
        // A click on the selected segment would switch it off; it stays selected instead.
        setSelectedIndex(index);
        emit segmentChosen(index);
    });
    m_segments.append(segment);
    m_layout->addWidget(segment);
    applyStyle();
    return segment;
}

std::optional<qsizetype> SegmentedControl::selectedIndex() const {
    for (qsizetype i = 0; i < m_segments.size(); ++i) {
        if (m_segments[i]->isChecked()) {
            return i;
        }
    }
    return std::nullopt;
}

void SegmentedControl::setSelectedIndex(std::optional<qsizetype> index) {
    for (qsizetype i = 0; i < m_segments.size(); ++i) {
        m_segments[i]->setChecked(index == i);
    }
}

void SegmentedControl::applyStyle() {
    const QPalette& colors = palette();
    const bool dark = Style::isDark(colors);
    QColor ground = colors.color(QPalette::WindowText);
    ground.setAlphaF(dark ? 0.10 : 0.06);
    QColor hover = colors.color(QPalette::WindowText);
    hover.setAlphaF(dark ? 0.18 : 0.12);
    QColor border = colors.color(QPalette::WindowText);
    border.setAlphaF(dark ? 0.25 : 0.2);
    const QColor selected = Style::accent(colors);
    const QString style =
        QStringLiteral("QToolButton { background: %1; color: %2; border: 1px solid %3;"
                       " border-left-width: 0px; padding: 3px 12px; }"
                       "QToolButton:hover:!checked { background: %4; }"
                       "QToolButton:checked { background: %5; color: %6; border-color: %5; }"
                       "QToolButton:focus { border-color: %5; }"
                       "QToolButton[segmentEdge=\"first\"] { border-left-width: 1px;"
                       " border-top-left-radius: %7px; border-bottom-left-radius: %7px; }"
                       "QToolButton[segmentEdge=\"last\"] {"
                       " border-top-right-radius: %7px; border-bottom-right-radius: %7px; }")
            .arg(rgba(ground), rgba(Style::primary(colors)), rgba(border), rgba(hover),
                 rgba(selected), rgba(colors.color(QPalette::HighlightedText)))
            .arg(cornerRadius);
    for (qsizetype i = 0; i < m_segments.size(); ++i) {
        const char* edge = i == 0 ? "first" : i == m_segments.size() - 1 ? "last" : "middle";
        QToolButton* segment = m_segments[i];
        if (segment->property("segmentEdge").toString() != QLatin1StringView(edge)) {
            segment->setProperty("segmentEdge", QString::fromLatin1(edge));
            // Style sheet rules that select by a property read it when the widget is polished.
            segment->style()->unpolish(segment);
            segment->style()->polish(segment);
        }
    }
    // Restyling itself would come back here as another palette change.
    if (styleSheet() != style) {
        setStyleSheet(style);
    }
}
