#include "simulator/host/WidgetMap.h"

#include <QApplication>
#include <QJsonObject>
#include <QWidget>

namespace {

QJsonObject describe(const QWidget& widget)
{
    const QPoint corner = widget.mapToGlobal(QPoint(0, 0));
    return {
        {QStringLiteral("class"), QString::fromLatin1(widget.metaObject()->className())},
        {QStringLiteral("name"), widget.objectName()},
        {QStringLiteral("window"), QString::fromLatin1(widget.window()->metaObject()->className())},
        {QStringLiteral("text"), widget.property("text").toString()},
        {QStringLiteral("style"), widget.styleSheet()},
        {QStringLiteral("x"), corner.x()},
        {QStringLiteral("y"), corner.y()},
        {QStringLiteral("width"), widget.width()},
        {QStringLiteral("height"), widget.height()}};
}

} // namespace

QJsonArray describeWidgets()
{
    QJsonArray map;
    for (const QWidget* widget : QApplication::allWidgets()) {
        if (widget->isVisible()) {
            map.append(describe(*widget));
        }
    }
    return map;
}
