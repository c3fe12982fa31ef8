#pragma once

#include <QWidget>

// A menu-like row of text that lights up in the accent colour under the pointer. The click is
// the business of whatever holds it.
class PanelItemLabel : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString text READ text CONSTANT)
    Q_PROPERTY(bool hovered READ isHovered)

public:
    explicit PanelItemLabel(const QString& text, QWidget* parent = nullptr);

    QString text() const { return m_text; }
    bool isHovered() const { return m_isHovered; }

    QSize sizeHint() const override;

    // How a row looks, shared with PanelItemButton.
    static QSize rowSizeHint(const QWidget& row, const QString& text);
    static void paintRow(QWidget& row, const QString& text, bool hovered);

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
    bool m_isHovered = false;
};
