#include "common/TitleBarDrag.h"

#include <QFrame>
#include <QMouseEvent>

TitleBarDrag::TitleBarDrag(QWidget* window, const QFrame* titleBar, int outerMargin)
    : m_window(window), m_titleBar(titleBar), m_outerMargin(outerMargin)
{
}

void TitleBarDrag::press(const QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        return;
    }
    const QPoint point = event->localPos().toPoint();
    m_dragging = inRange(&point, m_titleBar);
    if (m_dragging) {
        m_offset = point - m_titleBar->geometry().topLeft() + QPoint(m_outerMargin, m_outerMargin);
    }
}

bool TitleBarDrag::move(const QMouseEvent* event)
{
    if (!m_dragging || !(event->buttons() & Qt::LeftButton)) {
        return false;
    }
    m_window->move(event->globalPos() - m_offset);
    return true;
}

bool TitleBarDrag::inRange(const QPoint* point, const QFrame* frame)
{
    return frame->geometry().adjusted(0, 0, 1, 1).contains(*point);
}
