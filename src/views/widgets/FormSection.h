#pragma once

#include <QList>
#include <QWidget>

class QVBoxLayout;

// One section of a settings form in the grouped style: an optional header above a rounded card
// whose rows are parted by hairlines. Hidden rows take no room and no hairline.
class FormSection : public QWidget {
    Q_OBJECT

public:
    // An empty header leaves the section without one.
    explicit FormSection(const QString& header = QString(), QWidget* parent = nullptr);

    // Appends `row` to the card; the card takes it over.
    void addRow(QWidget* row);
    // Puts `row` at `index` among the card's rows, or moves it there when it is one already.
    void insertRow(qsizetype index, QWidget* row);
    // Takes `row` out of the card; the caller owns it again.
    void removeRow(QWidget* row);
    qsizetype indexOf(const QWidget* row) const { return m_rows.indexOf(row); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* m_card;
    QVBoxLayout* m_cardLayout;
    QList<QWidget*> m_rows;
};
