#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

/// Watches what the platform tools do to the simulated device: the files they replace in the
/// state folder.
class StateWatch : public QObject
{
    Q_OBJECT

public:
    /// @param folder where the tools keep "backlight" (raw decimal) and "beeps" (one line a beep)
    explicit StateWatch(const QString& folder, QObject* parent = nullptr);

    /// The raw backlight value as the tools set it last.
    int backlight() const { return m_backlight; }

signals:
    void backlightChanged(int raw);
    void beeped(const QString& kind);

private:
    void look();
    void lookAtBacklight();
    void lookAtBeeps();

    QString m_folder;
    QFileSystemWatcher m_watcher;
    QTimer m_poll; ///< A file replaced twice within one event may go unnoticed.
    int m_backlight = -1;
    qint64 m_beepsSeen = 0;
};
