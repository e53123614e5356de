#pragma once

#include <QGraphicsDropShadowEffect>
#include <QPixmap>

/// The drop shadow of a bar that is opaque in all of its rectangle. Qt's own blurs the whole bar
/// again at every repaint, for longer than all the rest of a language switch takes; this one keeps
/// the blurred edge, which depends on the bar's height alone, and looks the same to the pixel.
/// Where the screen is scaled it leaves everything to Qt.
class TitleShadow : public QGraphicsDropShadowEffect
{
public:
    using QGraphicsDropShadowEffect::QGraphicsDropShadowEffect;

protected:
    void draw(QPainter* painter) override;

private:
    /// The shadow of a bar of that size, drawn around @p bar without the bar.
    void drawAround(QPainter* painter, const QRect& bar);
    /// Blurs the shadow of a short bar of that height, of which the ends and the middle are used.
    void blur(int height, int length);

    QPixmap m_edge;
    QSize m_bar; ///< Length and height of the short bar that m_edge is the shadow of.
};
