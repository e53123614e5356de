#pragma once

#include <QJsonArray>

/// Describes every visible widget of the application for those who press the panel from outside:
/// class, objectName, class of its window, text, style sheet, and its rectangle on the screen in
/// pixels.
QJsonArray describeWidgets();
