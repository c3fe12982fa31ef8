#pragma once

#include <QList>
#include <QWidget>

#include <optional>

class QHBoxLayout;
class QToolButton;

// A row of joined segments of which at most one is selected, like a segmented picker. Nothing is
// selected until the owner says which one is; a click selects the segment and reports it.
class SegmentedControl : public QWidget {
    Q_OBJECT

public:
    explicit SegmentedControl(QWidget* parent = nullptr);

    // Appends a segment, named for assistive technology by its text; answers its button.
    QToolButton* addSegment(const QString& text);
    const QList<QToolButton*>& segments() const { return m_segments; }

    std::optional<qsizetype> selectedIndex() const;
    // Nothing, or an index out of range, selects no segment.
    void setSelectedIndex(std::optional<qsizetype> index);

signals:
    // The user chose the segment at `index`, also when it was selected already.
    void segmentChosen(qsizetype index);

private:
    void applyStyle();

    QHBoxLayout* m_layout;
    QList<QToolButton*> m_segments;
};
