#pragma once

#include <QDialog>
#include <QObject>
#include <QSettings>

/// Closes a dialog, as if cancelled, when the settings of whoever called it last go. A host may
/// delete its window at any time: nobody waits for the answer then, and a dialog that stayed open
/// would keep everything else from being pressed.
class CallerGuard
{
public:
    void watch(QDialog* dialog, QSettings* settings)
    {
        QObject::disconnect(m_gone);
        if (settings) {
            m_gone = QObject::connect(settings, &QObject::destroyed, dialog, &QDialog::reject);
        }
    }

private:
    QMetaObject::Connection m_gone;
};
