#pragma once

#include <QElapsedTimer>
#include <QWidget>

class QWindow;

class TrayPanelView;

// The frameless pop-up that holds the panel's content. Opens next to the tray icon (or the
// pointer), always wholly on screen, and closes when it loses focus or on Escape. Where the
// desktop places the program's windows (Wayland), it is a window of its own instead, which
// opens where the compositor puts it.
class TrayPanelWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr int gap = 4;

    enum class Kind { popup, window };

    // Takes ownership of `view`.
    explicit TrayPanelWindow(TrayPanelView* view, Kind kind = Kind::popup,
                             QWidget* parent = nullptr);

    TrayPanelView* view() const { return m_view; }

    // Opens under (or above, near the bottom of the screen) `anchor`: the tray icon's place,
    // or a point where the tray gives none.
    void openAt(const QRect& anchor);
    // How long ago it closed; invalid when it never has.
    const QElapsedTimer& sinceClosed() const { return m_sinceClosed; }
    // Sizes the window to its content, keeping it on screen.
    void fitContent();

    // The top left corner for a window of `size` at `anchor`, kept inside `available`.
    static QPoint placement(const QSize& size, const QRect& anchor, const QRect& available);

protected:
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void followFocus(QWindow* focus);

    TrayPanelView* m_view;
    QElapsedTimer m_sinceClosed;
    // Whether the keyboard focus came to this window since it opened.
    bool m_hadFocus = false;
};
