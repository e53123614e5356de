#include "tests/soak/Controls.h"
#include "tests/support/Text.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QComboBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTabBar>

#include <algorithm>

namespace {

const QString titleBar = "titleBarFrame"_s;
const QString closeButton = "closePushButton"_s;

QString className(const QWidget& widget)
{
    return QString::fromLatin1(widget.metaObject()->className());
}

bool isOwnClass(const QWidget& widget)
{
    return !className(widget).startsWith(QLatin1Char('Q'));
}

/// The nearest widget around this one that is a class of the dialog's, or the window.
const QWidget* roomOf(const QWidget& widget)
{
    const QWidget* room = widget.parentWidget();
    while (room && !room->isWindow() && !isOwnClass(*room)) {
        room = room->parentWidget();
    }
    return room;
}

QString kindOf(const QWidget& widget)
{
    const QString name = widget.objectName();
    return name.isEmpty() || name.startsWith(QLatin1String("qt_")) ? className(widget) : name;
}

/// Which of the widgets of its kind it is in its room. Pages of a stack change their order there.
int placeOf(const QWidget& widget, const QWidget& room)
{
    if (const auto* stack = qobject_cast<const QStackedWidget*>(widget.parentWidget())) {
        return stack->indexOf(const_cast<QWidget*>(&widget));
    }
    int place = 0;
    for (const QWidget* other : room.findChildren<QWidget*>()) {
        if (other == &widget) {
            return place;
        }
        place += kindOf(*other) == kindOf(widget) && roomOf(*other) == &room ? 1 : 0;
    }
    return place;
}

QString nameOf(const QWidget& widget)
{
    const QWidget* room = widget.isWindow() ? nullptr : roomOf(widget);
    if (!room) {
        return className(widget);
    }
    return "%1/%2 %3"_s.arg(nameOf(*room), kindOf(widget)).arg(placeOf(widget, *room));
}

bool isPressable(const QWidget& widget)
{
    return qobject_cast<const QAbstractButton*>(&widget) ||
           qobject_cast<const QLineEdit*>(&widget) || qobject_cast<const QComboBox*>(&widget) ||
           qobject_cast<const QAbstractSlider*>(&widget) || widget.objectName() == titleBar;
}

/// Scroll bars and the like, which Qt adds to tables and tabs and shows when they are needed.
bool isPartOfAnother(const QWidget& widget)
{
    return qobject_cast<const QScrollBar*>(&widget) || widget.inherits("QTableCornerButton") ||
           qobject_cast<const QTabBar*>(widget.parentWidget());
}

/// Whether a press there reaches the widget.
bool isUncovered(QWidget& widget, const QPoint& point)
{
    QWidget& window = *widget.window();
    const QPoint place = widget.mapTo(&window, point);
    const QWidget* top = window.rect().contains(place) ? window.childAt(place) : nullptr;
    return top && (top == &widget || widget.isAncestorOf(top));
}

Control controlAt(QWidget& widget, const QPoint& point, const QString& name)
{
    return {&widget, point, name};
}

Control controlOf(QWidget& widget)
{
    // A title bar is free in its middle; its buttons are at the end.
    return controlAt(widget, widget.rect().center(), nameOf(widget));
}

QString tabName(const QTabBar& bar, int tab)
{
    return "%1/tab %2"_s.arg(nameOf(*roomOf(bar))).arg(tab);
}

void addTabs(QList<Control>& controls, QTabBar& bar)
{
    for (int tab = 0; tab < bar.count(); ++tab) {
        controls << controlAt(bar, bar.tabRect(tab).center(), tabName(bar, tab));
    }
}

void addRows(QList<Control>& controls, QAbstractItemView& list)
{
    for (int row = 0; list.model() && row < list.model()->rowCount(); ++row) {
        const QRect place = list.visualRect(list.model()->index(row, 0));
        if (place.isValid()) {
            controls << controlAt(*list.viewport(), place.center(), "choice %1"_s.arg(row));
        }
    }
}

QList<Control> allControlsOf(QWidget& window)
{
    QList<Control> controls;
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || !widget->isEnabled() || widget->window() != &window) {
            continue;
        }
        auto* list = qobject_cast<QAbstractItemView*>(widget);
        if (auto* tabs = qobject_cast<QTabBar*>(widget)) {
            addTabs(controls, *tabs);
        } else if (list && (window.windowType() == Qt::Popup)) {
            addRows(controls, *list);
        } else if (isPressable(*widget)) {
            controls << controlOf(*widget);
        }
    }
    return controls;
}

} // namespace

QList<Control> controlsOf(QWidget& window)
{
    QList<Control> controls = allControlsOf(window);
    const auto covered = [](const Control& control) {
        return !isUncovered(*control.widget, control.point);
    };
    controls.erase(std::remove_if(controls.begin(), controls.end(), covered), controls.end());
    return controls;
}

QStringList controlNames(const QWidget& window)
{
    QStringList names;
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        const auto* tabs = qobject_cast<const QTabBar*>(widget);
        for (int tab = 0; tabs && tab < tabs->count(); ++tab) {
            names << tabName(*tabs, tab);
        }
        if (widget->window() == &window && isPressable(*widget) && !isPartOfAnother(*widget)) {
            names << nameOf(*widget);
        }
    }
    names.sort();
    return names;
}

Control closingControlOf(QWidget& window)
{
    auto* button = window.findChild<QWidget*>(closeButton);
    if (const auto* box = qobject_cast<QMessageBox*>(&window)) {
        button = box->buttons().value(0);
    }
    return button ? controlOf(*button) : Control();
}
