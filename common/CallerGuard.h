#pragma once

#include <QDialog>
#include <QObject>

/// Closes a dialog, as if cancelled, when the object that it was opened for is deleted. A host may
/// delete its window at any time: nobody waits for the answer then, and a dialog that stayed open
/// would keep everything else from being pressed.
class CallerGuard
{
public:
    CallerGuard() = default;
    CallerGuard(const CallerGuard&) = delete;
    CallerGuard& operator=(const CallerGuard&) = delete;
    ~CallerGuard() { release(); }

    /// From now on @p dialog ends with @p caller, and with no earlier one; nullptr is nobody. A
    /// caller that is a dialog itself takes it along when it closes, too.
    void watch(QDialog* dialog, const QObject* caller)
    {
        release();
        if (caller) {
            m_gone = QObject::connect(caller, &QObject::destroyed, dialog, &QDialog::reject);
        }
        if (const auto* asker = qobject_cast<const QDialog*>(caller)) {
            m_closed = QObject::connect(asker, &QDialog::finished, dialog, &QDialog::reject);
        }
    }

private:
    void release()
    {
        QObject::disconnect(m_gone);
        QObject::disconnect(m_closed);
    }

    QMetaObject::Connection m_gone;
    QMetaObject::Connection m_closed;
};
