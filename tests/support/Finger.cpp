#include "tests/support/Finger.h"

#include <QTest>
#include <QWidget>

void Finger::press(QWidget& widget, const QPoint& point)
{
    lift();
    m_window = widget.window()->windowHandle();
    m_point = widget.mapTo(widget.window(), point);
    m_isDown = m_window != nullptr;
    if (m_isDown) {
        QTest::mousePress(m_window, Qt::LeftButton, Qt::NoModifier, m_point);
    }
}

void Finger::moveBy(const QPoint& offset)
{
    if (m_isDown && m_window) {
        // Within the window: the point of a dragged one stays where it is.
        m_point += offset;
        QTest::mouseMove(m_window, m_point);
    }
}

void Finger::lift()
{
    if (!m_isDown) {
        return;
    }
    m_isDown = false;
    if (m_window) {
        QTest::mouseRelease(m_window, Qt::LeftButton, Qt::NoModifier, m_point);
    }
}
