#pragma once

#include <QLabel>
#include <QPushButton>
#include <QWidget>

/// What the simulated panel shows when the settings are closed: its name, the button that opens
/// them, and what the runtime last noticed.
class HomePage : public QWidget
{
    Q_OBJECT

public:
    HomePage();

    void setBacklight(int raw);
    void setNotice(const QString& text);
    /// Shows, in place of the button, why there are no settings.
    void setProblem(const QString& text);

signals:
    void settingsRequested();

private:
    QPushButton* m_open;
    QLabel* m_problem;
    QLabel* m_backlight;
    QLabel* m_notice;
};
