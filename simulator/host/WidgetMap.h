#pragma once

#include <QJsonArray>

/// Describes every visible widget of the application for those who press the panel from outside:
/// class, objectName, text, style sheet, and its rectangle on the screen in pixels.
QJsonArray describeWidgets();
