#pragma once

#include <QWidget>

/// What lies over one window of the panel: the dark of a dimmed backlight, and in the corner of
/// the large ones the note of a beep. A child of the window, because the panel's display cannot
/// show one window through another. Presses go through, but for those on a dark screen.
class Shade : public QWidget
{
    Q_OBJECT

public:
    explicit Shade(QWidget* window);

    /// @param darkness opacity of the black, 0 to 255; at 255 presses stay here
    void setDarkness(int darkness);
    /// Number of beeps to show; 0 shows none.
    void setBeeps(int beeps);

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    /// A press on the dark screen.
    void wakeUp();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void cover();

    int m_darkness = 0;
    int m_beeps = 0;
};
