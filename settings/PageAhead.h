#pragma once

#include <QBasicTimer>
#include <QObject>

#include <functional>

class QWidget;

/// Has a hidden page completed and its letters drawn before somebody opens it: the shape of a
/// letter is made at its first use in a size, and that was a third of the work to open the page.
/// When the window is painted for the first time or has changed its language, and nothing else is
/// to be done, the page's texts are drawn into a picture that is thrown away, and Qt keeps the
/// shapes.
class PageAhead : public QObject
{
public:
    /// @param window   owner of this object
    /// @param page     lives as long as the window
    /// @param complete does what the page has put off; called each time, before its texts are read
    PageAhead(QWidget* window, const QWidget* page, std::function<void()> complete);

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    const QWidget* m_page;
    std::function<void()> m_complete;
    bool m_isPainted = false;
    QBasicTimer m_pause;
};
