#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QStringList>

#include <functional>
#include <utility>

/// Counts the language changes that reach the application.
class LanguageChanges : public QObject
{
public:
    /// The function is called at each change.
    explicit LanguageChanges(std::function<void()> look = [] {}) : m_look(std::move(look))
    {
        QCoreApplication::instance()->installEventFilter(this);
    }
    int count = 0;
    QStringList shown; ///< How a text of the Network page reads at each change.

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == QCoreApplication::instance() && event->type() == QEvent::LanguageChange) {
            ++count;
            shown << QCoreApplication::translate("NetworkSettings", "Disable Network");
            m_look();
        }
        return false;
    }

private:
    std::function<void()> m_look;
};
