#include "network/ChoiceBox.h"

#include "device/Latin1.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QStyledItemDelegate>

namespace {

constexpr qreal cornerRadius = 6;
constexpr int textMargin = 10;
constexpr int arrowPlace = 36; ///< Width of the place at the right end.
constexpr qreal arrowWidth = 12;
constexpr qreal arrowHeight = 7;

constexpr QRgb borderColor = qRgb(163, 198, 218);
constexpr QRgb arrowColor = qRgb(24, 103, 147);
constexpr QRgb disabledColor = qRgb(236, 236, 236);
constexpr QRgb disabledTextColor = qRgb(150, 150, 150);

constexpr QLatin1String choicesStyle = "QAbstractItemView::item{min-height:40px;}"_l1;
constexpr QLatin1String noRules = "/**/"_l1;

} // namespace

ChoiceBox::ChoiceBox(QWidget* parent) : QComboBox(parent)
{
    setItemDelegate(new QStyledItemDelegate(this));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

/// The frame around the list has a style sheet without rules: of one that has none, Qt keeps what
/// it has looked up for it, even when it is deleted.
void ChoiceBox::setStyles()
{
    view()->parentWidget()->setStyleSheet(noRules);
    view()->setStyleSheet(choicesStyle);
}

void ChoiceBox::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QColor(borderColor));
    painter.setBrush(isEnabled() ? QColor(Qt::white) : QColor(disabledColor));
    // Half a pixel in: the border then covers whole ones.
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius,
                            cornerRadius);
    painter.setPen(isEnabled() ? QColor(Qt::black) : QColor(disabledTextColor));
    painter.drawText(rect().adjusted(textMargin, 0, -arrowPlace, 0), Qt::AlignVCenter,
                     currentText());
    drawArrow(painter);
}

void ChoiceBox::drawArrow(QPainter& painter) const
{
    const QPointF tip(width() - arrowPlace / 2.0, (height() + arrowHeight) / 2);
    const QPointF corners[] = {tip + QPointF(-arrowWidth / 2, -arrowHeight),
                               tip + QPointF(arrowWidth / 2, -arrowHeight), tip};
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(isEnabled() ? arrowColor : disabledTextColor));
    painter.drawPolygon(corners, 3);
}
