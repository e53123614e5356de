#pragma once

#include "common/CallerGuard.h"

#include <QDialog>
#include <QPointer>
#include <QSettings>

/// Whose settings a dialog that serves the whole process works with. The settings object stands for
/// the window it belongs to: both are deleted together.
class CallerSettings
{
public:
    /// The window of @p settings asks for @p dialog. A dialog that is closed will be open for it,
    /// and end with it. One that is open stays with the window that opened it: a window that is
    /// made meanwhile asks for the dialog as well.
    void take(QDialog* dialog, QSettings* settings)
    {
        if (!m_first) {
            m_first = settings;
        }
        if (!dialog->isVisible()) {
            m_opener = settings;
            m_guard.watch(dialog, settings);
        }
    }

    /// The settings to read: those of the first caller for as long as they live, then those of the
    /// window that opened the dialog.
    QSettings* current() const { return m_first ? m_first : m_opener; }

    /// Those of the window that opened the dialog, or asked for it last.
    QSettings* opener() const { return m_opener; }

private:
    QPointer<QSettings> m_first;
    QPointer<QSettings> m_opener;
    CallerGuard m_guard;
};
