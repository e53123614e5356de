#include "network/PaneTabs.h"

#include <QStyle>
#include <QStyleOptionTabWidgetFrame>

void PaneTabs::resizeEvent(QResizeEvent* event)
{
    QTabWidget::resizeEvent(event);
    QWidget* stack = count() > 0 ? widget(0)->parentWidget() : nullptr;
    if (!stack || isVisible()) {
        return;
    }
    QStyleOptionTabWidgetFrame option;
    initStyleOption(&option);
    stack->setGeometry(style()->subElementRect(QStyle::SE_TabWidgetTabContents, &option, this));
}
