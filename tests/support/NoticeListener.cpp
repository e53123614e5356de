#include "tests/support/NoticeListener.h"

#include <QFile>
#include <QList>
#include <QtEndian>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

NoticeListener::NoticeListener(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    mkfifo(name.constData(), 0777); // may be there already
    // Reading and writing: the pipe then never reports its end when a writer closes.
    m_descriptor = open(name.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (m_descriptor < 0) {
        qFatal("cannot open %s", name.constData());
    }
}

NoticeListener::~NoticeListener()
{
    close(m_descriptor);
}

QByteArray NoticeListener::takeAll()
{
    QByteArray notices;
    char buffer[4096];
    for (;;) {
        const ssize_t count = read(m_descriptor, buffer, sizeof buffer);
        if (count <= 0) {
            return notices;
        }
        notices.append(buffer, int(count));
    }
}

QList<quint32> NoticeListener::takeNumbers()
{
    const QByteArray notices = takeAll();
    QList<quint32> numbers;
    for (int at = 0; at + 4 <= notices.size(); at += 4) {
        numbers << qFromLittleEndian<quint32>(notices.constData() + at);
    }
    return numbers;
}
