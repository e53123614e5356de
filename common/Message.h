#pragma once

#include <QMessageBox>
#include <QString>

/// A message to the operator, in the look of the panel and with a key that a finger can hit.
namespace Message {

/// Shows a modal box without a parent and with one button, which is its default, and blocks until
/// it is closed. It closes by itself when @p caller goes or, if that is a dialog, closes: what the
/// caller lives in may be gone when this returns. @p fontId as for PanelFont.
void show(const QObject* caller, int fontId, QMessageBox::Icon icon, const QString& title,
          const QString& text, QMessageBox::StandardButton button);

} // namespace Message
