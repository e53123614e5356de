#pragma once

#include <QPoint>
#include <QPointer>
#include <QWindow>

class QWidget;

/// The one finger on the panel's screen. Its events go through the window system, so that modal
/// windows, pop-ups and what lies over a control get them as on a real screen.
class Finger
{
public:
    bool isDown() const { return m_isDown; }

    /// Presses at a point of a widget. Returns after everything that the press opened has been
    /// closed again; the finger may have been lifted meanwhile.
    void press(QWidget& widget, const QPoint& point);

    /// Moves the pressed finger by an offset.
    void moveBy(const QPoint& offset);

    /// Lifts it where it is. Nothing happens when it is not down.
    void lift();

private:
    QPointer<QWindow> m_window;
    QPoint m_point; ///< In the window.
    bool m_isDown = false;
};
