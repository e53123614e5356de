#include "settings/TitleShadow.h"

#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QPaintDevice>
#include <QPainter>

namespace {

/// Pixels from the end of a bar beyond which the shadow is the same all along it.
constexpr int endLength = 32;

bool isPlain(const QPainter& painter)
{
    return painter.worldTransform().type() <= QTransform::TxTranslate &&
           qFuzzyCompare(painter.device()->devicePixelRatioF(), 1.0);
}

} // namespace

void TitleShadow::draw(QPainter* painter)
{
    const QRect bar = sourceBoundingRect().toRect();
    if (!isPlain(*painter) || bar.width() < 2 * endLength) {
        QGraphicsDropShadowEffect::draw(painter);
        return;
    }
    drawAround(painter, bar);
    drawSource(painter);
}

void TitleShadow::drawAround(QPainter* painter, const QRect& bar)
{
    // As even or odd as the bar: Qt halves it.
    const int length = 2 * endLength + 2 + bar.width() % 2;
    if (m_bar != QSize(length, bar.height())) {
        blur(bar.height(), length);
    }
    const QRect all = boundingRectFor(bar).toAlignedRect();
    const int end = bar.left() - all.left() + endLength;
    const int height = m_edge.height();
    const int right = m_edge.width() - end;
    painter->save();
    painter->setClipRegion(QRegion(all).subtracted(bar),
                           Qt::IntersectClip); // the bar covers the rest
    painter->drawPixmap(all.topLeft(), m_edge, QRect(0, 0, end, height));
    painter->drawPixmap(QRect(all.left() + end, all.top(), all.width() - 2 * end, height), m_edge,
                        QRect(end, 0, 1, height));
    painter->drawPixmap(QPoint(all.right() + 1 - end, all.top()), m_edge,
                        QRect(right, 0, end, height));
    painter->restore();
}

void TitleShadow::blur(int height, int length)
{
    m_bar = QSize(length, height);
    const QRect bar(QPoint(), m_bar);
    const QRect all = boundingRectFor(bar).toAlignedRect();
    auto* shadow = new QGraphicsDropShadowEffect;
    shadow->setOffset(offset());
    shadow->setColor(color());
    shadow->setBlurRadius(blurRadius());

    QGraphicsScene scene;
    scene.addRect(bar, Qt::NoPen, Qt::black)->setGraphicsEffect(shadow);
    m_edge = QPixmap(all.size());
    m_edge.fill(Qt::transparent);
    QPainter painter(&m_edge);
    scene.render(&painter, QRect(QPoint(), all.size()), all);
}
