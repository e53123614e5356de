#pragma once

#include <QObject>
#include <QTimer>

class Shade;
class QWidget;

/// Puts a shade over every window of the application, whoever opens it, and keeps all of them at
/// the backlight and the beeps of the panel.
class ShadeKeeper : public QObject
{
    Q_OBJECT

public:
    ShadeKeeper();

    /// Follows a raw backlight value: 200 is full light, 76 the lowest usable, 0 dark.
    void setBacklight(int raw);
    /// Shows one more beep for a moment. Beeps that come faster than that are counted.
    void beep();

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    /// A press on the dark screen.
    void wakeUp();

private:
    QList<Shade*> shades() const;
    void showBeeps(int beeps);
    void apply(Shade* shade) const;

    int m_darkness = 0;
    int m_beeps = 0;
    QTimer m_beepsEnd;
};
