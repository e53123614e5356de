#include "simulator/host/NoticeReader.h"

#include <QFile>
#include <QtEndian>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

NoticeReader::NoticeReader(const QString& path, int words, QObject* parent)
    : QObject(parent), m_words(words), m_descriptor(-1)
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
        emit notice(words);
    }
}
