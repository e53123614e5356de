#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

/// Counts the language changes that reach the application.
class LanguageChanges : public QObject
{
public:
    LanguageChanges() { qApp->installEventFilter(this); }
    int count = 0;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        count += watched == qApp && event->type() == QEvent::LanguageChange ? 1 : 0;
        return false;
    }
};
