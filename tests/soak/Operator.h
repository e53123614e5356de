#pragma once

#include "tests/soak/Controls.h"
#include "tests/support/Finger.h"

#include <QDialog>
#include <QEventLoop>
#include <QMap>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <random>

/// Somebody who presses whatever there is, once a second, with no plan. The same seed gives the
/// same presses. Windows that a press opens are pressed as well, and closed when they have been
/// open for long; so is everything that opens without a press.
///
/// What was pressed least is the most likely to be next, so that an hour reaches everything.
class Operator : public QObject
{
    Q_OBJECT

public:
    explicit Operator(unsigned seed);

    /// Presses until the window is closed or that many presses were made. All other windows are
    /// closed then. Returns the number of presses.
    int work(QDialog& window, int presses);

    /// Looks for controls of these names, until each has been pressed. Windows in which there is
    /// none are closed at once, and whatever leads to another page or tab is pressed often.
    void seek(const QStringList& names) { m_sought = names; }

    /// Something that happens around the panel now and then, between two presses.
    void setWorld(std::function<void(std::mt19937&)> world) { m_world = std::move(world); }

    /// How often each control was pressed.
    const QMap<QString, int>& presses() const { return m_presses; }

private:
    void tick();
    void step();
    void close(QWidget& window);
    void pressOne(QWidget& window);
    void press(const Control& control);
    void typeKey(QWidget& window);
    void count(const QString& name);
    QPoint somewhereIn(const QWidget& widget);
    bool hasSought(const QList<Control>& controls) const;
    double eagernessFor(const Control& control) const;
    const Control& choose(const QList<Control>& controls);
    int number(int smallest, int largest);
    bool oneIn(int chances) { return number(1, chances) == 1; }

    std::mt19937 m_random;
    std::function<void(std::mt19937&)> m_world;
    QMap<QString, int> m_presses;
    QStringList m_sought;
    Finger m_finger;
    QTimer m_timer;
    QEventLoop m_loop;
    QPointer<QDialog> m_window;
    QPointer<QWidget> m_pressed; ///< The window that the press being made goes to.
    bool m_isPressing = false;
    QPointer<QWidget> m_front; ///< The window in front, and for how many steps it has been.
    int m_frontSteps = 0;
    int m_ticks = 0;
    int m_done = 0;
    int m_limit = 0;
};
