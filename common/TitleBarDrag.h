#pragma once

#include <QPoint>

class QFrame;
class QMouseEvent;
class QWidget;

/// Moving a frameless window by its title bar. The window hands its mouse events on and says
/// where its title bar is.
class TitleBarDrag
{
public:
    /// @param outerMargin margin of the window's outer layout, pixels
    TitleBarDrag(QWidget* window, const QFrame* titleBar, int outerMargin);

    /// A press of the left button on the title bar starts a drag, elsewhere it ends one.
    void press(const QMouseEvent* event);

    /// Moves the window after the pointer while a drag is on and the left button is held. True when
    /// it moved the window.
    bool move(const QMouseEvent* event);

    /// Whether @p point lies on the frame or on the one column right of it or row below it.
    static bool inRange(const QPoint* point, const QFrame* frame);

private:
    QWidget* m_window;
    const QFrame* m_titleBar;
    int m_outerMargin;
    bool m_dragging = false;
    QPoint m_offset;
};
