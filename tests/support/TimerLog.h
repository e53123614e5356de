#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QList>
#include <QTimer>

/// Notes of every timer that fires, for as long as the object lives, its interval in milliseconds.
class TimerLog : public QObject
{
public:
    TimerLog() { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* timer = qobject_cast<QTimer*>(watched);
        if (timer && event->type() == QEvent::Timer) {
            fired << timer->interval();
        }
        return false;
    }

    QList<int> fired;
};
