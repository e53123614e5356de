#pragma once

#include <QList>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QWidget>

/// Something on the screen that an operator can press.
struct Control
{
    QPointer<QWidget> widget;
    QPoint point; ///< Where to press it, in the widget.
    QString name; ///< The same whenever the window is made again: "Settings/AdapterPane 0/OctetRow
                  ///< 2/QLineEdit 1". Says the places, not the texts, which follow the language.
};

/// What a window offers now: buttons, fields, combo boxes, sliders, tabs, the rows of a list and a
/// title bar, as far as they are enabled and not covered.
QList<Control> controlsOf(QWidget& window);

/// The names of everything that a window can ever offer, also on its hidden pages; but not those
/// of scroll bars and the like, which are there only when something does not fit.
QStringList controlNames(const QWidget& window);

/// The control that closes a window: its close button, a message's only button. It has no
/// widget when the window has no such control, as a pop-up.
Control closingControlOf(QWidget& window);
