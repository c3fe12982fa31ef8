#pragma once

#include "views/widgets/TintedLabel.h"

#include <QAbstractButton>
#include <QVariantAnimation>

class QLabel;
class SymbolButton;
class SymbolView;

// The clickable line of one seek action: open/closed chevron, direction symbol, label, conflict
// mark, hotkey and delete button. The whole line is one button for the pointer, the keyboard and
// assistive technologies; the delete button is the only part with a mind of its own.
class ActionRowHeader : public QAbstractButton {
    Q_OBJECT

public:
    explicit ActionRowHeader(QWidget* parent = nullptr);

    // What the line shows: `hotkey` empty means "No hotkey"; `note` empty shows no note.
    struct Content {
        QString label;
        QString directionIcon;
        bool forward = true;
        QString hotkey;
        bool conflict = false;
        QString note;
        // A note that tells rather than warns.
        bool noteIsInformation = false;
    };
    void setContent(const Content& content);
    void setExpanded(bool expanded);
    bool isExpanded() const { return m_expanded; }
    bool isHovered() const { return m_hovered; }

    SymbolButton* deleteButton() const { return m_delete; }
    QLabel* hotkeyLabel() const { return m_hotkey; }
    QLabel* noteLabel() const { return m_note; }
    SymbolView* conflictMark() const { return m_conflict; }

    QSize sizeHint() const override;

signals:
    void deleteRequested();

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void setHovered(bool hovered);
    // The delete button is seen and answers only while the pointer is on the line or it is open.
    void showDeleteButton();
    // The delete button's red, faded in as far as it has come.
    void applyColors();

    Content m_content;
    bool m_expanded = false;
    bool m_hovered = false;
    SymbolView* m_chevron = nullptr;
    SymbolView* m_direction = nullptr;
    TintedLabel* m_label = nullptr;
    TintedLabel* m_note = nullptr;
    SymbolView* m_conflict = nullptr;
    TintedLabel* m_hotkey = nullptr;
    SymbolButton* m_delete = nullptr;
    // 0 to 1: how far the hover ground and the delete button have faded in.
    QVariantAnimation m_groundFade;
    QVariantAnimation m_deleteFade;
};
