#include "simulator/host/StateWatch.h"

#include <QFile>

namespace {

constexpr int pollMs = 250;

} // namespace

StateWatch::StateWatch(const QString& folder, QObject* parent) : QObject(parent), m_folder(folder)
{
    m_watcher.addPath(folder);
    m_watcher.addPath(folder + QStringLiteral("/beeps"));
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &StateWatch::look);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &StateWatch::look);
    connect(&m_poll, &QTimer::timeout, this, &StateWatch::look);
    m_poll.start(pollMs);
    lookAtBacklight();
    lookAtBeeps();
}

void StateWatch::look()
{
    lookAtBacklight();
    lookAtBeeps();
}

void StateWatch::lookAtBacklight()
{
    QFile file(m_folder + QStringLiteral("/backlight"));
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    bool isNumber = false;
    const int raw = file.readAll().trimmed().toInt(&isNumber);
    if (isNumber && raw != m_backlight) {
        m_backlight = raw;
        emit backlightChanged(raw);
    }
}

void StateWatch::lookAtBeeps()
{
    QFile file(m_folder + QStringLiteral("/beeps"));
    if (!file.open(QIODevice::ReadOnly) || file.size() <= m_beepsSeen) {
        return;
    }
    file.seek(m_beepsSeen);
    m_beepsSeen = file.size();
    const QList<QByteArray> kinds = file.readAll().trimmed().split('\n');
    for (const QByteArray& kind : kinds) {
        emit beeped(QString::fromUtf8(kind));
    }
}
