#include "simulator/host/Shade.h"

#include <QEvent>
#include <QPainter>

namespace {

constexpr int black = 255;
constexpr QRect badge(8, 4, 64, 36);

void paintNote(QPainter& painter, int beeps)
{
    const QColor ink(30, 40, 60);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 190, 40));
    painter.drawRoundedRect(badge, 10, 10);

    painter.translate(badge.topLeft());
    painter.setBrush(ink);
    painter.drawEllipse(QRectF(12, 20, 11, 9));
    painter.drawRect(QRectF(20.5, 7, 2.5, 18));
    painter.drawPolygon(QPolygonF({{23, 7}, {30, 13}, {30, 19}, {23, 13}}));
    if (beeps > 1) {
        painter.setPen(ink);
        painter.drawText(QRect(30, 0, badge.width() - 34, badge.height()), Qt::AlignCenter,
                         QString::number(beeps));
    }
}

} // namespace

Shade::Shade(QWidget* window) : QWidget(window)
{
    setObjectName(QStringLiteral("Shade"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    window->installEventFilter(this);
    cover();
}

void Shade::setDarkness(int darkness)
{
    m_darkness = darkness;
    setAttribute(Qt::WA_TransparentForMouseEvents, darkness != black);
    cover();
}

void Shade::setBeeps(int beeps)
{
    m_beeps = beeps;
    cover();
}

void Shade::cover()
{
    setGeometry(parentWidget()->rect());
    setVisible(m_darkness > 0 || m_beeps > 0);
    raise();
    update();
}

bool Shade::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() &&
        (event->type() == QEvent::Resize || event->type() == QEvent::Show)) {
        cover();
    }
    return false;
}

void Shade::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, m_darkness));
    if (m_beeps > 0) {
        paintNote(painter, m_beeps);
    }
}

void Shade::mousePressEvent(QMouseEvent* /*event*/)
{
    emit wakeUp();
}
