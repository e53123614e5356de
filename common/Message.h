#pragma once

#include <QMessageBox>
#include <QString>

/// A message to the operator, in the look of the panel and with a key that a finger can hit.
namespace Message {

/// Shows a modal box without a parent and with one button, which is its default, and blocks until
/// it is closed. What the caller lives in may be gone by then. @p fontId as for PanelFont.
void show(int fontId, QMessageBox::Icon icon, const QString& title, const QString& text,
          QMessageBox::StandardButton button);

} // namespace Message
