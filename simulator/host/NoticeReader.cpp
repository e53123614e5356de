#include "simulator/host/NoticeReader.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QtEndian>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// As the kernel tells it in whole hundredths: the panel's own clock may be set at any time.
QByteArray secondsSinceStart()
{
    QFile uptime(QStringLiteral("/proc/uptime"));
    return uptime.open(QIODevice::ReadOnly) ? uptime.readAll().split(' ').first() : "0";
}

} // namespace

NoticeReader::NoticeReader(const QString& path, int words, QObject* parent)
    : QObject(parent), m_name(QFileInfo(path).fileName()), m_words(words)
{
    const QByteArray name = QFile::encodeName(path);
    mkfifo(name.constData(), 0777); // may be there already
    // For writing as well: the pipe then never ends when the last writer closes it.
    m_descriptor = open(name.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (m_descriptor < 0) {
        qWarning("cannot listen on %s", name.constData());
        return;
    }
    m_notifier = new QSocketNotifier(m_descriptor, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &NoticeReader::readAll);
}

NoticeReader::~NoticeReader()
{
    delete m_notifier;
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

void NoticeReader::readAll()
{
    char buffer[4096];
    ssize_t count = 0;
    while ((count = read(m_descriptor, buffer, sizeof buffer)) > 0) {
        m_pending.append(buffer, int(count));
    }
    const int size = m_words * int(sizeof(quint32));
    while (m_pending.size() >= size) {
        QList<quint32> words;
        for (int at = 0; at < size; at += int(sizeof(quint32))) {
            words << qFromLittleEndian<quint32>(m_pending.constData() + at);
        }
        m_pending.remove(0, size);
        writeDown(words);
        emit notice(words);
    }
}

void NoticeReader::writeDown(const QList<quint32>& words) const
{
    QFile log(QStringLiteral("/panel/log/notices"));
    if (!log.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        return;
    }
    QByteArray line = secondsSinceStart() + ' ' + m_name.toUtf8();
    for (const quint32 word : words) {
        line += ' ' + QByteArray::number(word);
    }
    log.write(line + '\n'); // at once, both pipes write here
}
